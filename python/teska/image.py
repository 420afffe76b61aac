"""Images: resizing, sharpening, filling."""

from __future__ import annotations

from typing import Any, Callable, Sequence, Union, cast

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _arrays
from ._arrays import Array, Pixels
from ._library import NULL, collected, error, ffi, lib
from ._object import Handle

KERNELS = {'nearest': -1, 'area': 0, 'triangle': 1, 'catmull-rom': 2, 'mitchell': 3, 'lanczos3': 4}

Numbers = Union[float, Sequence[float], NDArray[np.float64]]


def _kernel(label: str, kernel: str) -> int:
    if kernel not in KERNELS:
        raise ValueError(f'{label}: kernel {kernel!r}; one of {", ".join(KERNELS)} wanted')
    return KERNELS[kernel]


def _picture(label: str, image: object, axis: int | None) -> tuple[Array, int | None]:
    """An array of 2 or 3 axes of bytes or 16 bits, and its channels' axis; None: gray, 2 axes."""
    array = _arrays.as_array(label, image)
    if isinstance(array, np.ma.MaskedArray) and array.mask is not np.ma.nomask:
        raise TypeError(f'{label}: a masked array; x.filled(value) says what stands in for the masked pixels')
    array = np.asarray(array)
    _arrays.check_dtype(label, array, ('u1', 'u2'))
    if axis not in (-1, 0, None):
        raise ValueError(f'{label}: axis {axis}; -1 (interleaved) or 0 (planar) wanted')
    if array.ndim not in (2, 3):
        raise ValueError(f'{label}: an image of shape (height, width) or (height, width, channels) wanted, not '
                         f'{array.shape}')
    if not _arrays.in_whole_items(array):
        array = array.copy()
    return array, None if array.ndim == 2 else axis


def _planes(array: Array, axis: int | None) -> Array:
    """Height, width, channels."""
    if axis is None:
        return array[..., np.newaxis]
    return array if axis == -1 else np.moveaxis(array, 0, -1)


def _described(planes: Array) -> Any:
    """The image as the library takes it."""
    height, width, components = planes.shape
    line, pixel, component = _arrays.strides_of(planes)
    if components == 1:
        component = planes.itemsize
    return ffi.new('whole_image *', {'pixels': ffi.cast('void *', _arrays.address(planes)), 'width': width,
                                     'height': height, 'components': components, 'depth': 8 * planes.itemsize,
                                     'line': line, 'pixel': pixel, 'component': component})


def _target(label: str, out: object, shape: tuple[int, ...], source: Array) -> tuple[Array, Array]:
    code = source.dtype.str[1:]
    result = np.empty(shape, code) if out is None else np.asarray(_arrays.check_out(label, out, shape, code))
    return result, source.copy() if np.may_share_memory(result, source) else source


