"""Pictures on disk that many processes read and write tile by tile: .npy, raw pixels, uncompressed TIFF, zarr folders.

A Store is opened by each process for itself. Tiles are written by pwrite to bytes that no other tile has; the file has
its full size before. Memory maps serve for reading only: a page that finds no room on the disk would end the process.
"""

from __future__ import annotations

import functools
import io
import mmap
import os
from abc import ABC, abstractmethod
from contextlib import contextmanager
from typing import Any, Iterator, NamedTuple, cast

import numpy as np
from numpy.typing import NDArray

from . import _tiff

Pixels = NDArray[np.generic]
Shape = tuple[int, int, int]  # height, width, channels
Box = tuple[int, int, int, int]  # y0, y1, x0, x1

KINDS = {'.npy': 'npy', '.raw': 'raw', '.tif': 'tiff', '.tiff': 'tiff', '.zarr': 'zarr'}


class Picture(NamedTuple):
    """What a process needs to open a picture; `tile` is (height, width) of the file's own tiles, if it has any."""
    path: str
    kind: str
    shape: Shape
    dtype: str
    tile: tuple[int, int] | None = None
    options: tuple[Any, ...] = ()


class Store(ABC):
    """An open picture. Pixels are (height, width, channels) in this machine's order of bytes."""

    def __init__(self, picture: Picture) -> None:
        self.picture = picture

    @abstractmethod
    def read(self, box: Box) -> Pixels:
        """The pixels of a part: a copy, or a view of a file that nobody changes."""

    @abstractmethod
    def write(self, box: Box, pixels: Pixels) -> None:
        """Writes a part that consists of whole tiles of the file."""

    def rest(self) -> None:
        """Called between tiles: gives back what is only kept for speed."""

    def close(self) -> None:
        """Gives up files and maps."""


def _write_all(file: int, data: Any, at: int) -> None:
    """pwrite until everything is written; a full disk shows as a short count first."""
    view = memoryview(data).cast('B')
    while len(view):
        count = os.pwrite(file, view, at)
        view, at = view[count:], at + count


class _File(Store):
    """A file, for writing or only for reading."""

    def __init__(self, picture: Picture, writing: bool) -> None:
        super().__init__(picture)
        self._map: mmap.mmap | None = None
        self._file = os.open(picture.path, os.O_RDWR if writing else os.O_RDONLY)

    @property
    def data(self) -> NDArray[np.uint8]:
        """The bytes of the file, mapped."""
        if self._map is None:
            self._map = mmap.mmap(self._file, 0, access=mmap.ACCESS_READ)
        return np.frombuffer(self._map, np.uint8)

    def rest(self) -> None:
        # Pages of the map count as memory of the process, and Dask ends workers that have too much of it.
        if self._map is not None and hasattr(self._map, 'madvise'):
            self._map.madvise(mmap.MADV_DONTNEED)

    def close(self) -> None:
        if self._file >= 0:
            os.close(self._file)
            self._file = -1

    def __del__(self) -> None:
        self.close()


class _Rows(_File):
    """Pixels line after line, from an offset on; `options` has the offset and whether the order is Fortran's."""

    def read(self, box: Box) -> Pixels:
        y0, y1, x0, x1 = box
        return _native(self._pixels()[y0:y1, x0:x1])

    def _pixels(self) -> Pixels:
        offset, fortran = self.picture.options
        dtype = np.dtype(self.picture.dtype)
        return np.ndarray(self.picture.shape, dtype, cast(Any, self.data), offset, order='F' if fortran else 'C')

    def write(self, box: Box, pixels: Pixels) -> None:
        y0, _, x0, x1 = box
        _, width, channels = self.picture.shape
        pixel = channels * np.dtype(self.picture.dtype).itemsize
        begin = self.picture.options[0]
        rows = np.ascontiguousarray(pixels)
        if x1 - x0 == width:
            _write_all(self._file, rows, begin + y0 * width * pixel)
            return
        for y, row in enumerate(rows, y0):
            _write_all(self._file, row, begin + (y * width + x0) * pixel)


