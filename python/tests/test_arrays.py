"""The rules for arrays: every layout gives the bytes of the C function called pixel by pixel."""

import re
from concurrent.futures import ThreadPoolExecutor

import numpy as np
from conftest import filled, refused

from teska import ByteTable, Clut, DoubleTable, ShortTable
from teska._arrays import address
from teska._library import ffi, lib

C_TYPES = {'u1': 'unsigned char', 'u2': 'unsigned short', 'f8': 'double'}
CALLS = {('u1', 'u1', ByteTable): lambda t, i, o: lib.md_tetrab_interp(t, i, 1, o, 1, 1, ffi.NULL, 0.0),
         ('u1', 'u1', ShortTable): lambda t, i, o: lib.md_tetras_interp_b(t, i, 1, o, 1, 1, ffi.NULL, 0),
         ('u1', 'u2', ShortTable): lambda t, i, o: lib.md_tetras_interp_bs(t, i, 1, o, 1, 1, ffi.NULL, 0),
         ('u2', 'u1', ShortTable): lambda t, i, o: lib.md_tetras_interp_sb(t, i, 1, o, 1, 1, ffi.NULL, 0),
         ('u2', 'u2', ShortTable): lambda t, i, o: lib.md_tetras_interp(t, i, 1, o, 1, 1, ffi.NULL, 0),
         ('f8', 'f8', DoubleTable): lambda t, i, o: lib.md_tetrad_interp(t, i, 1, o, 1, 1),
         ('f8', 'f8', Clut): lambda t, i, o: lib.clut_table_interp(t, i, 1, o, 1, 1)}


def by_c(table, kind, pixels, outputs):
    """Pixels (n, N), one after the other, by the C function."""
    source, target, cls = kind
    result = np.zeros((len(pixels), outputs), target)
    for row, line in zip(np.ascontiguousarray(pixels), result):
        pointers = [ffi.new(C_TYPES[code] + ' *[]', [ffi.cast(C_TYPES[code] + ' *', address(array) + k * array.itemsize)
                                                     for k in range(len(array))])
                    for code, array in ((source, row), (target, line))]
        CALLS[kind](table._record, *pointers)
    return result


def any_layout(rng, shape, code):
    """An array of that shape anywhere in a larger one: axes in any order, steps, mirrored, byte offsets."""
    order = rng.permutation(len(shape))
    steps = rng.integers(1, 4, len(shape))
    gaps = rng.integers(0, 3, len(shape))
    big = np.zeros([shape[k] * steps[k] + gaps[k] for k in order], code)
    view = big.transpose(np.argsort(order))
    for k, step in enumerate(steps):
        cut = slice(0, shape[k] * step, step)
        view = view[(slice(None),) * k + (cut,)]
        if rng.integers(3) == 0:
            view = view[(slice(None),) * k + (slice(None, None, -1),)]
    assert view.shape == tuple(shape)
    return view


def fill(rng, array):
    array[...] = rng.random(array.shape) if array.dtype.kind == 'f' else rng.integers(
        0, np.iinfo(array.dtype).max + 1, array.shape)


def test_a_thousand_layouts_equal_the_c_function(rng):
    tables = {cls: [filled(cls, rng, n, m) for n, m in ((3, 4), (1, 1), (4, 3), (3, 3))]
              for cls in (ByteTable, ShortTable, DoubleTable, Clut)}
    kinds = list(CALLS)
    for layout in range(1000):
        kind = source, target, cls = kinds[layout % len(kinds)]
        table = tables[cls][int(rng.integers(4))]
        axis = int(rng.integers(2)) - 1
        pixel_shape = list(rng.integers(0 if layout % 50 == 0 else 1, 5, int(rng.integers(4))))
        with_channels = lambda n: pixel_shape + [n] if axis == -1 else [n] + pixel_shape  # noqa: E731
        pixels = any_layout(rng, with_channels(table.inputs), source)
        fill(rng, pixels)
        if pixel_shape and layout % 7 == 0:
            pixels = np.broadcast_to(pixels, (2, *pixels.shape)) if axis == -1 else pixels
        flat = np.moveaxis(pixels, axis, -1).reshape(-1, table.inputs)
        shape = tuple(table.outputs if k == axis % pixels.ndim else n for k, n in enumerate(pixels.shape))
        out = any_layout(rng, shape, target) if layout % 3 else None
        mask = rng.integers(0, 2, np.moveaxis(pixels, axis, -1).shape[:-1]).astype(bool) if layout % 4 == 0 else None
        expected = by_c(table, kind, flat, table.outputs)
        if mask is not None:
            expected[~mask.ravel()] = 0
        options = {'dtype': target} if cls is ShortTable else {}
        result = table(pixels, out=out, axis=axis, mask=mask, threads=int(rng.integers(1, 4)), **options)
        assert result.shape == shape and (out is None or result is out)
        found = np.moveaxis(result, axis, -1).reshape(-1, table.outputs)
        assert np.array_equal(found, expected), f'layout {layout}: {kind}, {pixels.shape}, {pixels.strides}'


