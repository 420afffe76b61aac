"""Many machines: two worker processes stand for them. Every test has a hard limit of time."""

import contextlib
import fcntl
import logging
import os
import signal
import subprocess
import sys
import threading
from pathlib import Path

import numpy as np
import pytest
from conftest import LIMIT, filled, refused

from teska import ByteTable, DoubleTable, ShortTable, TeskaError, TeskaFileError, _stores, _tasks, _tiff

dask = pytest.importorskip('dask')
dask_distributed = pytest.importorskip('distributed')

from teska import distributed as many  # noqa: E402
from worker_tables import MARK, DeadlyTable, FailingTable, SlowTable  # noqa: E402

TILE = 32
pytestmark = pytest.mark.usefixtures('limited')


@pytest.fixture
def pixels(rng):
    """4 x 4 tiles, those at the edges not whole; no pixel is marked."""
    return rng.integers(0, MARK, (4 * TILE - 5, 4 * TILE - 9, 3)).astype('u1')


@pytest.fixture
def source(tmp_path, pixels):
    path = tmp_path / 'in.npy'
    np.save(path, pixels)
    return path


def left_in(folder):
    """What the folder has, hidden files included."""
    return sorted(os.listdir(folder))


def converted(client, source, target, table, **options):
    return many.convert(source, target, table, client=client, tile=(TILE, TILE), timeout=60, **options)


# ---- Pictures on disk


def tiff_files(folder, pixels):
    tifffile = pytest.importorskip('tifffile')
    for name, options in {'tiles': {'tile': (32, 16)}, 'foreign': {'tile': (16, 48), 'byteorder': '>'},
                          'big': {'tile': (32, 32), 'bigtiff': True}, 'strips': {'rowsperstrip': 7}}.items():
        path = folder / f'{name}.tif'
        tifffile.imwrite(path, pixels, photometric='rgb', **options)
        yield _stores.source(str(path), None, None)


def test_any_part_of_any_kind_of_file_is_read(tmp_path, rng):
    pixels = rng.integers(0, 65536, (75, 101, 3)).astype('u2')
    np.save(tmp_path / 'c.npy', pixels)
    np.save(tmp_path / 'fortran.npy', np.asfortranarray(pixels))
    np.save(tmp_path / 'foreign.npy', pixels.astype('>u2'))
    pixels.tofile(tmp_path / 'p.raw')
    pictures = [_stores.source(str(tmp_path / name), None, None) for name in ('c.npy', 'fortran.npy', 'foreign.npy')]
    pictures += [_stores.source(str(tmp_path / 'p.raw'), pixels.shape, 'u2'), *tiff_files(tmp_path, pixels)]
    with contextlib.suppress(ImportError):
        import zarr
        zarr.save_array(str(tmp_path / 'p.zarr'), pixels, chunks=(20, 30, 3))
        pictures.append(_stores.source(str(tmp_path / 'p.zarr'), None, None))
    for picture in pictures:
        assert picture.shape == pixels.shape, picture
        store = _stores.source_store(picture)
        for _ in range(30):
            (y0, y1), (x0, x1) = (np.sort(rng.choice(n + 1, 2, replace=False)) for n in pixels.shape[:2])
            part = store.read((y0, y1, x0, x1))
            assert part.dtype == np.uint16 and part.dtype.isnative
            assert np.array_equal(part, pixels[y0:y1, x0:x1]), (picture, y0, y1, x0, x1)
            store.rest()