class _Tiff(_File):
    """Tiles or strips of an uncompressed TIFF."""

    def __init__(self, picture: Picture, writing: bool) -> None:
        super().__init__(picture, writing)
        self._layout = _planned(picture)[0] if writing else _tiff.read(picture.path, self.data)

    def _parts(self, box: Box) -> Iterator[tuple[int, Box]]:
        """Index and box of all tiles that a part touches; boxes reach over the edge of the picture."""
        high, wide = self._layout.tile
        for row in range(box[0] // high, -(-box[1] // high)):
            for column in range(box[2] // wide, -(-box[3] // wide)):
                yield (row * self._layout.columns + column,
                       (row * high, row * high + high, column * wide, column * wide + wide))

    def read(self, box: Box) -> Pixels:
        y0, y1, x0, x1 = box
        layout = self._layout
        height, _, channels = layout.shape
        result = np.empty((y1 - y0, x1 - x0, channels), layout.dtype.newbyteorder('='))
        for index, (top, bottom, left, right) in self._parts(box):
            rows = min(bottom, height) - top if layout.strips else bottom - top
            tile: Pixels = np.ndarray((rows, right - left, channels), layout.dtype, cast(Any, self.data),
                                      int(layout.offsets[index]))
            a, b, c, d = max(top, y0), min(bottom, y1), max(left, x0), min(right, x1)
            result[a - y0:b - y0, c - x0:d - x0] = tile[a - top:b - top, c - left:d - left]
        return result

    def write(self, box: Box, pixels: Pixels) -> None:
        layout = self._layout
        for index, (top, bottom, left, right) in self._parts(box):
            part = pixels[top - box[0]:bottom - box[0], left - box[2]:right - box[2]]
            tile = np.zeros((bottom - top, right - left, layout.shape[2]), layout.dtype)
            tile[:part.shape[0], :part.shape[1]] = part
            _write_all(self._file, tile, int(layout.offsets[index]))


class _Zarr(Store):
    """A zarr folder; its module writes a chunk beside its place and renames it."""

    def __init__(self, picture: Picture, writing: bool) -> None:
        super().__init__(picture)
        self._array = _zarr(picture.path).open_array(picture.path, mode='r+' if writing else 'r')

    def read(self, box: Box) -> Pixels:
        y0, y1, x0, x1 = box
        return _native(np.asarray(self._array[y0:y1, x0:x1, :]))

    def write(self, box: Box, pixels: Pixels) -> None:
        y0, y1, x0, x1 = box
        self._array[y0:y1, x0:x1, :] = pixels


_STORES: dict[str, Any] = {'npy': _Rows, 'raw': _Rows, 'tiff': _Tiff, 'zarr': _Zarr}


def _native(pixels: Pixels) -> Pixels:
    return pixels if pixels.dtype.isnative else pixels.astype(pixels.dtype.newbyteorder('='))


def _zarr(path: str) -> Any:
    try:
        import zarr
    except ImportError as error:
        raise ImportError(f'{path}: a zarr folder needs the module zarr (python3-zarr)') from error
    return zarr


@functools.lru_cache(maxsize=8)
def _opened(picture: Picture, inode: int, time: int, size: int) -> Store:
    store: Store = _STORES[picture.kind](picture, False)
    return store


def source_store(picture: Picture) -> Store:
    """A source, open from the last tile on as long as it is the same file."""
    known = os.stat(picture.path)
    return _opened(picture, known.st_ino, known.st_mtime_ns, known.st_size)


@contextmanager
def target_store(picture: Picture) -> Iterator[Store]:
    """A target for the length of a block, to write and to read back."""
    store: Store = _STORES[picture.kind](picture, True)
    try:
        yield store
    finally:
        store.close()


# ---- Sources: what they are


def source(path: str, shape: tuple[int, ...] | None, dtype: object) -> Picture:
    """The picture at a path; shape and type are given for raw pixels only. FileNotFoundError, and ValueError with the
    path for what cannot be read here."""
    size = os.stat(path).st_size
    kind = KINDS.get(os.path.splitext(path)[1].lower(), 'raw')
    if os.path.isdir(path):
        kind = 'zarr'
    if shape is not None or dtype is not None:
        if kind == 'zarr' or shape is None or dtype is None:
            raise ValueError(f'{path}: shape and dtype together describe a file of raw pixels')
        return _raw(path, size, tuple(int(count) for count in shape), np.dtype(cast(Any, dtype)))
    if kind == 'raw':
        raise ValueError(f'{path}: raw pixels need shape=(height, width, channels) and dtype=')
    picture: Picture = {'npy': _npy, 'tiff': _tiff_source, 'zarr': _zarr_source}[kind](path)
    return picture


def _whole_shape(path: str, shape: tuple[int, ...]) -> Shape:
    if len(shape) != 3 or min(shape) < 1:
        raise ValueError(f'{path}: the shape is {shape}, (height, width, channels) is wanted')
    return cast(Shape, tuple(int(count) for count in shape))


def _raw(path: str, size: int, shape: tuple[int, ...], dtype: np.dtype[Any]) -> Picture:
    height, width, channels = _whole_shape(path, shape)
    wanted = height * width * channels * dtype.itemsize
    if size != wanted:
        raise ValueError(f'{path}: {size} bytes; {wanted} wanted for {shape} of {dtype.name}')
    return Picture(path, 'raw', (height, width, channels), dtype.str, None, (0, False))


def _npy(path: str) -> Picture:
    try:
        with open(path, 'rb') as file:
            version = np.lib.format.read_magic(file)  # type: ignore[no-untyped-call]
            read = {1: np.lib.format.read_array_header_1_0, 2: np.lib.format.read_array_header_2_0}[version[0]]
            shape, fortran, dtype = read(file)  # type: ignore[no-untyped-call]
            offset, size = file.tell(), os.fstat(file.fileno()).st_size
    except (ValueError, KeyError) as error:
        raise ValueError(f'{path}: not a .npy file: {error}') from error
    height, width, channels = _whole_shape(path, shape)
    if dtype.hasobject or size < offset + height * width * channels * dtype.itemsize:
        raise ValueError(f'{path}: damaged: {size} bytes are too few for {shape} of {dtype.name}')
    return Picture(path, 'npy', (height, width, channels), dtype.str, None, (offset, fortran))


def _tiff_source(path: str) -> Picture:
    empty = os.path.getsize(path) == 0
    layout = _tiff.read(path, np.zeros(0, np.uint8) if empty else np.memmap(path, np.uint8, 'r'))
    return Picture(path, 'tiff', layout.shape, layout.dtype.str, None if layout.strips else layout.tile)


def _zarr_source(path: str) -> Picture:
    zarr = _zarr(path)
    try:
        array = zarr.open_array(path, mode='r')
    except Exception as error:  # the module has kinds of its own
        raise ValueError(f'{path}: not an array of zarr: {error}') from error
    shape = _whole_shape(path, array.shape)
    return Picture(path, 'zarr', shape, np.dtype(array.dtype).str, (array.chunks[0], array.chunks[1]))


# ---- Targets


def target(path: str, made_from: Picture, channels: int, dtype: np.dtype[Any], tile: tuple[int, int]) -> Picture:
    """What a new picture will be. ValueError where the ending of the name says no kind, and where `tile` does not
    consist of whole tiles of the file."""
    kind = KINDS.get(os.path.splitext(path)[1].lower(), 'raw' if made_from.kind == 'raw' else '')
    if not kind:
        raise ValueError(f'{path}: a name that ends in {", ".join(KINDS)} wanted')
    shape = (*made_from.shape[:2], channels)
    picture = Picture(path, kind, shape, dtype.newbyteorder('=').str)
    if kind == 'raw':
        return picture._replace(options=(0, False))
    if kind == 'npy':
        return picture._replace(options=(len(_npy_header(picture)), False))
    own = made_from.tile if made_from.kind == kind and made_from.tile else None
    if kind == 'zarr':
        _zarr(path)
        own = own or (min(tile[0], shape[0]), min(tile[1], shape[1]))
    else:
        own = own or (256 if tile[0] % 256 == 0 else tile[0], 256 if tile[1] % 256 == 0 else tile[1])
        if own[0] % 16 or own[1] % 16:
            raise ValueError(f'{path}: tile {tile}: a TIFF has tiles of multiples of 16')
        if dtype.kind not in 'uif':
            raise ValueError(f'{path}: a TIFF holds no {dtype.name}')
    for side, size, length in zip(tile, own, shape):
        if side % size and side < length:
            raise ValueError(f'{path}: tile {tile}: multiples of {own} wanted, the tiles of the file')
    return picture._replace(tile=own)


def _npy_header(picture: Picture) -> bytes:
    file = io.BytesIO()
    np.lib.format.write_array_header_1_0(  # type: ignore[no-untyped-call]
        file, {'descr': picture.dtype, 'fortran_order': False, 'shape': picture.shape})
    return file.getvalue()


def _planned(picture: Picture) -> tuple[_tiff.Layout, bytes]:
    assert picture.tile is not None
    return _tiff.planned(picture.shape, np.dtype(picture.dtype), picture.tile)


def create(picture: Picture, source_path: str | None) -> None:
    """Makes the target at its full size, its header first; of a zarr folder the description. `source_path` is a zarr
    folder to take the compression from."""
    if picture.kind == 'zarr':
        zarr = _zarr(picture.path)
        assert picture.tile is not None
        compressor = zarr.open_array(source_path, mode='r').compressor if source_path is not None else None
        zarr.open_array(picture.path, mode='w-', shape=picture.shape, dtype=picture.dtype, compressor=compressor,
                        chunks=(*picture.tile, picture.shape[2]))
        return
    height, width, channels = picture.shape
    header, size = b'', height * width * channels * np.dtype(picture.dtype).itemsize
    if picture.kind == 'npy':
        header = _npy_header(picture)
    elif picture.kind == 'tiff':
        layout, header = _planned(picture)
        size = len(layout.offsets) * layout.tile_bytes
    file = os.open(picture.path, os.O_RDWR | os.O_CREAT | os.O_EXCL, 0o666)
    try:
        _write_all(file, header, 0)
        os.ftruncate(file, len(header) + size)
    finally:
        os.close(file)
