"""Pictures that outgrow one machine: tiles converted by the workers of a Dask cluster.

    from dask.distributed import Client
    import teska, teska.distributed

    if __name__ == '__main__':
        table = teska.ShortTable.load('press.ttab')
        teska.distributed.convert('page.tif', 'separated.tif', table, client=Client('tcp://scheduler:8786'))

Every worker sees both files under the same path, makes the table once for itself, opens its own tiles and writes its
own bytes; no pixel goes through the scheduler. The result is, byte for byte, that of one machine. Workers are processes
of one thread each: what several threads of one process gain, several processes gain too, and both together hinder each
other.

While the work goes on there are hidden files beside the target: the picture at its full size, a journal of what is
done, and the table. The target has its name when it is complete. A worker that is killed costs the time of its tile. A
client or scheduler that is lost leaves these files, and the same call goes on where they end.
"""

from __future__ import annotations

import functools
import hashlib
import os
import pickle
import shutil
import time
from contextlib import ExitStack, suppress
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, NamedTuple, Union

import numpy as np
from numpy.typing import DTypeLike

from . import _stores, _tasks
from ._library import TeskaError, TeskaFileError
from ._stores import Box, Picture
from .tables import Table

if TYPE_CHECKING:
    from distributed import Client

Path = Union[str, 'os.PathLike[str]']


class Result(NamedTuple):
    """What was done.

    Attributes:
        tiles: number of tiles of the picture
        seconds: from call to return
        bytes: bytes of pixels in the target
        retried: tiles that were given out again because their worker was lost; None where the scheduler did not say
        resumed: tiles taken over from an earlier call that was cut short
    """
    tiles: int
    seconds: float
    bytes: int
    retried: int | None
    resumed: int


class TableFile(NamedTuple):
    """A table as it lies on the disk for the workers: its pickle and the digest of that."""
    path: str
    digest: str


