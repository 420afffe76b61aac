"""The rules for arrays, the same for everything that takes pixels or points.

One axis holds the channels: the last one (axis=-1, interleaved) or the first (axis=0, planar). All others are pixels.
Any strides are used where they are; a copy is made of misaligned input, and of input that overlaps `out`.
"""

from __future__ import annotations

import sys
import threading
from typing import Any, Callable, Iterable, Protocol, Sequence, Union

import numpy as np
from numpy.typing import NDArray

from ._library import ffi, lib

Array = NDArray[np.generic]


class SupportsArrayInterface(Protocol):
    """What numpy.asarray takes by its memory, such as images and arrays of other packages."""

    @property
    def __array_interface__(self) -> dict[str, Any]: ...


class SupportsArray(Protocol):
    """What makes a numpy array of itself."""

    def __array__(self) -> Array: ...


Pixels = Union[Array, SupportsArrayInterface, SupportsArray, memoryview]

_SCALE = {'u1': "(x * 255 + 0.5).astype('uint8') scales 0 .. 1",
          'u2': "(x * 65535 + 0.5).astype('uint16') scales 0 .. 1"}


def as_array(label: str, pixels: object) -> Array:
    """Pixels as an array, masked arrays as they are; lists are refused."""
    if isinstance(pixels, np.ndarray):
        return pixels
    if isinstance(pixels, (str, bytes, list, tuple, int, float, complex, type(None))):
        raise TypeError(f'{label}: an array wanted, not {type(pixels).__name__}; '
                        'numpy.array(..) with its dtype makes one')
    array = np.asarray(pixels)
    if array.dtype == object:
        raise TypeError(f'{label}: an array wanted, not {type(pixels).__name__}')
    return array


def check_dtype(label: str, array: Array, wanted: Sequence[str], what: str = '') -> None:
    """Raises TypeError unless the type is one of those wanted, such as 'u1', in the order of this machine's bytes."""
    dtype = array.dtype
    code = dtype.kind + str(dtype.itemsize)
    if code in wanted and dtype.isnative:
        return
    if code in wanted:
        raise TypeError(f"{label}: {what}{dtype.newbyteorder('=').name} in foreign byte order; x.astype('={code}')")
    names = ' or '.join(np.dtype(name).name for name in wanted)
    if dtype.kind == 'f' and wanted[-1] in _SCALE:
        hint = _SCALE[wanted[-1]]
    elif wanted[-1] == 'f8':
        hint = "x.astype('float64')"
    else:
        hint = f"x.astype('{np.dtype(wanted[-1]).name}') where the values fit"
    raise TypeError(f'{label}: {what}{names} wanted, not {dtype.name}; {hint}')


def check_channels(label: str, shape: tuple[int, ...], axis: int, wanted: int) -> None:
    """Raises ValueError unless the channels' axis is as long as wanted."""
    if axis not in (-1, 0):
        raise ValueError(f'{label}: axis {axis}; -1 (interleaved) or 0 (planar) wanted')
    if not shape:
        raise ValueError(f'{label} of {wanted} inputs: an array without axes holds no pixel')
    if shape[axis] == wanted:
        return
    name, cut, other = ('last', f'x[..., :{wanted}]', 0) if axis == -1 else ('first', f'x[:{wanted}]', -1)
    hint = f'drop alpha with {cut} or pass axis={other}' if shape[axis] == wanted + 1 else f'pass axis={other}'
    if shape[axis] != wanted + 1:
        hint += ' for planar pixels' if other == 0 else ' for interleaved pixels'
    raise ValueError(f'{label} of {wanted} inputs: {name} axis is {shape[axis]} of {shape}; {hint}')


def channels_first(array: Array, axis: int) -> Array:
    """A view with the channels' axis in front."""
    return array if axis == 0 else np.moveaxis(array, -1, 0)


def strides_of(array: Array) -> tuple[int, ...]:
    """The strides; 0 where an axis has one item, of which the stride says nothing."""
    return tuple(stride if count > 1 else 0 for stride, count in zip(array.strides, array.shape))


def in_whole_items(array: Array) -> bool:
    """Aligned, and every stride a multiple of the item."""
    return array.flags.aligned and all(stride % array.itemsize == 0 for stride in strides_of(array))


