"""Tables as objects: filling, views, curves, pickles, files, errors, memory."""

import copy
import gc
import hashlib
import os
import pickle
import re
import struct
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from conftest import filled, refused

import teska
from teska import ByteTable, Clut, DoubleTable, ShortTable, TeskaError, TeskaFileError, TeskaMemoryError
from teska._library import collected, lib

ALL = (ByteTable, ShortTable, DoubleTable, Clut)


def test_from_function_is_called_once_with_all_vertices_in_the_tables_type():
    seen = []

    def f(vertices):
        seen.append(vertices)
        return vertices[:, ::-1].copy()

    for cls, dtype, top in ((ByteTable, 'u1', 255), (ShortTable, 'u2', 65535), (DoubleTable, 'f8', 1), (Clut, 'f8', 1)):
        seen.clear()
        table = cls.from_function(f, 2, 2, points=6)
        vertices, = seen
        assert vertices.shape == (36, 2) and vertices.dtype == dtype
        assert np.allclose(vertices[7], top / 5) and np.allclose(vertices[1], [0, top / 5])
        assert np.allclose(table.grid[1, 2], [2 * top / 5, top / 5])
        refused(ValueError, rf'{cls.__name__}.from_function: .* \(36,\), \(36, 2\) wanted', cls.from_function,
                lambda v: v[:, 0], 2, 2, points=6)
    for error, text, f in ((TypeError, 'ByteTable.from_function: uint8 wanted, not float64', lambda v: v / 2),
                           (ZeroDivisionError, '', lambda v: 1 // 0)):
        refused(error, text, ByteTable.from_function, f, 1, 1)


def test_the_grid_is_a_view_that_outlives_its_table(rng):
    for cls in ALL:
        table = filled(cls, rng)
        view, before = table.grid[1:3], table.grid[1:3].copy()
        table.grid[0, 0, 0, 0] = 1
        assert table.grid[0, 0, 0, 0] == 1
        table.close()
        del table
        gc.collect()
        [cls(3, 4, 5) for _ in range(20)]  # would take over what was freed
        assert np.array_equal(view, before)
        view[...] = 0
    assert not ByteTable(3, 3).grid.flags.c_contiguous and ShortTable(3, 3).grid.flags.c_contiguous


def test_closed_tables_say_so(byte_table):
    byte_table.close()
    for call, *arguments in ((byte_table, np.zeros(3, 'u1')), (pickle.dumps, byte_table), (byte_table.resampled, 3),
                             (byte_table.save, 'x.cube')):
        refused(ValueError, '^ByteTable is closed$', call, *arguments)


def test_repr_and_equality(rng):
    assert repr(ByteTable(3, 4, 17)) == 'ByteTable(inputs=3, outputs=4, points=17)  # 19 KiB'
    assert repr(DoubleTable(1, 1, 2, lo=-1, hi=3)) == ('DoubleTable(inputs=1, outputs=1, points=2, lo=-1.0, hi=3.0)'
                                                       '  # 16 bytes')
    assert repr(Clut(2, 1, (3, 4))) == 'Clut(inputs=2, outputs=1, points=(3, 4))  # 48 bytes'
    a, b = filled(ByteTable, rng), ByteTable(3, 4, 5)
    assert a != b
    b.grid = a.grid
    assert a == b
    a.set_curves([np.full(256, 7, 'u1'), None, None])
    assert a != b


def test_curves_are_checked_and_applied(byte_table, short_table, rng):
    pixels = rng.integers(0, 256, (50, 3)).astype('u1')
    curve = rng.integers(0, 256, 256).astype('u1')
    plain = byte_table(pixels)
    byte_table.set_curves([curve, None, curve], [None, curve, None, None])
    bent = byte_table(pixels)
    byte_table.set_curves(None)
    inputs = pixels.copy()
    inputs[:, [0, 2]] = curve[inputs[:, [0, 2]]]
    expected = byte_table(inputs)
    expected[:, 1] = curve[expected[:, 1]]
    assert np.array_equal(bent, expected) and np.array_equal(byte_table(pixels), plain)
    for table, curves, text in (
            (byte_table, [curve], 'ByteTable.set_curves: inputs: 3 curves wanted, not 1'),
            (byte_table, [curve[1:], None, None], r'inputs\[0\] has the shape \(255,\), 256 values wanted'),
            (short_table, [np.zeros(1, 'u2'), None, None], '2 to 65536 values wanted')):
        refused(ValueError, text, table.set_curves, curves)


def test_copies_share_nothing(rng):
    table = filled(ShortTable, rng)
    table.note = ['mine']
    assert pickle.dumps(copy.deepcopy(table)) == pickle.dumps(table)
    other = copy.copy(table)
    other.grid[...] = 0
    other.note.append('other')
    assert other != table and table.note == ['mine']
    rebuild, (cls, _, order, grid, curves), _ = table.__reduce_ex__(4)
    refused(ValueError, 'damaged pickle', rebuild, cls, (3, 3, 2000), order, grid, curves)


def test_resampled_keeps_contents_and_curves(rng):
    bent = np.arange(255, -1, -1).astype('u1')
    table = ByteTable.from_function(lambda x: x, 2, 2, points=6)
    table.set_curves([bent, None])
    for finer in (table.resampled(16), table.resampled(11)):
        ramp = np.arange(256).astype('u1').repeat(2).reshape(-1, 2)
        assert np.abs(finer(ramp).astype(int) - table(ramp)).max() <= 1  # bytes are rounded where they are kept
    for cls in (ShortTable, DoubleTable):
        smooth = cls.from_function(lambda x: x[:, ::-1].copy(), 2, 2, points=5)
        assert np.allclose(smooth.resampled(9).grid, cls.from_function(lambda x: x[:, ::-1].copy(), 2, 2, 9).grid)


def test_errors_have_the_librarys_text_and_leave_nothing_behind(capfd):
    error = refused(TeskaError, '^md_tetra_new: illegal dimension$', ByteTable, 0, 1)
    assert error.text == 'md_tetra_new: illegal dimension' and not isinstance(error, MemoryError)
    error = refused(TeskaMemoryError, '^md_tetras_new: insufficient memory$', ShortTable, 12, 1, 18)
    assert isinstance(error, MemoryError) and isinstance(error, TeskaError)
    assert collected(lib.md_tetras_new, 0, 1, 2)[1] == ['md_tetras_new: illegal dimension']
    assert collected(int)[1] == []
    with ThreadPoolExecutor(4) as pool:  # each thread gets its own lines
        found = list(pool.map(lambda k: refused(TeskaError, '', (ByteTable, ShortTable)[k % 2], 0, 1).text, range(800)))
    assert found == ['md_tetra_new: illegal dimension', 'md_tetras_new: illegal dimension'] * 400
    assert capfd.readouterr() == ('', '')
    for error in (TeskaError('a'), TeskaMemoryError('b'), TeskaFileError('c', 'file', 5)):
        again = pickle.loads(pickle.dumps(error))
        assert (type(again), again.text, vars(again)) == (type(error), error.text, vars(error))


def test_ten_thousand_tables_leave_nothing():
    def resident():
        with open('/proc/self/statm') as file:
            return int(file.read().split()[1]) * os.sysconf('SC_PAGE_SIZE')

    def use(count):
        for k in range(count):
            table = ALL[k % 4](3, 3, 9)
            view = table.grid
            table(np.zeros(3, 'f8' if k % 4 > 1 else 'u1'))
            if k % 8 == 0:
                copy.copy(table)
            del view

    use(1000)
    gc.collect()
    before = resident()
    use(10000)
    gc.collect()
    assert resident() - before < 2 << 20  # 10,000 tables take 30 MB and more


@pytest.mark.skipif(not hasattr(os, 'fork'), reason='no fork')
def test_objects_work_in_a_child(byte_table, rng):
    pixels = rng.integers(0, 256, (50, 50, 3)).astype('u1')
    expected = byte_table(pixels)
    child = os.fork()
    if child == 0:
        fine = np.array_equal(byte_table(pixels, threads=2), expected) and ByteTable(1, 1).points == 18
        os._exit(0 if fine else 1)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0


# ---- Files


def test_ttab_is_the_format_that_it_says(tmp_path, rng):
    table = filled(ShortTable, rng, 2, 3, 4)
    table.set_curves([None, np.array([0, 9, 65535], 'u2')])
    path = tmp_path / 'a.ttab'
    table.save(path)
    content = path.read_bytes()
    curve = table._curves(0)[1]
    body = (struct.pack('<4sIIII8s', b'TTAB', 1, 2, 3, 4, b' ' * 8) + struct.pack('<I', 0) + struct.pack('<I', 1) +
            curve.astype('<u2').tobytes() + np.ascontiguousarray(table.grid, '<u2').tobytes() + bytes(32))
    assert content == body + hashlib.md5(body).digest()
    assert ShortTable.load(path) == table
    for damage, text in ((content[:-1], 'its length'), (content[:50], 'its length'), (content + b'x', 'its length'),
                         (content[:9] + b'\xff' + content[10:], 'its header'), (b'TTAX' + content[4:], 'not a table'),
                         (content[:4] + b'\2' + content[5:], 'version 2 is newer than this program'),
                         (content[:60] + bytes([content[60] ^ 1]) + content[61:], 'its digest differs')):
        path.write_bytes(damage)
        refused(ValueError, text, ShortTable.load, path)
    refused(ValueError, 'ByteTable.save: a .ttab holds 16 bits', ByteTable(1, 1).save, path)
    refused(FileNotFoundError, 'missing', ShortTable.load, tmp_path / 'missing.ttab')
    error = refused(TeskaFileError, 'No such file', table.save, tmp_path / 'no' / 'x.ttab')
    assert error.errno == 2 and os.listdir(tmp_path) == ['a.ttab']


def test_cube_keeps_every_byte_of_an_identity_and_what_leaves_the_range(tmp_path):
    path = tmp_path / 'look.cube'
    identity = ShortTable.from_function(lambda x: x, 3, 3, points=33)
    identity.save(path)
    assert path.read_text().startswith('TITLE "look"\nLUT_3D_SIZE 33\n0.000000 0.000000 0.000000\n0.031250 0.0')
    pixels = np.random.default_rng(1).integers(0, 256, (5000, 3)).astype('u1')
    assert np.array_equal(ShortTable.load(path)(pixels), pixels)
    rows = '\n'.join(f'{2 * r - 0.5} {g} {b}' for b in (0, 1) for g in (0, 1) for r in (0, 1))
    path.write_text(f'\ufeff# made by hand\r\nLUT_3D_SIZE 2\r\nDOMAIN_MAX 1 1 2\n{rows}\n', encoding='utf-8')
    result = ShortTable.load(path)(pixels) / 255.0
    x = pixels / 255.0
    expected = np.clip(np.stack([2 * x[:, 0] - 0.5, x[:, 1], x[:, 2] / 2], axis=1), 0, 1)
    assert np.abs(result - expected).max() < 0.6 / 255
    path.write_text('LUT_1D_SIZE 3\n0 0 0\n0.25 0.5 0.5\n1 1 1\n')
    result = ShortTable.load(path)(np.uint16([[16384, 16384, 65535]]))
    assert np.abs(result - np.array([[8192, 16384, 65535]])).max() <= 1


@pytest.mark.parametrize('text, message', [
    ('LUT_3D_SIZE 1\n', 'line 1: LUT_3D_SIZE 1: 2 to 129'), ('TITLE "x"\n', 'no LUT_1D_SIZE and no LUT_3D_SIZE'),
    ('LUT_3D_SIZE 2\n0 0 0\n', '8 rows wanted (2 x 2 x 2), the file ends after 1'),
    ('LUT_1D_SIZE 2\n0 0 0\n1 1,1\n', 'line 3: three numbers wanted'),
    ('LUT_1D_SIZE 2\n0 0 0\n1 1 1\n1 1 1\n', 'line 4: more than 2 rows'),
    ('LUT_1D_SIZE 2\nDOMAIN_MIN 1 0 0\n0 0 0\n1 1 1\n', 'DOMAIN_MIN 1 is not below DOMAIN_MAX 1'),
    ('LUT_1D_SIZE 2\n0 0 0\n1e999 1 1\n', 'line 3: a number that is not finite')])
def test_cubes_that_do_not_hold_together(tmp_path, text, message):
    path = tmp_path / 'bad.cube'
    path.write_text(text)
    error = refused(ValueError, re.escape(message), ShortTable.load, path)
    assert str(path) in str(error)


def test_lut3d_both_ways(rng):
    class Lut:
        table = rng.random((4, 4, 4, 3))
        domain = np.array([[0, 0, 0], [1, 1, 1]])

    table = ShortTable.from_lut3d(Lut)
    assert np.abs(table.to_lut3d().table - Lut.table).max() < 1 / 65535
    assert np.array_equal(ShortTable.from_lut3d(table.to_lut3d()).grid, table.grid)
    refused(ValueError, 'domain that does not rise', ShortTable.from_lut3d, teska.Lut3d(Lut.table, np.zeros((2, 3))))