@pytest.mark.parametrize('channels, dtype', [(1, 'u1'), (3, 'u2'), (4, 'u1'), (6, 'f8')])
@pytest.mark.parametrize('big', [False, True])
def test_tiffs_are_what_others_read(tmp_path, rng, monkeypatch, channels, dtype, big):
    tifffile = pytest.importorskip('tifffile')
    if big:
        plain = _tiff._header
        monkeypatch.setattr(_tiff, '_header', lambda layout, count, begin, _: plain(layout, count, begin, True))
    pixels = rng.integers(0, 256, (70, 90, channels)).astype(dtype)
    picture = _stores.Picture(str(tmp_path / 'p.tif'), 'tiff', pixels.shape, np.dtype(dtype).str, (16, 32))
    _stores.create(picture, None)
    with _stores.target_store(picture) as store:
        store.write((0, 70, 0, 64), pixels[:, :64])
        store.write((0, 70, 64, 90), pixels[:, 64:])
        assert np.array_equal(store.read((3, 70, 5, 90)), pixels[3:, 5:])
    with tifffile.TiffFile(picture.path) as file:
        assert file.is_bigtiff == big and file.pages[0].tile == (16, 32)
        assert np.array_equal(file.asarray().reshape(pixels.shape), pixels)
    if channels in (1, 4) and not big:
        Image = pytest.importorskip('PIL.Image')
        assert np.array_equal(np.asarray(Image.open(picture.path)).reshape(pixels.shape), pixels)


def test_damaged_tiffs_are_refused(tmp_path, rng, pixels):
    """No byte of the header makes it read anything else than pixels, or fail otherwise than by ValueError."""
    picture = _stores.Picture(str(tmp_path / 'p.tif'), 'tiff', (40, 40, 3), '|u1', (16, 16))
    _stores.create(picture, None)
    whole = np.fromfile(picture.path, 'u1')
    assert _tiff.read('p', whole).shape == (40, 40, 3)
    refusals = 0
    for _ in range(2000):
        data = whole[:rng.integers(0, len(whole)) if rng.random() < 0.3 else None].copy()
        data[rng.integers(0, min(250, max(1, len(data))), 3)[:len(data)]] = rng.integers(0, 256)
        try:
            layout = _tiff.read('p', data)
            assert (layout.offsets >= 0).all() and (layout.offsets < len(data)).all()
        except ValueError as error:
            refusals += str(error).startswith('p: ')
    assert refusals > 500
    for tag, value, text in ((259, 5, 'compressed'), (284, 2, 'planar'), (262, 3, 'colours of kind 3')):
        data = whole.copy()
        data[10 + 12 * [256, 257, 258, 259, 262, 277, 284].index(tag) + 8] = value
        refused(ValueError, f'p: {text}', _tiff.read, 'p', data)


# ---- Whole runs


def test_results_are_those_of_one_machine(client, tmp_path, source, pixels, rng):
    table, back = filled(ShortTable, rng), filled(ByteTable, rng, 4, 3)
    steps = []
    done = converted(client, source, tmp_path / 'o.tif', table, progress=lambda *step: steps.append(step))
    assert done[:1] + done[2:] == (16, table(pixels).nbytes, 0, 0) and steps[-1] == (16, 16)
    many.convert(tmp_path / 'o.tif', tmp_path / 'o.npy', back, client=client, tile=(40, 30))
    assert np.array_equal(np.load(tmp_path / 'o.npy'), back(table(pixels)))
    np.savetxt(tmp_path / 'o.raw', [])
    pixels.tofile(tmp_path / 'p')
    converted(client, tmp_path / 'p', tmp_path / 'o.raw', table, shape=pixels.shape, dtype='u1', overwrite=True)
    assert (tmp_path / 'o.raw').read_bytes() == table(pixels).tobytes()
    assert left_in(tmp_path) == ['in.npy', 'o.npy', 'o.raw', 'o.tif', 'p']


def test_folders_of_zarr(client, tmp_path, source, pixels, rng):
    zarr = pytest.importorskip('zarr')
    table, back = filled(ShortTable, rng), filled(ByteTable, rng, 4, 3)
    converted(client, source, tmp_path / 'o.zarr', table)
    (tmp_path / 'p.zarr').mkdir()
    many.convert(tmp_path / 'o.zarr', tmp_path / 'p.zarr', back, client=client, tile=(2 * TILE, TILE), overwrite=True)
    assert np.array_equal(zarr.open_array(str(tmp_path / 'p.zarr'), mode='r')[...], back(table(pixels)))
    assert left_in(tmp_path) == ['in.npy', 'o.zarr', 'p.zarr']
    refused(ValueError, r'tile \(40, 32\): multiples of \(32, 32\) wanted', many.convert, tmp_path / 'o.zarr',
            tmp_path / 'q.zarr', back, client=None, tile=(40, TILE))


