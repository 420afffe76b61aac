"""Images: whole ones in any layout equal those that are fed line by line."""

import numpy as np
from conftest import refused
from test_arrays import any_layout

from teska import Resize, Sharpen, TeskaError, flood, resize, sharpen

KERNELS = ('nearest', 'area', 'triangle', 'catmull-rom', 'mitchell', 'lanczos3')


def fed(filter, image):
    """All lines, one after the other."""
    return np.array([line for row in image for line in filter.feed(row)])


def picture(rng, dtype, channels):
    height, width = rng.integers(1, 30, 2)
    shape = (height, width) if channels is None else (height, width, channels)
    return rng.integers(0, np.iinfo(dtype).max + 1, shape).astype(dtype)


def places(rng, image, axis):
    """The image in any layout, with its channels in front where axis is 0."""
    turned = np.moveaxis(image, -1, 0) if axis == 0 and image.ndim == 3 else image
    view = any_layout(rng, turned.shape, image.dtype.str)
    view[...] = turned
    return view


def straight(result, axis):
    return np.moveaxis(result, 0, -1) if axis == 0 and result.ndim == 3 else result


def test_resize_equals_the_lines(rng):
    for round in range(120):
        dtype, channels, axis = ('u1', 'u2')[round % 2], (None, 1, 3, 5)[round % 4], -(round % 3 == 0)
        image, kernel = picture(rng, dtype, channels), KERNELS[round % 6]
        width, height = (int(n) for n in rng.integers(1, 40, 2))
        window = None if round % 5 else (0, 0, image.shape[1] / 2 // 1 or 1, image.shape[0])
        with Resize(image.shape[1::-1], (width, height), kernel, channels=channels, dtype=dtype,
                    window=window) as filter:
            expected = fed(filter, image)
        given = places(rng, image, axis)
        out = places(rng, np.zeros(expected.shape, dtype), axis) if round % 2 else None
        result = resize(given, (width, height), kernel, axis=axis, window=window, out=out, threads=1 + round % 4)
        assert np.array_equal(straight(result, axis), expected), (round, kernel, image.shape, (width, height))
        assert out is None or result is out


def test_sharpen_equals_the_lines(rng):
    for round in range(60):
        dtype, channels, axis = ('u1', 'u2')[round % 2], (None, 1, 3, 4)[round % 4], -(round % 3 == 0)
        image = picture(rng, dtype, channels)
        options = {'radius': round % 3, 'noise': 0.01 * (round % 2), 'levels': [None, [(0, 0), (1, 1.5)]][round % 2]}
        with Sharpen(image.shape[1::-1], 0.7, channels=channels, dtype=dtype, **options) as filter:
            expected = fed(filter, image)
        result = sharpen(places(rng, image, axis), 0.7, axis=axis, threads=1 + round % 4, **options)
        assert np.array_equal(straight(result, axis), expected), (round, image.shape, options)
    target = image.copy()
    assert sharpen(target, 0.7, out=target, **options) is target and np.array_equal(target, expected)


def test_flood_takes_what_is_connected():
    image = np.zeros((9, 9, 3), np.uint8)
    image[4, :, 1] = 100
    image[4, 3, 1] = 3
    assert flood(image, 0, 0).sum() == 36 and flood(image, 0, 0, tolerance=3).sum() == 73
    assert flood(image[..., 1] == 0, 8, 8).sum() == 36 and flood(np.moveaxis(image, -1, 0), 0, 4, axis=0).sum() == 3
    refused(IndexError, r'flood: \(9, 0\) is outside an image of 9 x 9', flood, image, 9, 0)


def test_what_is_no_image_is_refused():
    image = np.zeros((4, 4), np.uint8)
    for error, text, given, *arguments in (
            (ValueError, 'resize: size', image, (0, 4)),
            (ValueError, "kernel 'best'; one of nearest", image, (4, 4), 'best'),
            (TypeError, 'uint8 or uint16 wanted', image.astype(float), (4, 4)),
            (ValueError, 'an image of shape', image[0], (4, 4)), (ValueError, 'an empty image', image[:0], (4, 4)),
            (TypeError, 'masked', np.ma.array(image, mask=image == 0), (2, 2))):
        refused(error, text, resize, given, *arguments)
    refused(TeskaError, 'izat_start: illegal window', resize, image, (4, 4), window=(0, 0, 9, 1))
    refused(ValueError, 'radius 3; 0, 1 or 2 wanted', sharpen, image, radius=3)
    refused(ValueError, 'strength: one number or 1 wanted', sharpen, image, [1, 2])
    refused(ValueError, r'a line of shape \(4,\)', Resize((4, 4), (2, 2)).feed, image)
    assert sharpen(image[:0]).shape == (0, 4)
