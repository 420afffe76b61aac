"""Converts a folder of pictures on many machines, with the options of `teska convert`.

    teska-batch IN_DIR OUT_DIR [options of teska convert] [--scheduler tcp://host:8786] [--workers N]

A task for each picture: the program `teska` converts it, and so the files are those of `teska convert IN_DIR OUT_DIR`.
It is the one that TESKA_TOOL names, else the one in PATH, on each machine; it works with one thread unless --threads
says otherwise. Without --scheduler N pictures are
converted at a time on this machine; N is the number of its cores when --workers does not say it. With --scheduler the
workers of that Dask cluster do it; they see both folders, and the files that options name, under the same names.

A picture that fails is told, the others go on. Exit code 0: done; 1: a file, its contents or a bound failed; 2: the
command line is wrong. Of several failures, that of the first picture by name.
"""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import sys
from contextlib import AbstractContextManager, suppress
from typing import TYPE_CHECKING, Any, NamedTuple, NoReturn, Sequence

from . import _tasks
from ._library import TeskaError

if TYPE_CHECKING:
    from distributed import Client

_LONGEST = 3600.0  # seconds without a finished picture after which it gives up
_ENDINGS = {'tiff': 'tif', 'jpeg': 'jpg'}
_BEGINNINGS = (b'\x89PNG\r\n\x1a\n', b'II*\0', b'MM\0*', b'II+\0', b'MM\0+', b'\xff\xd8\xff',
               b'P2', b'P3', b'P5', b'P6')


class _Failure(Exception):
    """Ends the program."""

    def __init__(self, code: int, file: str, text: str) -> None:
        super().__init__(f'{file}: {text}' if file else text)
        self.code, self.file, self.text = code, file, text


class _Line(NamedTuple):
    """The command line: the two folders, the options for the program, and those of this one."""
    source: str
    target: str
    options: list[str]
    scheduler: str | None
    workers: int | None

    def value(self, name: str) -> str | None:
        """The value of an option for the program; None when it is not there."""
        for given, after in zip(self.options, [*self.options[1:], '']):
            if given == name:
                return after
            if given.startswith(name + '='):
                return given[len(name) + 1:]
        return None


class Converted(NamedTuple):
    """What the program said: exit code, standard output, standard error."""
    code: int
    output: str
    errors: str


def convert_picture(folder: str, arguments: list[str]) -> Converted:
    """What a worker does: `teska convert` with these arguments, in that folder."""
    program = os.environ.get('TESKA_TOOL') or shutil.which('teska')
    if program is None:
        return Converted(1, '', f'teska-batch: {os.uname().nodename}: there is no program teska in PATH; '
                                'teska-tools has it, or TESKA_TOOL names it\n')
    try:
        run = subprocess.run([program, 'convert', *arguments], cwd=folder, stdin=subprocess.DEVNULL,
                             capture_output=True, text=True, errors='replace')
    except OSError as error:
        return Converted(1, '', f'teska-batch: {os.uname().nodename}: {error}\n')
    if run.returncode < 0:
        return Converted(1, run.stdout, f'{run.stderr}teska-batch: {arguments[0]}: the program was ended by signal '
                                        f'{-run.returncode}\n')
    return Converted(run.returncode, run.stdout, run.stderr)


def _wrong(text: str) -> NoReturn:
    raise _Failure(2, '', text)


def _parsed(arguments: Sequence[str]) -> _Line:
    if len(arguments) < 2 or arguments[0].startswith('-') or arguments[1].startswith('-'):
        _wrong('IN_DIR and OUT_DIR come first; teska-batch --help shows how to call it')
    own: dict[str, str | None] = {'--scheduler': None, '--workers': None}
    options, rest = [], list(arguments[2:])
    while rest:
        name, equal, value = rest.pop(0).partition('=')
        if name not in own:
            options.append(name + equal + value)
            continue
        if own[name] is not None:
            _wrong(f'{name}: is there twice')
        if not equal:
            value = rest.pop(0) if rest and not rest[0].startswith('--') else ''
        if not value:
            _wrong(f'{name}: a value is missing')
        own[name] = value
    workers, scheduler = own['--workers'], own['--scheduler']
    if workers is not None and not (workers.isdigit() and 1 <= int(workers) <= 256):
        _wrong(f'--workers {workers}: 1 to 256')
    if workers is not None and scheduler is not None:
        _wrong('--workers: the scheduler knows how many there are')
    return _Line(arguments[0], arguments[1], options, scheduler, int(workers) if workers else None)


def _is_picture(path: str) -> bool:
    if not os.path.isfile(path):
        return False
    with open(path, 'rb') as file:
        return file.read(8).startswith(_BEGINNINGS)


def _pictures(line: _Line) -> list[str]:
    """The names of the pictures, in their order."""
    if not os.path.isdir(line.source):
        raise _Failure(1, line.source, 'is no folder' if os.path.exists(line.source) else 'does not exist')
    if os.path.exists(line.target):
        if not os.path.isdir(line.target):
            raise _Failure(1, line.target, f'is no folder, {line.source} is one')
        if os.path.samefile(line.source, line.target):
            raise _Failure(1, line.target, 'is the input')
    names = sorted(name for name in os.listdir(line.source) if _is_picture(os.path.join(line.source, name)))
    if not names:
        raise _Failure(1, line.source, 'has no pictures in it')
    return names