def test_a_worker_killed_in_mid_run_changes_nothing_but_time(client, tmp_path, pixels, rng):
    pixels[TILE + 3, 2 * TILE + 5] = MARK
    np.save(tmp_path / 'in.npy', pixels)
    table = filled(DeadlyTable, rng)
    table.once = str(tmp_path / 'killed')
    done = converted(client, tmp_path / 'in.npy', tmp_path / 'o.npy', table)
    assert done.retried >= 1 and done.tiles == 16
    assert np.array_equal(np.load(tmp_path / 'o.npy'), table(pixels))
    assert left_in(tmp_path) == ['in.npy', 'killed', 'o.npy']


def test_a_tile_whose_result_died_with_its_worker_is_made_again(client, tmp_path, source, pixels, rng, monkeypatch):
    batch, lost = _tasks.Tasks._batch, []

    def losing_the_first(tasks):
        futures = batch(tasks)
        if futures and not lost:
            lost.append(futures[0].key)
            client._handle_lost_data(futures[0].key)  # what the scheduler's message calls
        return futures

    monkeypatch.setattr(_tasks.Tasks, '_batch', losing_the_first)
    table = filled(ByteTable, rng)
    assert converted(client, source, tmp_path / 'o.npy', table).tiles == 16 and len(lost) == 1
    assert np.array_equal(np.load(tmp_path / 'o.npy'), table(pixels))


def test_the_tile_that_kills_its_workers_is_named(client, tmp_path, pixels, rng):
    pixels[TILE + 3, 2 * TILE + 5] = MARK
    np.save(tmp_path / 'in.npy', pixels)
    error = refused(TeskaError, r'^tile 6 \(y 32 .. 63\) killed its workers$', converted, client, tmp_path / 'in.npy',
                    tmp_path / 'o.tif', filled(DeadlyTable, rng))
    assert error.text.startswith('tile 6') and left_in(tmp_path) == ['in.npy']


def test_a_tile_that_fails_ends_the_run(client, tmp_path, pixels, rng):
    pixels[-1, -1] = MARK
    np.save(tmp_path / 'in.npy', pixels)
    table = filled(FailingTable, rng)
    refused(ZeroDivisionError, 'the marked tile', converted, client, tmp_path / 'in.npy', tmp_path / 'o.npy', table)
    assert left_in(tmp_path) == ['in.npy']
    for _ in range(2):  # the second time all other tiles are there
        refused(ZeroDivisionError, '', converted, client, tmp_path / 'in.npy', tmp_path / 'o.npy', table, keep=True)
        endings = [name.rpartition('.')[2] for name in left_in(tmp_path)]
        assert endings == ['teska-journal', 'teska-table', 'teska-tmp', 'npy']
    # Another table: what the old run left is removed.
    other = filled(ByteTable, rng)
    assert converted(client, tmp_path / 'in.npy', tmp_path / 'o.npy', other).resumed == 0
    assert np.array_equal(np.load(tmp_path / 'o.npy'), other(pixels))
    assert left_in(tmp_path) == ['in.npy', 'o.npy']


CLIENT = '''
import os, signal, sys
sys.path[:0] = sys.argv[3:]
from dask.distributed import Client
from teska import distributed
from worker_tables import SlowTable

def end(done, of):
    if done >= 5:
        os.kill(os.getpid(), signal.SIGKILL)

if __name__ == '__main__':
    table = SlowTable.load(os.path.join(sys.argv[2], 't.cube'))
    distributed.convert(os.path.join(sys.argv[2], 'in.npy'), os.path.join(sys.argv[2], 'o.npy'), table, tile=(32, 32),
                        progress=end, client=Client(sys.argv[1], timeout=60))
'''