@dataclass(frozen=True)
class _Target:
    """A target and how it is cut into tiles."""
    picture: Picture
    tile: tuple[int, int]

    @property
    def columns(self) -> int:
        """Number of tiles side by side."""
        return -(-self.picture.shape[1] // self.tile[1])

    def __len__(self) -> int:
        return self.columns * -(-self.picture.shape[0] // self.tile[0])

    def box(self, index: int) -> Box:
        """y0, y1, x0, x1 of a tile; they are counted row by row."""
        (height, width, _), (high, wide) = self.picture.shape, self.tile
        y, x = index // self.columns * high, index % self.columns * wide
        return y, min(y + high, height), x, min(x + wide, width)

    def index(self, y0: int, x0: int) -> int:
        """The tile that begins there."""
        return y0 // self.tile[0] * self.columns + x0 // self.tile[1]

    def name(self, index: int) -> str:
        """What messages call a tile."""
        y0, y1, _, _ = self.box(index)
        return f'tile {index} (y {y0} .. {y1 - 1})'


# ---- What a worker does


@functools.lru_cache(maxsize=2)
def _loaded(file: TableFile) -> Table:
    with open(file.path, 'rb') as stream:
        content = stream.read()
    # The digest came through the scheduler: what was put in the place of the file is not unpickled.
    if hashlib.md5(content).hexdigest() != file.digest:
        raise TeskaFileError(f'{file.path}: damaged (its digest differs)', file.path)
    table = pickle.loads(content)
    assert isinstance(table, Table)
    return table


def convert_tile(table: Table | TableFile, source: Picture, target: _Target, y0: int, y1: int, x0: int,
                 x1: int) -> tuple[int, str]:
    """Converts a tile: reads its pixels, writes those of the target and nothing else. May be run any number of times,
    by any process that sees the files.

    Returns the tile's index, row by row, and the MD5 of its pixels in the target.
    """
    if isinstance(table, TableFile):
        table = _loaded(table)
    store = _stores.source_store(source)
    pixels: Any = store.read((y0, y1, x0, x1))
    converted = np.asarray(table(pixels, threads=1))  # type: ignore[operator]
    with _stores.target_store(target.picture) as written:
        written.write((y0, y1, x0, x1), converted)
    del pixels
    store.rest()
    return target.index(y0, x0), _digest(converted)


def _digest(pixels: _stores.Pixels) -> str:
    return hashlib.md5(np.ascontiguousarray(pixels).data).hexdigest()


# ---- The files beside the target


class _Work:
    """The hidden files of a run: the picture, the journal, the table.

    The journal is locked as long as its client lives. Its first line tells what is being made, every other one has the
    index of a finished tile and the digest of its pixels.
    """

    def __init__(self, path: str, content: bytes, what: str, target: _Target, source: Picture) -> None:
        self.digests: dict[int, str] = {}
        self.resumed = 0
        folder, name = os.path.split(os.path.abspath(path))
        first = f'teska-journal 1 {what}\n'
        self._stem = self._taken_up(folder, name, first)
        found = self._stem is not None
        if self._stem is None:
            self._stem = os.path.join(folder, f'.{name}.{os.getpid()}')
            self._journal = self._locked(self._stem + '.teska-journal')
        self.target = _Target(target.picture._replace(path=self._stem + '.teska-tmp'), target.tile)
        self.table = TableFile(self._stem + '.teska-table', hashlib.md5(content).hexdigest())
        try:
            with open(self.table.path, 'wb') as stream:
                stream.write(content)
            if found:
                self._read_journal()
            else:
                same = source.kind == target.picture.kind == 'zarr'
                _stores.create(self.target.picture, source.path if same else None)
                self._append(first)
        except BaseException:
            self.remove()
            raise

    def _taken_up(self, folder: str, name: str, first: str) -> str | None:
        """The stem of an earlier run's files, its journal locked; those of other runs that have ended are removed."""
        found = None
        for entry in sorted(os.listdir(folder)):
            stem, ending = os.path.splitext(os.path.join(folder, entry))
            process = entry[len(name) + 2:-len('.teska-journal')]
            if ending != '.teska-journal' or not entry.startswith(f'.{name}.') or not process.isdigit():
                continue
            journal = self._locked(os.path.join(folder, entry))
            if found is None and journal.readline() == first and os.path.exists(stem + '.teska-tmp'):
                found, self._journal = stem, journal
            else:
                _remove(stem)
                journal.close()
        return found

    @staticmethod
    def _locked(path: str) -> Any:
        journal = open(path, 'a+', encoding='ascii', errors='replace')
        journal.seek(0)
        try:
            import fcntl
            fcntl.flock(journal, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            journal.close()
            raise FileExistsError(f'{path}: another call is making this target') from None
        except (ImportError, OSError):  # a file system without locks
            pass
        return journal

    def _read_journal(self) -> None:
        for line in self._journal.read().splitlines():
            index, _, digest = line.partition(' ')
            if index.isdigit() and int(index) < len(self.target) and len(digest) == 32:
                self.digests[int(index)] = digest
        self.digests = {index: digest for index, digest in self.digests.items() if self.is_right(index)}
        self.resumed = len(self.digests)

    def _append(self, line: str) -> None:
        self._journal.write(line)
        self._journal.flush()

    def is_right(self, index: int) -> bool:
        """Whether a tile of the file is what its worker wrote."""
        with _stores.target_store(self.target.picture) as store:
            return _digest(store.read(self.target.box(index))) == self.digests[index]

    def done(self, index: int, digest: str) -> None:
        """Notes a finished tile."""
        self._append(f'{index} {digest}\n')
        self.digests[index] = digest

    def give_up(self) -> None:
        """Leaves the files for the next call where there is something to go on with."""
        if not self.digests:
            self.remove()
        with suppress(OSError):
            self._journal.close()

    def remove(self) -> None:
        """Removes all files."""
        assert self._stem is not None
        _remove(self._stem)
        with suppress(OSError):
            self._journal.close()

    def publish(self, path: str, overwrite: bool) -> None:
        """Gives the picture its name; FileExistsError where somebody made that meanwhile."""
        made = self.target.picture.path
        _synchronise(made)
        if overwrite and os.path.isdir(path):
            old = f'{self._stem}.teska-old'
            os.rename(path, old)
            os.rename(made, path)
            shutil.rmtree(old, ignore_errors=True)
        elif overwrite or os.path.isdir(made):
            if not overwrite and os.path.lexists(path):
                raise FileExistsError(f'{path}: exists; overwrite=True replaces it')
            os.replace(made, path)
        else:
            _renamed_to_new(made, path)
        _synchronise(os.path.dirname(os.path.abspath(path)), False)


def _remove(stem: str) -> None:
    """The journal goes last: as long as there is one, the next call finds what is left."""
    for ending in ('.teska-tmp', '.teska-table', '.teska-journal'):
        with suppress(OSError):
            if os.path.isdir(stem + ending):
                shutil.rmtree(stem + ending)
            else:
                os.unlink(stem + ending)


def _renamed_to_new(made: str, path: str) -> None:
    try:
        os.link(made, path)
    except FileExistsError:
        raise FileExistsError(f'{path}: exists; overwrite=True replaces it') from None
    except OSError:  # a file system without links
        if os.path.lexists(path):
            raise FileExistsError(f'{path}: exists; overwrite=True replaces it') from None
        os.rename(made, path)
    else:
        os.unlink(made)


def _synchronise(path: str, inside: bool = True) -> None:
    """fsync of a file, or of a folder and of what is in it; parts of chunks that a killed worker left go."""
    if inside and os.path.isdir(path):
        for entry in os.scandir(path):
            if entry.name.endswith('.partial'):
                os.unlink(entry.path)
            else:
                _synchronise(entry.path)
    file = os.open(path, os.O_RDONLY)
    try:
        os.fsync(file)
    finally:
        os.close(file)


# ---- The client's side


class _TileFailure(Exception):
    """Carries what a tile failed with."""

    def __init__(self, error: BaseException) -> None:
        super().__init__()
        self.error = error


def _convert_all(tasks: _tasks.Tasks, work: _Work, progress: Callable[[int, int], object] | None) -> None:
    target = work.target
    for index, outcome in tasks.outcomes():
        if isinstance(outcome, _tasks.Killed):
            raise _TileFailure(TeskaError(f'{target.name(index)} killed its workers'))
        if isinstance(outcome, OSError) and not isinstance(outcome, TeskaError):
            text = f'{target.name(index)}: {outcome.strerror or outcome}'
            raise _TileFailure(TeskaFileError(text, outcome.filename, outcome.errno)) from outcome
        if isinstance(outcome, BaseException):
            raise _TileFailure(outcome)
        work.done(*outcome)
        if progress is not None:
            progress(len(work.digests), len(target))
    for index in range(0, len(target), 10):
        if not work.is_right(index):
            raise _TileFailure(TeskaError(f'{target.name(index)}: the file is not what its worker wrote'))


def _newest(path: str) -> tuple[int, int]:
    """Size and time by which a changed source is recognised."""
    entries = [os.stat(path)] + ([entry.stat() for entry in os.scandir(path)] if os.path.isdir(path) else [])
    return sum(entry.st_size for entry in entries), max(entry.st_mtime_ns for entry in entries)


def _planned(source: Picture, target: str, table: Table, tile: tuple[int, int]) -> _Target:
    """The target; what cannot be is refused here, before anything is made."""
    if len(tile) != 2 or any(isinstance(side, bool) or int(side) != side or side < 1 for side in tile):
        raise ValueError(f'convert: tile {tile!r}; (height, width) in pixels is wanted')
    if source.shape[2] != table.inputs:
        raise ValueError(f'{source.path}: {source.shape[2]} channels; the {table._label} has {table.inputs} inputs')
    try:
        sample: Any = table(np.empty((0, table.inputs), np.dtype(source.dtype).newbyteorder('=')))  # type: ignore
    except TypeError as error:
        raise TypeError(f'{source.path}: {error}') from None
    sides = int(tile[0]), int(tile[1])
    return _Target(_stores.target(target, source, table.outputs, sample.dtype, sides), sides)


def convert(source: Path, target: Path, table: Table, *, client: Client | None = None,
            tile: tuple[int, int] = (1024, 1024), progress: Callable[[int, int], object] | None = None,
            overwrite: bool = False, keep: bool = False, shape: tuple[int, int, int] | None = None,
            dtype: DTypeLike | None = None, timeout: float = 600.0) -> Result:
    """Converts a picture in tiles, on all workers of a cluster.

    Parameters:
        source: an uncompressed TIFF (classic or Big, tiles or strips), a .npy of (height, width, channels), a zarr
            folder of the same, or a file of raw pixels. Samples are taken as they are stored
        target: the new picture; the ending of its name says the kind: .tif, .tiff, .npy, .zarr, .raw. A TIFF gets
            tiles, those of a source in tiles or 256 x 256, and no profile
        table: ByteTable, ShortTable, DoubleTable or Clut; samples of the target have the type it gives
        client: of dask.distributed; workers see both files under these names. None: a cluster of this machine's
            cores, closed at the end; the program must be a file and do its work under if __name__ == '__main__'
        tile: (height, width) of what a worker is given at once: whole tiles of a TIFF, whole chunks of a zarr
            folder. A tile costs the scheduler about a millisecond, so it should have a megapixel or more
        progress: called with the number of finished tiles and of all, in this thread
        overwrite: whether a target that exists is replaced, when the new one is complete
        keep: whether the unfinished picture stays for the next call when a tile has failed
        shape, dtype: of a source of raw pixels
        timeout: seconds without a finished tile after which it gives up

    Returns a Result. Raises, before any tile is sent: FileNotFoundError for the source, FileExistsError for the target
    and while another call makes it, ValueError for other channels than the table's and for tiles that do not fit,
    TypeError for samples of another type. Later: TeskaFileError where a file cannot be read or written, TeskaError
    "tile 17 (y 1024 .. 2047) killed its workers", what else a tile raised, and TeskaError when the scheduler is lost or
    nothing goes on. The target is complete or not there.

    Example:
        >>> import os, tempfile, dask.distributed, teska, teska.distributed
        >>> folder = tempfile.mkdtemp()
        >>> np.save(os.path.join(folder, 'in.npy'), np.zeros((100, 200, 3), 'uint8'))
        >>> negative = teska.ByteTable.from_function(lambda rgb: 255 - rgb, 3, 3)
        >>> with dask.distributed.Client(processes=False, dashboard_address=':0') as client:
        ...     done = teska.distributed.convert(os.path.join(folder, 'in.npy'), os.path.join(folder, 'out.npy'),
        ...                                      negative, client=client, tile=(64, 64))
        >>> done.tiles, np.load(os.path.join(folder, 'out.npy')).min()
        (8, 255)
    """
    begun = time.monotonic()
    source, target = os.path.abspath(os.fspath(source)), os.path.abspath(os.fspath(target))
    if not isinstance(table, Table):
        raise TypeError(f'convert: a table wanted, not {type(table).__name__}')
    picture = _stores.source(source, shape, dtype)
    if os.path.lexists(target) and not overwrite:
        raise FileExistsError(f'{target}: exists; overwrite=True replaces it')
    plan = _planned(picture, target, table, tile)
    content = pickle.dumps(table, 4)
    digest = hashlib.md5(content)
    digest.update(repr((picture, _newest(source), plan)).encode())
    with ExitStack() as stack:
        # The journal first: a second call for the same target is refused before it starts a cluster.
        work = _Work(target, content, digest.hexdigest(), plan, picture)
        stack.callback(work.give_up)
        if client is None:
            client = stack.enter_context(_tasks.local_client(len(plan)))
        tasks = _tasks.Tasks(client, 'tile', convert_tile, [
            (index, (work.table, picture, work.target, *plan.box(index))) for index in range(len(plan))
            if index not in work.digests], timeout)
        try:
            _convert_all(tasks, work, progress)
            retried = tasks.retried()
            work.publish(target, overwrite)
        except (_TileFailure, OSError) as failure:
            tasks.drain()
            if not keep:
                work.remove()
            if isinstance(failure, _TileFailure):
                raise failure.error from failure.__cause__
            raise
        work.remove()
    height, width, channels = plan.picture.shape
    size = height * width * channels * np.dtype(plan.picture.dtype).itemsize
    return Result(len(plan), time.monotonic() - begun, size, retried, work.resumed)