def _target_name(line: _Line, name: str) -> str:
    kind = line.value('--format')
    return f'{os.path.splitext(name)[0]}.{_ENDINGS.get(kind, kind)}' if kind else name


class _Report:
    """Gathers what becomes of the pictures, and tells it."""

    def __init__(self, line: _Line, names: list[str]) -> None:
        self._names, self._json = names, '--json' in line.options
        self._shown = sys.stderr.isatty() and not self._json and '--quiet' not in line.options
        self._outcomes: dict[int, Converted] = {}
        self._said: set[str] = set()

    def add(self, number: int, outcome: Converted) -> None:
        """Tells what a picture's program has said; what was said already is not repeated."""
        self._outcomes[number] = outcome
        if self._shown:
            sys.stderr.write('\r\033[K')
        if outcome.output and not self._json:
            sys.stdout.write(outcome.output)
        for said in outcome.errors.splitlines():
            if said not in self._said:
                self._said.add(said)
                print(said, file=sys.stderr)
        if self._shown:
            sys.stderr.write(f'\r{len(self._outcomes)} of {len(self._names)} pictures')
            sys.stderr.flush()

    def finish(self) -> int:
        """The exit code."""
        if self._shown:
            sys.stderr.write('\r\033[K')
        ordered = [self._outcomes[number] for number in sorted(self._outcomes)]
        code = next((outcome.code for outcome in ordered if outcome.code), 0)
        if self._json:
            print(json.dumps(self._joined(ordered, code), ensure_ascii=False))
        return code

    def _joined(self, ordered: list[Converted], code: int) -> dict[str, Any]:
        """One object of all, as the program gives it for a folder."""
        first: dict[str, Any] = {}
        pictures, notes = [], []
        for number, outcome in enumerate(ordered):
            try:
                said = json.loads(outcome.output)
            except ValueError:
                said = {'file': self._names[number], 'message': outcome.errors.strip()}
            if outcome.code and not first:
                first = {key: said.get(key, '') for key in ('file', 'message')}
            elif not outcome.code:
                notes += said.pop('notes', [])
                pictures.append({key: value for key, value in said.items() if key != 'ok'})
        if code:
            return {'ok': False, 'code': code, **first, 'pictures': pictures}
        return {'ok': True, 'pictures': pictures, 'notes': notes}


def _calls(line: _Line, names: list[str], report: _Report) -> list[tuple[int, tuple[Any, ...]]]:
    """The tasks; pictures that cannot have their name are reported at once.

    A worker that is killed can leave a program that goes on and makes the file, so the task replaces it; files that
    were there before are seen here.
    """
    calls: list[tuple[int, tuple[Any, ...]]] = []
    made = set()
    extra = ['--force'] + ([] if line.value('--threads') is not None else ['--threads', '1'])
    for number, name in enumerate(names):
        source = os.path.join(line.source, name)
        target = os.path.join(line.target, _target_name(line, name))
        why = ''
        if target in made:
            why = f'{source}: another picture has become {os.path.basename(target)} already'
        elif '--force' not in line.options and os.path.lexists(target):
            why = f'{target}: exists; --force replaces it'
        made.add(target)
        if why:
            report.add(number, Converted(1, '', f'teska convert: {why}\n'))
        else:
            options = [option for option in line.options if option != '--force']
            calls.append((number, (os.getcwd(), [source, target, *options, *extra])))
    return calls


def _client(line: _Line) -> AbstractContextManager[Client]:
    if line.scheduler:
        return _tasks.client_of(line.scheduler)
    return _tasks.client_in_threads(line.workers or _tasks.cores())


def _run(arguments: Sequence[str]) -> int:
    line = _parsed(arguments)
    names = _pictures(line)
    report = _Report(line, names)
    there = os.path.isdir(line.target)
    os.makedirs(line.target, exist_ok=True)
    calls = _calls(line, names, report)
    if calls:
        with _client(line) as client:
            tasks = _tasks.Tasks(client, 'picture', convert_picture, calls, _LONGEST)
            for number, outcome in tasks.outcomes():
                if isinstance(outcome, _tasks.Killed):
                    outcome = Converted(1, '', f'teska-batch: {names[number]}: killed its workers\n')
                elif isinstance(outcome, BaseException):
                    outcome = Converted(1, '', f'teska-batch: {names[number]}: {outcome}\n')
                report.add(number, outcome)
    if not there:
        with suppress(OSError):
            os.rmdir(line.target)  # when nothing was made
    return report.finish()


def main(arguments: Sequence[str] | None = None) -> int:
    """The program teska-batch; returns its exit code."""
    given = list(sys.argv[1:] if arguments is None else arguments)
    if '--help' in given:
        print(__doc__.strip())
        return 0
    try:
        return _run(given)
    except _Failure as failure:
        print(f'teska-batch: {failure}', file=sys.stderr)
        return failure.code
    except ImportError as error:
        print(f'teska-batch: {error}; python3-distributed has it', file=sys.stderr)
    except (OSError, TeskaError) as error:
        print(f'teska-batch: {error}', file=sys.stderr)
    except KeyboardInterrupt:
        return 130
    return 1


if __name__ == '__main__':
    from teska import batch  # workers know its functions by this name
    sys.exit(batch.main())
