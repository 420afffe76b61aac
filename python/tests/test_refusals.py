"""What is refused, each with its text: what no other test comes by."""

import numpy as np
import pytest
from conftest import filled, refused

import teska
from teska import Archive, ByteTable, Clut, Curve, DoubleTable, Hull, Records, Resize, Sharpen, ShortTable, TopSurface
from teska import TeskaMemoryError, Volume, delta_e_2000, flood, minimise, numeric, random_numbers, resize

GRAY = np.zeros((4, 5), 'u1')
CORNERS = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]]


@pytest.mark.parametrize('error, text, call', [
    (ValueError, r'Hull: points of shape \(n, 3\) wanted, not \(2, 4, 3\)', lambda p: Hull([CORNERS] * 2)),
    (ValueError, 'Volume: at most 65535 points, not 65536', lambda p: Volume(np.zeros((65536, 3)))),
    (ValueError, 'TopSurface: at least one colorant, and two levels', lambda p: TopSurface(lambda x: x, [[1]])),
    (TypeError, 'numbers wanted, not complex128', lambda p: Hull(np.array(CORNERS, complex))),
    (ValueError, 'Curve: at most 65535 points, not 65536', lambda p: Curve(range(65536), range(65536))),
    (ValueError, 'Curve.table: 1 values; at least 2', lambda p: Curve([0, 1], [0, 1]).table(1)),
    (TypeError, 'Curve.table: a type of floats, uint8 or uint16 wanted, not int64',
     lambda p: Curve([0, 1], [0, 1]).table(2, 'int64')),
    (ValueError, 'Archive: a description of at most 199 bytes wanted, not 200',
     lambda p: Archive(p / 'a', 'x', 'd' * 200)),
    (ValueError, 'Archive: a zero byte', lambda p: Archive(p / 'a', 'x', 'a\0b')),
    (ValueError, "Records: mode 'b'", lambda p: Records(p / 'r', 'b')),
    (ValueError, 'Records: a zero byte', lambda p: Records(p / 'r').add('a\0b')),
    (ValueError, r"x0 of shape \(n,\) wanted, not \(1, 2\)", lambda p: minimise(lambda x: 0.0, [[1, 2]])),
    (ValueError, "minimise: method 'best'; 'simplex' or 'directions' wanted",
     lambda p: minimise(lambda x: 0.0, [1.0], method='best')),
    (ValueError, 'random_numbers: -1 numbers', lambda p: random_numbers(1, -1)),
    (ValueError, r'colours of shape \(.., 3\) wanted, not \(2,\)', lambda p: delta_e_2000([1, 2], [3, 4])),
    (TypeError, 'Resize: dtype: uint8 or uint16 wanted, not float64', lambda p: Resize((4, 4), (2, 2), dtype='f8')),
    (TypeError, 'Sharpen: dtype: uint8 or uint16 wanted, not float64', lambda p: Sharpen((4, 4), dtype='f8')),
    (ValueError, 'axis 1; -1', lambda p: resize(np.zeros((4, 5, 3), 'u1'), (2, 2), axis=1)),
    (ValueError, "'nearest' takes whole pixels",
     lambda p: resize(GRAY, (2, 2), 'nearest', window=(0.5, 0, 2, 2))),
    (ValueError, r'levels: at least two points \(sample, factor\)', lambda p: Sharpen((4, 4), levels=[[1, 2]])),
    (ValueError, 'flood: tolerance -1 below 0', lambda p: flood(GRAY, 0, 0, tolerance=-1)),
    (TypeError, 'ByteTable: inputs: a whole number wanted, not float', lambda p: ByteTable(3.0, 3)),
    (ValueError, r'grid has the shape \(2, 2\), \(2, 1\) wanted',
     lambda p: ByteTable(1, 1, 2, grid=np.zeros((2, 2), 'u1'))),
    (ValueError, 'beyond every memory', lambda p: ByteTable(2**40, 1)),
    (ValueError, 'Clut: points for 2 inputs wanted, not 3', lambda p: Clut(2, 1, (2, 3, 4))),
    (TypeError, 'ShortTable: dtype: uint8 or uint16 wanted, not float32',
     lambda p: ShortTable(1, 1)(np.zeros((2, 1), 'u2'), dtype='f4')),
    (TypeError, 'mask: bool or uint8 wanted, not float64',
     lambda p: ByteTable(1, 1)(np.zeros((2, 1), 'u1'), mask=np.zeros(2))),
    (TypeError, 'an array wanted, not object', lambda p: ByteTable(1, 1)(object())),
    (ValueError, r'from_lut3d: a table of shape \(R, R, R, 3\)',
     lambda p: ShortTable.from_lut3d(teska.Lut3d(np.zeros((2, 3, 2, 3)), np.array([[0., 0, 0], [1, 1, 1]])))),
    (ValueError, 'to_lut3d: a table of 3 inputs and 3 outputs', lambda p: ShortTable(3, 4, 2).to_lut3d()),
    (ValueError, 'a name that ends in .ttab or .cube', lambda p: ShortTable(3, 3, 2).save(p / 't.txt')),
    (ValueError, 'a name that ends in .ttab or .cube', lambda p: ShortTable.load(p / 't.txt')),
    (ValueError, 'a .cube holds 3 inputs and 3 outputs', lambda p: ShortTable(3, 4, 2).save(p / 't.cube')),
    (ValueError, 'a .cube has no place for curves', lambda p: curved(ShortTable(3, 3, 2)).save(p / 't.cube')),
    (ValueError, 'a .ttab has no place for curves of outputs',
     lambda p: curved(ShortTable(3, 3, 2)).save(p / 't.ttab')),
])
def test_refused(tmp_path, error, text, call):
    refused(error, text, call, tmp_path)
    assert not any(tmp_path.glob('t.*'))


def curved(table):
    table.set_curves(None, [np.array([65535, 0], 'u2')] * 3)
    return table


def test_kinds_of_files(tmp_path):
    ShortTable(3, 3, 2).save(tmp_path / 't.ttab')
    refused(ValueError, 'a .ttab holds 16 bits; ShortTable.load reads it', ByteTable.load, tmp_path / 't.ttab')
    with open(tmp_path / 'large.cube', 'wb') as file:
        file.truncate((64 << 20) + 1)
    refused(ValueError, 'large.cube: more than 64 MiB', ByteTable.load, tmp_path / 'large.cube')


def test_an_entry_that_is_gone(tmp_path):
    """The archive is another one since its names were read."""
    for name, entries in (('a', ('x', 'y')), ('b', ('z',))):
        with Archive(tmp_path / name, 'x') as archive:
            for entry in entries:
                archive.write(entry, b'abc')
    with Archive(tmp_path / 'a') as archive:
        assert archive.names() == ['x', 'y']
        (tmp_path / 'b').replace(tmp_path / 'a')
        refused(KeyError, "'x'", archive.read, 'x')


def test_a_search_without_memory(monkeypatch):
    monkeypatch.setattr(numeric, 'collected', lambda *_: (0, ['condirmin : malloc failed']))
    refused(TeskaMemoryError, '^condirmin : malloc failed$', minimise, lambda x: 0.0, [1.0], method='directions')


def test_an_exception_in_a_thread_comes_through():
    def fail():
        raise ZeroDivisionError
    refused(ZeroDivisionError, '', teska._arrays.in_threads, [fail, lambda: None])


def test_closed_tables_are_equal_to_themselves_only(rng):
    table, other = filled(DoubleTable, rng), filled(DoubleTable, rng)
    table.close()
    assert table == table and table != other