def test_errors_say_what_is_wrong_and_what_helps(byte_table, short_table):
    image, foreign = np.zeros((480, 640, 4), np.uint8), np.dtype('u2').newbyteorder()
    cases = (
        (byte_table, image, {}, ValueError, ' of 3 inputs: last axis is 4 of (480, 640, 4); drop alpha with x[..., :3] '
         'or pass axis=0'),
        (byte_table, image.T, {'axis': 0}, ValueError, ' of 3 inputs: first axis is 4 of (4, 640, 480); drop alpha '
         'with x[:3] or pass axis=-1'),
        (byte_table, np.zeros((3, 9, 9), 'u1'), {}, ValueError, ' of 3 inputs: last axis is 9 of (3, 9, 9); pass '
         'axis=0 for planar pixels'),
        (byte_table, np.uint8(3), {}, ValueError, ' of 3 inputs: an array without axes holds no pixel'),
        (byte_table, image, {'axis': 1}, ValueError, ': axis 1; -1 (interleaved) or 0 (planar) wanted'),
        (byte_table, image[..., :3], {'threads': 0}, ValueError, ': threads=0; None or a number from 1 on is wanted'),
        (byte_table, image[..., :3], {'mask': np.zeros(3, bool)}, ValueError, ': mask has the shape (3,), that of the '
         'pixels, (480, 640), is wanted'),
        (byte_table, [1, 2, 3], {}, TypeError, ': an array wanted, not list; numpy.array(..) with its dtype makes one'),
        (byte_table, np.zeros(3), {}, TypeError, ": uint8 wanted, not float64; (x * 255 + 0.5).astype('uint8') scales "
         '0 .. 1'),
        (short_table, np.zeros(3), {}, TypeError, ': uint8 or uint16 wanted, not float64; '
         "(x * 65535 + 0.5).astype('uint16') scales 0 .. 1"),
        (short_table, np.zeros(3, foreign), {}, TypeError, ": uint16 in foreign byte order; x.astype('=u2')"),
        (DoubleTable(3, 1, 3), np.zeros(3, 'f4'), {}, TypeError, ": float64 wanted, not float32; x.astype('float64')"))
    for table, pixels, options, error, text in cases:
        refused(error, f'^{re.escape(type(table).__name__ + text)}$', table, pixels, **options)


def test_out_is_checked_before_anything_is_written(byte_table):
    pixels, strided = np.zeros((4, 5, 3), np.uint8), np.lib.stride_tricks.as_strided
    frozen = np.zeros((4, 5, 4), np.uint8)
    frozen.flags.writeable = False
    for out, error, text in ((pixels, ValueError, 'out has the shape (4, 5, 3), (4, 5, 4) wanted'),
                             (frozen.astype('u2'), TypeError, 'out: uint8 wanted, not uint16'),
                             (frozen, ValueError, 'out is read-only'),
                             ([1], TypeError, 'out: a numpy array wanted, not list'),
                             (strided(np.zeros(99, 'u1'), (4, 5, 4), (0, 4, 1)), ValueError,
                              "out overlaps itself; np.empty((4, 5, 4), 'uint8') does not"),
                             (strided(np.zeros(99, 'u1'), (4, 5, 4), (5, 1, 1)), ValueError, 'out overlaps itself')):
        refused(error, re.escape('ByteTable: ' + text), byte_table, pixels, out=out)
    crossed = strided(np.zeros(99, 'u1'), (2, 3, 4), (2, 5, 20))
    assert byte_table(pixels[:2, :3], out=crossed) is crossed  # no two items on one byte


def test_in_place_and_overlaps_do_not_disturb_the_result(rng):
    for cls in (ByteTable, ShortTable, DoubleTable, Clut):
        table = filled(cls, rng, 3, 3)
        code = 'f8' if cls in (DoubleTable, Clut) else table.grid.dtype.str[1:]
        memory = np.zeros(400, code)
        fill(rng, memory)
        for shift in (0, 1, 3, 30):
            for other in (1, -1):
                work = memory.copy()
                source, target = work[:300].reshape(100, 3), work[shift:shift + 300].reshape(100, 3)[::other]
                expected = table(source.copy())
                assert table(source, out=target) is target
                assert np.array_equal(target, expected), (cls, shift, other)


def test_misaligned_input_is_copied_and_misaligned_out_refused(short_table, rng):
    packed = np.zeros((6, 5), [('tag', 'u1'), ('rgb', '<u2', 3), ('cmyk', '<u2', 4)])
    packed['rgb'] = rng.integers(0, 65536, (6, 5, 3))
    if packed['rgb'].dtype.isnative:
        assert np.array_equal(short_table(packed['rgb']), short_table(packed['rgb'].copy()))
        refused(ValueError, 'ShortTable: out is misaligned', short_table, packed['rgb'], out=packed['cmyk'])


def test_masked_arrays_keep_what_out_holds(byte_table, rng):
    pixels = rng.integers(0, 256, (6, 7, 3)).astype(np.uint8)
    hidden = rng.integers(0, 2, (6, 7)).astype(bool)
    masked = np.ma.array(pixels, mask=np.repeat(hidden[..., None], 3, axis=2))
    plain = byte_table(pixels)
    result = byte_table(masked)
    assert np.array_equal(np.ma.getmaskarray(result)[..., 0], hidden)
    assert np.array_equal(result.data, np.where(hidden[..., None], 0, plain))
    out = np.full((6, 7, 4), 9, np.uint8)
    byte_table(masked, out=out, mask=np.arange(42).reshape(6, 7) % 2 == 0)
    shown = ~hidden & (np.arange(42).reshape(6, 7) % 2 == 0)
    assert np.array_equal(out, np.where(shown[..., None], plain, 9))


def test_what_has_an_array_interface_is_taken(byte_table, rng):
    pixels = rng.integers(0, 256, (4, 5, 3)).astype(np.uint8)

    class Picture:
        __array_interface__ = pixels.__array_interface__

    for given in (Picture(), memoryview(pixels)):
        assert np.array_equal(byte_table(given), byte_table(pixels))


def test_one_table_serves_many_threads(short_table, rng):
    pixels = rng.integers(0, 65536, (300, 400, 3)).astype(np.uint16)
    expected = short_table(pixels)
    with ThreadPoolExecutor(8) as pool:
        for result in pool.map(lambda k: short_table(pixels, threads=1 + k % 3), range(8)):
            assert np.array_equal(result, expected)