def overlaps_itself(array: Array) -> bool:
    """Whether two items lie on the same bytes."""
    axes = sorted((abs(stride), count) for stride, count in zip(array.strides, array.shape) if count > 1)
    if array.size == 0 or not axes:
        return False
    reach = array.itemsize
    for stride, count in axes:
        if stride < reach:
            break
        reach += stride * (count - 1)
    else:
        return False
    if axes[0][0] < array.itemsize:
        return True
    places = np.zeros(1, np.int64)
    for stride, count in axes:
        places = np.add.outer(places, stride * np.arange(count, dtype=np.int64)).ravel()
    places.sort()
    return bool((np.diff(places) < array.itemsize).any())


def check_out(label: str, out: object, shape: tuple[int, ...], code: str) -> Array:
    """The array that takes the results, checked."""
    if not isinstance(out, np.ndarray):
        raise TypeError(f'{label}: out: a numpy array wanted, not {type(out).__name__}')
    check_dtype(label, out, (code,), 'out: ')
    if out.shape != shape:
        raise ValueError(f'{label}: out has the shape {out.shape}, {shape} wanted')
    if not out.flags.writeable:
        raise ValueError(f'{label}: out is read-only')
    if not in_whole_items(out):
        raise ValueError(f'{label}: out is misaligned')
    if overlaps_itself(out):
        raise ValueError(f'{label}: out overlaps itself; np.empty({shape}, {out.dtype.name!r}) does not')
    return out


def same_place(a: Array, b: Array) -> bool:
    """The same items in the same order."""
    return (a.dtype == b.dtype and a.shape == b.shape and strides_of(a) == strides_of(b) and
            address(a) == address(b))


def address(array: Array) -> int:
    """Where the first item lies."""
    return int(array.__array_interface__['data'][0])


def _hidden(pixels: Any, axis: int) -> NDArray[np.bool_]:
    """Which pixels of a masked array are masked, in any channel."""
    mask: Array = np.ma.getmaskarray(pixels)  # type: ignore[no-untyped-call]
    return np.asarray(mask.any(axis=axis))


def pixel_mask(label: str, pixels: Array, mask: object, axis: int) -> NDArray[np.uint8] | None:
    """One byte for each pixel, not 0 where it is converted: from the argument `mask` and from a masked array's mask."""
    shape = pixels.shape[:-1] if axis == -1 else pixels.shape[1:]
    result: NDArray[np.uint8] | None = None
    if mask is not None:
        given = np.asarray(mask)
        if given.dtype != np.bool_ and given.dtype != np.uint8:
            raise TypeError(f"{label}: mask: bool or uint8 wanted, not {given.dtype.name}; x.astype(bool)")
        if given.shape != shape:
            raise ValueError(f'{label}: mask has the shape {given.shape}, that of the pixels, {shape}, is wanted')
        result = given.view(np.uint8)
    if isinstance(pixels, np.ma.MaskedArray) and pixels.mask is not np.ma.nomask:
        shown = ~_hidden(pixels, axis)
        result = shown.view(np.uint8) if result is None else ((result != 0) & shown).view(np.uint8)
    return result