def test_the_next_client_goes_on_where_a_killed_one_was(client, tmp_path, source, pixels, rng):
    table = filled(SlowTable, rng, 3, 3)
    table.save(tmp_path / 't.cube')
    (tmp_path / 'client.py').write_text(CLIENT)
    run = subprocess.run([sys.executable, '-B', tmp_path / 'client.py', client.scheduler.address, tmp_path,
                          Path(many.__file__).parents[1], Path(__file__).parent], timeout=LIMIT - 10,
                         capture_output=True, text=True)
    assert run.returncode == -signal.SIGKILL, run.stderr
    journal, = tmp_path.glob('.o.npy.*.teska-journal')
    finished = [int(line.split()[0]) for line in journal.read_text().splitlines()[1:]]
    assert len(finished) >= 5 and not (tmp_path / 'o.npy').exists()
    # A tile that is not what the journal says is made again, and so is all that the journal does not have.
    picture, = tmp_path.glob('.o.npy.*.teska-tmp')
    content = np.load(picture, mmap_mode='r+', allow_pickle=False)
    y, x = divmod(finished[0], 4)
    content[y * TILE + 1, x * TILE + 1, 0] ^= 1
    content.flush()
    with open(journal, 'a') as damaged:
        damaged.write('99 x\n3 \xff\n7')
    done = converted(client, source, tmp_path / 'o.npy', SlowTable.load(tmp_path / 't.cube'))
    assert done.resumed == len(set(finished)) - 1 and done.tiles == 16
    assert np.array_equal(np.load(tmp_path / 'o.npy'), table(pixels))
    assert left_in(tmp_path) == ['client.py', 'in.npy', 'o.npy', 't.cube']


ALONE = '''
import os, sys
sys.path[:0] = sys.argv[2:]
import numpy as np
from teska import ByteTable, distributed

if __name__ == '__main__':
    os.chdir(sys.argv[1])
    done = distributed.convert('in.npy', 'o.npy', ByteTable(3, 3, grid=np.load('grid.npy')), tile=(64, 64))
    print(done.tiles)
'''


def test_without_a_cluster_the_cores_of_this_machine_do_it(tmp_path, source, pixels, rng):
    table = filled(ByteTable, rng, 3, 3, 18)
    np.save(tmp_path / 'grid.npy', table.grid)
    (tmp_path / 'alone.py').write_text(ALONE)

    def run(program, **options):
        return subprocess.run([sys.executable, '-B', program, tmp_path, Path(many.__file__).parents[1]], text=True,
                              timeout=LIMIT - 10, capture_output=True, **options)

    before = left_in(tmp_path)
    refusal = run('-', input=ALONE)
    assert 'ValueError: convert: the program is <stdin>' in refusal.stderr and left_in(tmp_path) == before
    done = run(tmp_path / 'alone.py')
    assert done.stdout == '4\n', done.stderr
    assert np.array_equal(np.load(tmp_path / 'o.npy'), table(pixels))
    assert left_in(tmp_path) == sorted([*before, 'o.npy'])


def test_a_full_disk(client, tmp_path, rng):
    full = tmp_path / 'full'
    full.mkdir()
    mounted = os.geteuid() == 0 and subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=1m', 'tmpfs', full],
                                                   capture_output=True).returncode == 0
    if not mounted:
        pytest.skip('a file system of 1 MiB cannot be mounted')
    try:
        np.save(tmp_path / 'in.npy', rng.integers(0, MARK, (800, 800, 3)).astype('u1'))
        error = refused(TeskaFileError, r'^tile \d+ \(y \d+ .. \d+\): No space left on device$', many.convert,
                        tmp_path / 'in.npy', full / 'o.npy', filled(ByteTable, rng), client=client, tile=(200, 200))
        assert error.errno == 28 and left_in(full) == []
    finally:
        subprocess.run(['umount', full], check=True)


def test_nobody_waits_without_end(tmp_path, source, rng):
    cluster = dask_distributed.LocalCluster(n_workers=0, processes=False, dashboard_address=':0',
                                            silence_logs=logging.CRITICAL)
    alone = dask_distributed.Client(cluster, timeout=60)
    try:
        refused(TeskaError, 'no tile was finished in 1 s; 4 under way, 0 threads of workers', many.convert, source,
                tmp_path / 'o.npy', filled(ByteTable, rng), client=alone, timeout=1, tile=(32, 32))
        timer = threading.Timer(1, lambda: cluster.close(timeout=10))
        timer.start()
        refused(TeskaError, 'scheduler', many.convert, source, tmp_path / 'o.npy', filled(ByteTable, rng), client=alone)
        timer.join(30)
        assert left_in(tmp_path) == ['in.npy']
    finally:
        for close in (alone.close, cluster.close):
            with contextlib.suppress(Exception):
                close(timeout=5)


