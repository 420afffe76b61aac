"""Folders of pictures by the program `teska`, beside what that does with a folder itself."""

import filecmp
import json
import os
import re
import shutil
import subprocess
import sys

import pytest
from worker_tables import set_variable

from teska import batch

pytest.importorskip('distributed')
TOOL = os.environ.get('TESKA_TOOL') or shutil.which('teska')
pytestmark = [pytest.mark.usefixtures('limited'), pytest.mark.skipif(not TOOL, reason='no program teska')]


@pytest.fixture
def folder(tmp_path, rng, monkeypatch):
    """Pictures, one of them damaged, and what is none; it is the current folder."""
    monkeypatch.chdir(tmp_path)
    pictures = tmp_path / 'in'
    (pictures / 'b.ppm').mkdir(parents=True)
    for name in ('c.ppm', 'a.ppm', 'x.ppm', 'd e.pnm'):
        (pictures / name).write_bytes(b'P6 40 30 255 ' + rng.integers(0, 256, 3600).astype('u1').tobytes())
    (pictures / 'short.ppm').write_bytes(b'P6 40 30 255 ' + bytes(100))
    (pictures / 'readme.txt').write_text('no picture')
    (pictures / 'empty.png').touch()
    return pictures


def by_tool(*arguments):
    return subprocess.run([TOOL, 'convert', *arguments], capture_output=True, text=True)


def same_files(one, other):
    assert sorted(os.listdir(one)) == sorted(os.listdir(other))
    assert filecmp.cmpfiles(one, other, os.listdir(one), shallow=False)[1:] == ([], [])


@pytest.mark.parametrize('options', [
    ['--to', 'linear', '--depth', '16', '--format', 'tiff'], ['--to=lab', '--format=tiff', '--quiet', '--no-embed'],
    ['--to', 'linear', '--json', '--format', 'png']])
def test_it_makes_what_the_program_makes(folder, capsys, options):
    """Damaged pictures are told and the others go on: files, code and texts are the program's."""
    plain = by_tool('in', 'out', *options)
    os.rename('out', 'plain')
    code = batch.main(['in', 'out', *options, '--workers', '2'])
    said = capsys.readouterr()
    assert code == plain.returncode == 1
    same_files('out', 'plain')
    assert len(os.listdir('out')) == 4
    assert sorted(said.err.splitlines()) == sorted(set(plain.stderr.splitlines()))
    if '--json' in options:
        objects = [json.loads(text) for text in (said.out, plain.stdout)]
        for found in objects:
            for picture in found['pictures']:
                del picture['seconds'], picture['mpixels_per_s']
        assert objects[0] == objects[1]
    else:
        assert sorted(said.out.splitlines()) == sorted(plain.stdout.splitlines())


def test_all_is_well(folder, capsys):
    (folder / 'short.ppm').unlink()
    assert batch.main(['in', 'out', '--to', 'linear', '--format', 'tiff', '--json']) == 0
    assert json.loads(capsys.readouterr().out)['ok']
    assert batch.main(['in', 'out', '--to', 'linear', '--format', 'tiff', '--force', '--quiet']) == 0
    # What is there is kept, the rest is made.
    os.unlink('out/a.tif')
    before = os.stat('out/c.tif')
    assert batch.main(['in', 'out', '--to', 'linear', '--format', 'tiff', '--quiet']) == 1
    errors = capsys.readouterr().err
    assert errors.splitlines() == [f'teska convert: out/{name}: exists; --force replaces it'
                                   for name in ('c.tif', 'd e.tif', 'x.tif')]
    assert os.path.exists('out/a.tif') and os.stat('out/c.tif') == before
    shutil.copy('in/a.ppm', 'in/a.pnm')
    assert batch.main(['in', 'new', '--to', 'linear', '--format', 'tiff', '--quiet']) == 1
    assert 'in/a.ppm: another picture has become a.tif already' in capsys.readouterr().err


def test_what_is_wrong_before_any_picture(folder, capsys):
    (folder.parent / 'none').mkdir()
    for arguments, code, text in [
            (['in'], 2, 'IN_DIR and OUT_DIR come first'), (['--to', 'srgb', 'in', 'out'], 2, 'IN_DIR and OUT_DIR'),
            (['in', 'out', '--workers', 'x'], 2, '--workers x: 1 to 256'),
            (['in', 'out', '--workers'], 2, '--workers: a value is missing'),
            (['in', 'out', '--workers=1', '--workers=2'], 2, '--workers: is there twice'),
            (['in', 'out', '--workers=1', '--scheduler=tcp://a'], 2, 'the scheduler knows'),
            (['nowhere', 'out'], 1, 'nowhere: does not exist'), (['none', 'out'], 1, 'none: has no pictures in it'),
            (['in', 'in/a.ppm'], 1, 'is no folder, in is one'), (['in', 'none/../in'], 1, 'is the input'),
            (['in', 'out', '--tox', 'lab'], 2, '--tox: unknown option'), (['in', 'out'], 2, 'nothing to do')]:
        assert batch.main(arguments) == code, arguments
        errors = capsys.readouterr().err
        assert text in errors and len(errors.splitlines()) == 1, errors
        assert not os.path.exists('out')


def test_a_worker_killed_while_its_program_goes_on(folder, client, capsys, monkeypatch):
    """The file is there when the picture is given out again."""
    (folder / 'short.ppm').unlink()
    script = folder.parent / 'tool'
    script.write_text(f'''#!/bin/sh
case $2 in
  in/c.ppm) if mkdir "{folder.parent}/killed" 2>/dev/null; then kill -9 $PPID; fi;;
esac
exec {TOOL} "$@"
''')
    script.chmod(0o755)
    monkeypatch.setenv('TESKA_TOOL', str(script))
    client.run(set_variable, 'TESKA_TOOL', str(script))
    try:
        arguments = ['--to', 'linear', '--format', 'tiff', '--quiet']
        code = batch.main(['in', 'out', *arguments, '--scheduler', client.scheduler.address])
    finally:
        client.run(set_variable, 'TESKA_TOOL', TOOL)
    assert code == 0 and os.path.isdir('killed'), capsys.readouterr().err
    by_tool('in', 'plain', *arguments)
    same_files('out', 'plain')


def test_a_machine_without_the_program(monkeypatch):
    monkeypatch.delenv('TESKA_TOOL', raising=False)
    monkeypatch.setenv('PATH', '')
    assert 'there is no program teska in PATH' in batch.convert_picture('.', ['a', 'b']).errors
    monkeypatch.setenv('TESKA_TOOL', '/bin/no/teska')
    assert batch.convert_picture('.', ['a', 'b']).code == 1


def test_it_is_a_module_and_a_program(folder):
    (folder / 'short.ppm').unlink()
    run = subprocess.run([sys.executable, '-m', 'teska.batch', 'in', 'out', '--to', 'linear', '--format', 'tiff'],
                         capture_output=True, text=True, timeout=80,
                         env={**os.environ, 'PYTHONPATH': os.path.dirname(os.path.dirname(batch.__file__))})
    assert run.returncode == 0 and len(os.listdir('out')) == 4, run.stderr
    assert batch.main(['--help']) == 0
    project = os.path.join(os.path.dirname(batch.__file__), '..', 'pyproject.toml')
    if os.path.exists(project):
        with open(project) as file:
            assert re.search(r'teska-batch = "teska.batch:main"', file.read())