def slices_of(shape: tuple[int, ...], parts: int) -> list[tuple[slice, ...]]:
    """The pixels in so many parts of about the same size, along one axis."""
    if not shape or parts <= 1:
        return [(slice(None),) * len(shape)]
    axis = next((k for k, count in enumerate(shape) if count >= 8 * parts), int(np.argmax(shape)))
    parts = max(1, min(parts, shape[axis]))
    ends = [shape[axis] * k // parts for k in range(parts + 1)]
    return [(slice(None),) * axis + (slice(a, b),) for a, b in zip(ends, ends[1:])]


def in_threads(jobs: Sequence[Callable[[], None]]) -> None:
    """Runs all jobs, the last one in this thread; the first exception is raised when all have ended."""
    failed: list[BaseException] = []

    def run(job: Callable[[], None]) -> None:
        try:
            job()
        except BaseException as error:
            failed.append(error)

    threads = [threading.Thread(target=run, args=(job,)) for job in jobs[:-1]]
    for thread in threads:
        thread.start()
    run(jobs[-1])
    for thread in threads:
        thread.join()
    if failed:
        raise failed[0]


def thread_count(label: str, threads: int | None) -> int:
    """How many threads; None is one."""
    if threads is None:
        return 1
    if isinstance(threads, bool) or not isinstance(threads, (int, np.integer)) or threads < 1:
        raise ValueError(f'{label}: threads={threads!r}; None or a number from 1 on is wanted')
    return int(threads)


def int64s(numbers: Iterable[int]) -> Any:
    """An array for the library."""
    return ffi.new('int64_t[]', list(numbers))


def _channel_pointers(array: Array) -> Any:
    first, step = address(array), array.strides[0] if array.shape[0] > 1 else 0
    return ffi.new('void *[]', [ffi.cast('void *', first + k * step) for k in range(array.shape[0])])


def _convert_part(kind: int, table: Any, source: Array, out: Array, mask: NDArray[np.uint8] | None) -> None:
    shape = source.shape[1:]
    arrays = [int64s(shape), int64s(strides_of(source)[1:]), int64s(strides_of(out)[1:]),
              int64s(strides_of(mask) if mask is not None else ())]
    layout = ffi.new('convert_rows_layout *',
                     {'rank': len(shape), 'shape': arrays[0], 'in_strides': arrays[1], 'out_strides': arrays[2],
                      'mask': ffi.cast('unsigned char *', address(mask)) if mask is not None else ffi.NULL,
                      'mask_strides': arrays[3]})
    lib.teska_convert_rows(kind, table, source.shape[0], _channel_pointers(source), out.shape[0],
                           _channel_pointers(out), layout)


def convert(label: str, kinds: dict[tuple[str, str], int], table: Any, inputs: int, outputs: int, pixels: object, *,
            out: object, axis: int, mask: object, threads: int | None, code: str | None = None) -> Array:
    """Converts pixels through a table, by the rules of this module.

    kinds    for the types of input and output the kind of conversion (convert_rows.h)
    code     the type of the results; None: that of the input
    """
    array = as_array(label, pixels)
    check_dtype(label, array, tuple(dict.fromkeys(source for source, _ in kinds)))
    check_channels(label, array.shape, axis, inputs)
    source_code = array.dtype.kind + str(array.dtype.itemsize)
    code = code or source_code
    shape = array.shape[:-1] + (outputs,) if axis == -1 else (outputs,) + array.shape[1:]
    count = thread_count(label, threads)
    shown = pixel_mask(label, array, mask, axis)
    plain = np.asarray(array)
    if not in_whole_items(plain):
        plain = plain.copy()
    if out is None:
        result = np.empty(shape, code) if shown is None else np.zeros(shape, code)
    else:
        result = np.asarray(check_out(label, out, shape, code))
        in_place = same_place(plain, result) and code != 'f8'
        if not in_place and np.may_share_memory(plain, result):
            plain = plain.copy()
        if shown is not None and np.may_share_memory(shown, result):
            shown = shown.copy()
    if result.size != 0:
        _convert_all(kinds[source_code, code], table, channels_first(plain, axis), channels_first(result, axis), shown,
                     count)
    if out is not None:
        return out  # type: ignore[return-value]
    if isinstance(array, np.ma.MaskedArray):
        return _masked_again(result, array, axis)
    return result


def _convert_all(kind: int, table: Any, source: Array, result: Array, mask: NDArray[np.uint8] | None,
                 threads: int) -> None:
    def job(part: tuple[slice, ...]) -> Callable[[], None]:
        pixels = (slice(None), *part)
        return lambda: _convert_part(kind, table, source[pixels], result[pixels],
                                     mask[part] if mask is not None else None)

    in_threads([job(part) for part in slices_of(source.shape[1:], threads)])


def _masked_again(result: Array, source: np.ma.MaskedArray[Any, Any], axis: int) -> Array:
    hidden = np.expand_dims(_hidden(source, axis), axis)
    return np.ma.array(result, mask=np.broadcast_to(hidden, result.shape))  # type: ignore


def points(label: str, given: object, columns: int) -> NDArray[np.float64]:
    """Points as a dense array (.., columns) of float64; lists and integers are fine."""
    if isinstance(given, np.ma.MaskedArray) and given.mask is not np.ma.nomask and given.mask.any():
        raise TypeError(f'{label}: masked points; x[~x.mask.any(axis=-1)] leaves them out')
    array = np.asarray(given)
    if array.dtype.kind not in 'fiu':
        raise TypeError(f'{label}: numbers wanted, not {array.dtype.name}')
    if array.ndim == 0 or array.shape[-1] != columns:
        raise ValueError(f'{label}: points of {columns} coordinates wanted, last axis is '
                         f'{array.shape[-1] if array.ndim else 0} of {array.shape}')
    return np.ascontiguousarray(array, np.float64)


def doubles(array: NDArray[np.float64]) -> Any:
    """A dense array for the library."""
    return ffi.cast('double *', address(array))


def is_image(value: object) -> bool:
    """Whether it is an image of Pillow; that package is not imported for the question."""
    module = sys.modules.get('PIL.Image')
    return module is not None and isinstance(value, module.Image)