def _in_strips(lines: int, threads: int, make: Callable[[int, int], Any]) -> None:
    """Makes all lines, in strips for the threads; make(first, lines) gives 0 where it fails."""
    failed: list[list[str]] = []

    def job(strip: slice) -> Callable[[], None]:
        def run() -> None:
            done, reports = collected(make, strip.start, strip.stop - strip.start)
            if not done or reports:
                failed.append(reports)

        return run

    ends = [lines * k // min(threads, lines) for k in range(min(threads, lines) + 1)]
    _arrays.in_threads([job(slice(a, b)) for a, b in zip(ends, ends[1:])])
    if failed:
        raise error(failed[0], 'the filter failed')


def resize(image: Pixels, size: tuple[int, int], kernel: str = 'lanczos3', *, axis: int = -1,
           window: tuple[float, float, float, float] | None = None, out: Array | None = None,
           threads: int | None = None) -> Array:
    """Brings an image to another size.

    Parameters:
        image: uint8 or uint16, (height, width) or with channels, any strides; also what numpy.asarray takes
        size: (width, height), the order of Pillow
        kernel: lanczos3, mitchell, catmull-rom, triangle; area; nearest, which picks samples and never mixes them
        axis: of the channels: -1 or 0
        window: left, top, width, height of what is shown, in pixels of the image and fractions of them
        out: array for the result
        threads: how many share the work; the result does not depend on it

    Returns the array; its type is that of the image. Results are those of izat (izoom for nearest), fed line by line.

    Example:
        >>> resize(np.uint8([[0, 100], [100, 200]]), (1, 1), 'area')
        array([[100]], dtype=uint8)
        >>> resize(np.zeros((480, 640, 3), 'uint8'), (320, 240)).shape
        (240, 320, 3)
    """
    label, number = 'resize', _kernel('resize', kernel)
    array, channels = _picture(label, image, axis)
    width, height = (int(n) for n in size)
    if width < 1 or height < 1 or width >= 2**31 or height >= 2**31:
        raise ValueError(f'{label}: size {tuple(size)}: (width, height) from 1 on wanted')
    planes = _planes(array, channels)
    shape = {None: (height, width), -1: (height, width, planes.shape[2]), 0: (planes.shape[2], height, width)}[channels]
    result, array = _target(label, out, shape, array)
    if 0 in array.shape:
        if result.size:
            raise ValueError(f'{label}: an empty image, {array.shape}, has no pixels to make others of')
        return result if out is None else out
    source, target = _described(_planes(array, channels)), _described(_planes(result, channels))
    if number < 0 and window is not None and any(part != int(part) for part in window):
        raise ValueError(f"{label}: window {window}: 'nearest' takes whole pixels")
    shown = NULL if window is None else ffi.new('double[4]', [float(part) for part in window])
    _in_strips(height, _arrays.thread_count(label, threads),
               lambda first, lines: lib.whole_image_resize(number, source, target, shown, first, lines))
    return result if out is None else out


def _per_channel(label: str, name: str, value: Numbers, channels: int) -> list[float]:
    values = np.asarray(value, np.float64)
    if values.ndim == 0:
        values = np.full(channels, float(values))
    if values.shape != (channels,):
        raise ValueError(f'{label}: {name}: one number or {channels} wanted, not the shape {values.shape}')
    return [float(number) for number in values]


def _levels(label: str, levels: ArrayLike | None, channels: int) -> NDArray[np.float64]:
    """Points (n, 2) of all channels."""
    points = np.zeros((0, 2)) if levels is None else np.asarray(levels, np.float64)
    if points.ndim != 2 or points.shape[1] != 2 or len(points) == 1:
        raise ValueError(f'{label}: levels: at least two points (sample, factor) wanted, not the shape {points.shape}')
    return points


def sharpen(image: Pixels, strength: Numbers = 1.0, *, radius: int = 1, noise: Numbers = 0.0,
            levels: ArrayLike | None = None, axis: int = -1, out: Array | None = None,
            threads: int | None = None) -> Array:
    """Sharpens an image by unsharp masking.

    Parameters:
        image: uint8 or uint16, (height, width) or with channels, any strides
        strength: how much, one number or one for each channel; 0 changes nothing
        radius: 0, 1 or 2: the window of fusm
        noise: which part of the full range the high-pass must reach to count, 0 .. 1
        levels: points (sample of 0 .. 1, factor) by which the strength depends on the sample
        axis, out, threads: as for resize

    Returns the array.

    Example:
        >>> edge = np.repeat(np.uint8([[100, 150]]), 5, axis=0).repeat(3, axis=1)
        >>> sharpen(edge, 0.25)[2]
        array([100, 100,  88, 162, 150, 150], dtype=uint8)
    """
    label = 'sharpen'
    array, channels = _picture(label, image, axis)
    if radius not in (0, 1, 2):
        raise ValueError(f'{label}: radius {radius!r}; 0, 1 or 2 wanted')
    result, array = _target(label, out, array.shape, array)
    planes = _planes(array, channels)
    height, _, count = planes.shape
    amounts, floors = (_per_channel(label, name, value, count) for name, value in
                       (('strength', strength), ('noise', noise)))
    points = _levels(label, levels, count)
    if array.size == 0:
        return result if out is None else out
    keep = [ffi.new('double[]', amounts), ffi.new('double[]', floors),
            *(ffi.new('double[]', list(np.tile(points[:, k], count))) for k in (0, 1))]
    how = ffi.new('whole_image_sharpening *', {'radius': radius, 'strength': keep[0], 'noise': keep[1],
                                               'points': len(points), 'levels': keep[2], 'factors': keep[3]})
    source, target = _described(planes), _described(_planes(result, channels))
    _in_strips(height, _arrays.thread_count(label, threads),
               lambda first, lines: lib.whole_image_sharpen(how, source, target, first, lines))
    return result if out is None else out


def flood(image: Pixels, x: int, y: int, *, tolerance: int = 0, axis: int = -1) -> NDArray[np.bool_]:
    """The pixels that are connected with a pixel, through their four sides, and of its colour.

    Parameters:
        image: bool, uint8 or uint16, (height, width) or with channels
        x, y: the pixel
        tolerance: how far a component may differ from that pixel's
        axis: of the channels

    Returns a bool array of shape (height, width); image[flood(image, x, y)] = value fills.

    Raises IndexError for a pixel outside the image.

    Example:
        >>> picture = np.uint8([[0, 9, 0], [0, 9, 9]])
        >>> picture[flood(picture, 0, 0)] = 5
        >>> picture
        array([[5, 9, 0],
               [5, 9, 9]], dtype=uint8)
    """
    given = _arrays.as_array('flood', image)
    array, channels = _picture('flood', given.view(np.uint8) if given.dtype == np.bool_ else given, axis)
    planes = _planes(array, channels)
    height, width = planes.shape[:2]
    if not 0 <= x < width or not 0 <= y < height:
        raise IndexError(f'flood: ({x}, {y}) is outside an image of {width} x {height}')
    if tolerance < 0:
        raise ValueError(f'flood: tolerance {tolerance} below 0')
    region = np.empty((height, width), np.uint8)
    done, lines = collected(lib.whole_image_flood, _described(planes), x, y, min(int(tolerance), 65536),
                            ffi.cast('unsigned char *', _arrays.address(region)))
    if not done or lines:
        raise error(lines, 'flood: failed')
    return region.view(np.bool_)


class _Lines(Handle):
    """What the filters that are fed line by line have in common."""

    def __reduce_ex__(self, protocol: Any) -> tuple[Any, ...]:
        raise TypeError(f'cannot pickle an open {type(self).__name__}')

    def __copy__(self) -> _Lines:
        raise TypeError(f'cannot copy an open {type(self).__name__}')

    def _checked_line(self, line: Pixels, width: int, channels: int, dtype: Any) -> Array:
        label = type(self).__name__
        array = np.asarray(_arrays.as_array(label, line))
        _arrays.check_dtype(label, array, (np.dtype(dtype).str[1:],))
        if array.shape != ((width, channels) if channels else (width,)):
            raise ValueError(f'{label}: a line of shape {(width, channels) if channels else (width,)} wanted, not '
                             f'{array.shape}')
        return np.ascontiguousarray(array)


class Resize(_Lines):
    """Brings an image to another size while its lines come one by one, so that it need not be in memory.

    Parameters:
        source: (width, height) of the image that will be fed
        size: (width, height) of the result
        kernel: as for resize
        channels: 1 .. 16 interleaved ones; None: lines are of shape (width,)
        window: as for resize
        dtype: uint8 or uint16

    Call it with a whole array in place of feeding lines: resize(array, size, kernel).

    Example:
        >>> image = np.arange(24, dtype='uint8').reshape(4, 6)
        >>> with Resize((6, 4), (3, 2), 'area') as small:
        ...     lines = [line for y in range(4) for line in small.feed(image[y])]
        >>> np.array(lines)
        array([[ 4,  6,  8],
               [16, 18, 20]], dtype=uint8)
    """

    def __init__(self, source: tuple[int, int], size: tuple[int, int], kernel: str = 'lanczos3', *,
                 channels: int | None = None, window: tuple[float, float, float, float] | None = None,
                 dtype: str | type[np.generic] = 'uint8') -> None:
        self._record = None
        number = _kernel('Resize', kernel)
        self._dtype = np.dtype(dtype)
        if self._dtype.str[1:] not in ('u1', 'u2'):
            raise TypeError(f'Resize: dtype: uint8 or uint16 wanted, not {self._dtype.name}')
        self.source, self.size = (int(source[0]), int(source[1])), (int(size[0]), int(size[1]))
        self._kernel, self._channels, self._window, self._fed = kernel, channels, window, 0
        prefix = 'izoom' if number < 0 else 'izat'
        arguments = () if number < 0 else (number,)
        record, lines = collected(getattr(lib, prefix + '_new'), *arguments)
        if record == NULL:
            raise error(lines, 'Resize: no record')
        record = ffi.gc(record, getattr(lib, prefix + '_kill'))
        if window is not None:
            kind = int if number < 0 else float
            getattr(lib, prefix + '_window_set')(record, *[kind(part) for part in window])
        self._done: list[Array] = []
        self._callback = ffi.callback('void(void *, int)', self._took)
        count = channels or 1
        started, lines = collected(getattr(lib, prefix + '_start'), record, count, self.source[1], self.source[0],
                                   self.size[1], self.size[0], self._callback, NULL, count, count)
        if not started:
            raise error(lines, 'Resize: no start')
        self._feed = getattr(lib, prefix + ('_line_b' if self._dtype.itemsize == 1 else '_line'))
        self._type = 'unsigned char' if self._dtype.itemsize == 1 else 'unsigned short'
        self._out = ffi.new(f'{self._type} *[1]')
        self._line = np.empty(0, self._dtype)
        self._record = record

    def _took(self, context: object, line: int) -> None:
        self._done.append(self._line)
        self._next()

    def _next(self) -> None:
        shape = (self.size[0], self._channels) if self._channels else (self.size[0],)
        self._line = np.empty(shape, self._dtype)
        self._out[0] = ffi.cast(f'{self._type} *', _arrays.address(self._line))

    def feed(self, line: Pixels) -> list[Array]:
        """Takes the next line of the image; returns the lines of the result that are complete by it, possibly none."""
        record = self._open()
        array = self._checked_line(line, self.source[0], self._channels or 0, self._dtype)
        self._done = []
        self._next()
        self._feed(record, ffi.cast(f'{self._type} *', _arrays.address(array)), self._out)
        self._fed += 1
        return self._done

    def __call__(self, image: Pixels, *, axis: int = -1, out: Array | None = None,
                 threads: int | None = None) -> Array:
        """The whole image at once."""
        self._open()
        return resize(image, self.size, self._kernel, axis=axis, window=self._window, out=out, threads=threads)

    def __repr__(self) -> str:
        if self._record is None:
            return 'Resize(closed)'
        return (f'Resize({self.source!r} to {self.size!r}, {self._kernel!r})'
                f'  # {self._fed} of {self.source[1]} lines fed')


class Sharpen(_Lines):
    """Sharpens an image while its lines come one by one.

    Parameters:
        size: (width, height) of the image that will be fed
        strength, radius, noise, levels: as for sharpen
        channels: 1 .. 4 interleaved ones; None: lines are of shape (width,)
        dtype: uint8 or uint16

    Example:
        >>> image = np.full((5, 4), 7, 'uint8')
        >>> with Sharpen((4, 5), 1.5) as filter:
        ...     lines = [line for row in image for line in filter.feed(row)]
        >>> np.array_equal(lines, image)
        True
    """

    def __init__(self, size: tuple[int, int], strength: Numbers = 1.0, *, radius: int = 1, noise: Numbers = 0.0,
                 levels: ArrayLike | None = None, channels: int | None = None,
                 dtype: str | type[np.generic] = 'uint8') -> None:
        self._record = None
        self._dtype = np.dtype(dtype)
        if self._dtype.str[1:] not in ('u1', 'u2'):
            raise TypeError(f'Sharpen: dtype: uint8 or uint16 wanted, not {self._dtype.name}')
        self.size, self._channels, self._fed = (int(size[0]), int(size[1])), channels, 0
        self._settings = {'strength': strength, 'radius': radius, 'noise': noise, 'levels': levels}
        count = channels or 1
        record, lines = collected(lib.fusm_new, int(radius), 255 if self._dtype.itemsize == 1 else 65535, count, count,
                                  NULL, NULL)
        if record == NULL:
            raise error(lines, 'Sharpen: no record')
        record = ffi.gc(record, lib.fusm_kill)
        lib.fusm_stren_set(record, ffi.new('double[]', _per_channel('Sharpen', 'strength', strength, count)))
        lib.fusm_noise_red_set(record, ffi.new('double[]', _per_channel('Sharpen', 'noise', noise, count)))
        points = _levels('Sharpen', levels, count)
        if len(points):
            rows = [ffi.new('double[]', list(np.repeat(points[:, k], count))) for k in (0, 1)]
            done, lines = collected(lib.fusm_level_red_set, record, len(points), *rows)
            if not done:
                raise error(lines, 'Sharpen: no levels')
        self._callback = ffi.callback('void(int)', self._took)
        started, lines = collected(lib.fusm_start, record, self.size[1], self.size[0], self._callback, count, 0,
                                   count)
        if not started:
            raise error(lines, 'Sharpen: no start')
        self._type = 'unsigned char' if self._dtype.itemsize == 1 else 'unsigned short'
        self._out = ffi.new(f'{self._type} *[]', count)
        self._kept: list[Array] = []
        self._done: list[Array] = []
        self._line = np.empty(0, self._dtype)
        self._record = record

    def _took(self, component: int) -> None:
        if component + 1 == (self._channels or 1):
            self._done.append(self._line)
            self._next()

    def _pointers(self, array: Array, into: Any) -> Any:
        for k in range(self._channels or 1):
            into[k] = ffi.cast(f'{self._type} *', _arrays.address(array) + k * array.itemsize)
        return into

    def _next(self) -> None:
        shape = (self.size[0], self._channels) if self._channels else (self.size[0],)
        self._line = np.empty(shape, self._dtype)
        self._pointers(self._line, self._out)

    def feed(self, line: Pixels) -> list[Array]:
        """Takes the next line; returns the lines that are complete by it: none, one, or at the end several."""
        record = self._open()
        # The record reads the lines around this one again, so they are copied and kept.
        array = self._checked_line(line, self.size[0], self._channels or 0, self._dtype).copy()
        self._kept = [*self._kept[-4:], array]
        self._done = []
        self._next()
        pointers = self._pointers(array, ffi.new(f'{self._type} *[]', self._channels or 1))
        (lib.fusm_b_do if self._dtype.itemsize == 1 else lib.fusm_do)(record, pointers, self._out, NULL)
        self._fed += 1
        return self._done

    def __call__(self, image: Pixels, *, axis: int = -1, out: Array | None = None,
                 threads: int | None = None) -> Array:
        """The whole image at once."""
        self._open()
        return sharpen(image, axis=axis, out=out, threads=threads, **cast(Any, self._settings))

    def __repr__(self) -> str:
        if self._record is None:
            return 'Sharpen(closed)'
        return (f"Sharpen({self.size!r}, strength={self._settings['strength']!r}, radius={self._settings['radius']!r})"
                f'  # {self._fed} of {self.size[1]} lines fed')