def test_somebody_else_makes_the_target(client, tmp_path, source, rng):
    table = filled(ByteTable, rng)

    def make(done, of):
        (tmp_path / 'o.npy').write_bytes(b'theirs')

    refused(FileExistsError, 'o.npy: exists', converted, client, source, tmp_path / 'o.npy', table, progress=make)
    assert left_in(tmp_path) == ['in.npy', 'o.npy'] and (tmp_path / 'o.npy').read_bytes() == b'theirs'
    with open(tmp_path / '.o.npy.1.teska-journal', 'w') as journal:
        fcntl.flock(journal, fcntl.LOCK_EX)
        refused(FileExistsError, 'another call is making this target', converted, client, source, tmp_path / 'o.npy',
                table, overwrite=True)
    assert left_in(tmp_path) == ['.o.npy.1.teska-journal', 'in.npy', 'o.npy']


def test_what_cannot_be_is_refused_before_anything_is_made(tmp_path, source, pixels, rng):
    table = filled(ByteTable, rng)
    (tmp_path / 'there.npy').write_bytes(b'')
    (tmp_path / 'text.tif').write_bytes(b'no picture')
    np.save(tmp_path / 'flat.npy', pixels[..., 0])
    np.save(tmp_path / 'floats.npy', pixels.astype('f8'))
    names = left_in(tmp_path)
    for error, text, changes in [
            (FileNotFoundError, 'none.npy', {'source': 'none.npy'}),
            (FileExistsError, 'there.npy: exists; overwrite=True', {'target': 'there.npy'}),
            (FileNotFoundError, 'no_folder', {'target': 'no_folder/o.npy'}),
            (ValueError, 'in.npy: 3 channels; the ByteTable has 4 inputs', {'table': filled(ByteTable, rng, 4, 1)}),
            (ValueError, 'ByteTable is closed', {'table': filled(ByteTable, rng), 'close': True}),
            (TypeError, 'in.npy: DoubleTable: float64 wanted, not uint8', {'table': DoubleTable(3, 3, 2, 0, 1)}),
            (TypeError, 'floats.npy: ByteTable: uint8 wanted', {'source': 'floats.npy'}),
            (TypeError, 'a table wanted, not ndarray', {'table': pixels}),
            (ValueError, r'flat.npy: the shape is \(123, 119\)', {'source': 'flat.npy'}),
            (ValueError, 'text.tif: not a TIFF', {'source': 'text.tif'}),
            (ValueError, 'there.npy: not a .npy', {'source': 'there.npy'}),
            (ValueError, 'raw pixels need shape', {'source': 'a.raw', 'make': b'abc'}),
            (ValueError, r'a.raw: 3 bytes; 12 wanted for \(2, 2, 3\)', {'source': 'a.raw', 'shape': (2, 2, 3),
                                                                       'dtype': 'u1'}),
            (ValueError, 'shape and dtype together', {'source': 'a.raw', 'dtype': 'u1'}),
            (ValueError, 'a name that ends in .npy, .raw, .tif, .tiff, .zarr wanted', {'target': 'o.png'}),
            (ValueError, r'\(50, 50\): a TIFF has tiles of multiples of 16', {'target': 'o.tif', 'tile': (50, 50)}),
            (ValueError, r'tile \(0, 5\)', {'tile': (0, 5)})]:
        options = {'source': 'in.npy', 'target': 'o.npy', 'table': table, **changes}
        if content := options.pop('make', None):
            (tmp_path / options['source']).write_bytes(content)
            names = left_in(tmp_path)
        if options.pop('close', False):
            options['table'].close()
        paths = [tmp_path / options.pop(name) for name in ('source', 'target')]
        refused(error, text, many.convert, *paths, client='never asked', **options)
        assert left_in(tmp_path) == names
