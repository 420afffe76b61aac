"""Where the pixels of an uncompressed TIFF lie: classic and Big, in tiles or strips. Only the first picture counts.

Source: Aldus/Adobe, TIFF Revision 6.0, 1992, sections 2, 8 and 15; BigTIFF as the same with 64-bit counts and offsets.
"""

from __future__ import annotations

import struct
import sys
from typing import NamedTuple, NoReturn

import numpy as np
from numpy.typing import NDArray

# The numbers of the tags.
_WIDTH, _HEIGHT, _BITS, _COMPRESSION, _PHOTOMETRIC = 256, 257, 258, 259, 262
_STRIP_OFFSETS, _SAMPLES, _STRIP_ROWS, _PLANAR = 273, 277, 278, 284
_TILE_WIDTH, _TILE_HEIGHT, _TILE_OFFSETS, _TILE_SIZES = 322, 323, 324, 325
_INK_SET, _INKS, _SAMPLE_FORMAT = 332, 334, 339

_FORMATS = {1: 'B', 3: 'H', 4: 'I', 16: 'Q', 18: 'Q'}    # types of unsigned numbers
_PLAIN = {1: 'gray', 2: 'RGB', 5: 'inks', 8: 'Lab', 9: 'Lab', 10: 'Lab'}
_LARGEST_TABLE = 1 << 28


class Layout(NamedTuple):
    """shape (height, width, channels), type, (height, width) of a tile, and where each tile begins, row by row."""
    shape: tuple[int, int, int]
    dtype: np.dtype[np.generic]
    tile: tuple[int, int]
    offsets: NDArray[np.int64]
    strips: bool

    @property
    def columns(self) -> int:
        """Number of tiles side by side."""
        return -(-self.shape[1] // self.tile[1])

    @property
    def tile_bytes(self) -> int:
        """Bytes of a whole tile."""
        return self.tile[0] * self.tile[1] * self.shape[2] * self.dtype.itemsize


class _Directory:
    """The tags of the first picture."""

    def __init__(self, path: str, data: NDArray[np.uint8]) -> None:
        self._path, self._data = path, data
        mark = data[:4].tobytes()
        self.order = {b'II': '<', b'MM': '>'}.get(mark[:2], '')
        version = struct.unpack(self.order + 'H', mark[2:])[0] if self.order and len(mark) == 4 else 0
        if version not in (42, 43):
            raise ValueError(f'{path}: not a TIFF')
        self._big = version == 43
        self._entries = self._read_entries()

    def damaged(self) -> NoReturn:
        """Ends the reading."""
        raise ValueError(f'{self._path}: damaged: what its header names lies outside of the file')

    def _unpack(self, form: str, at: int) -> tuple[int, ...]:
        size = struct.calcsize('<' + form)
        if not 0 <= at <= len(self._data) - size:
            self.damaged()
        return struct.unpack(self.order + form, self._data[at:at + size].tobytes())

    def _read_entries(self) -> dict[int, tuple[int, int, int]]:
        at, = self._unpack('Q', 8) if self._big else self._unpack('I', 4)
        count, = self._unpack('Q' if self._big else 'H', at)
        step, form = (20, 'HHQ') if self._big else (12, 'HHI')
        at += 8 if self._big else 2
        if count * step > len(self._data):
            self.damaged()
        entries = {}
        for k in range(count):
            tag, kind, values = self._unpack(form, at + k * step)
            entries[tag] = (kind, values, at + k * step + (12 if self._big else 8))
        return entries

    def numbers(self, tag: int, *otherwise: int) -> NDArray[np.int64]:
        """The values of a tag."""
        if tag not in self._entries:
            if not otherwise:
                raise ValueError(f'{self._path}: tag {tag} is missing')
            return np.array(otherwise, np.int64)
        kind, count, at = self._entries[tag]
        if kind not in _FORMATS:
            raise ValueError(f'{self._path}: tag {tag} is of type {kind}, a whole number is wanted')
        dtype = np.dtype(self.order + {'B': 'u1', 'H': 'u2', 'I': 'u4', 'Q': 'u8'}[_FORMATS[kind]])
        size = count * dtype.itemsize
        if size > _LARGEST_TABLE:
            self.damaged()
        if size > (8 if self._big else 4):
            at, = self._unpack('Q' if self._big else 'I', at)
        if at + size > len(self._data):
            self.damaged()
        return self._data[at:at + size].copy().view(dtype).astype(np.int64)

    def number(self, tag: int, *otherwise: int) -> int:
        """The only value of a tag, or the first of several that are equal."""
        values = self.numbers(tag, *otherwise)
        if len(values) == 0 or (values != values[0]).any():
            raise ValueError(f'{self._path}: tag {tag}: one value for all channels wanted')
        return int(values[0])


def read(path: str, data: NDArray[np.uint8]) -> Layout:
    """The layout of a file's bytes. ValueError, with the name, for what is no TIFF, damaged, compressed or planar."""
    tags = _Directory(path, data)
    width, height, channels = tags.number(_WIDTH), tags.number(_HEIGHT), tags.number(_SAMPLES, 1)
    if width < 1 or height < 1 or channels < 1:
        raise ValueError(f'{path}: damaged: a picture of {width} x {height} pixels, {channels} channels')
    if tags.number(_COMPRESSION, 1) != 1:
        raise ValueError(f'{path}: compressed; an uncompressed TIFF is wanted')
    if channels > 1 and tags.number(_PLANAR, 1) != 1:
        raise ValueError(f'{path}: planar; interleaved channels are wanted')
    if tags.number(_PHOTOMETRIC) not in _PLAIN:
        raise ValueError(f'{path}: colours of kind {tags.number(_PHOTOMETRIC)}; gray, RGB, inks or Lab wanted')
    bits, kind = tags.number(_BITS, 1), tags.number(_SAMPLE_FORMAT, 1)
    name = {1: 'u', 2: 'i', 3: 'f'}.get(kind, '')
    if not name or bits not in ((32, 64) if name == 'f' else (8, 16, 32, 64)):
        raise ValueError(f'{path}: samples of {bits} bits, format {kind}')
    dtype = np.dtype(f'{tags.order}{name}{bits // 8}')
    tiled = np.any(tags.numbers(_TILE_WIDTH, 0) > 0)
    if tiled:
        tile = tags.number(_TILE_HEIGHT), tags.number(_TILE_WIDTH)
    else:
        tile = min(tags.number(_STRIP_ROWS, height), height), width
    offsets = tags.numbers(_TILE_OFFSETS if tiled else _STRIP_OFFSETS)
    if min(tile) < 1:
        raise ValueError(f'{path}: damaged: tiles of {tile[1]} x {tile[0]} pixels')
    layout = Layout((height, width, channels), dtype, tile, offsets, not tiled)
    rows = -(-height // tile[0])
    if len(offsets) != rows * layout.columns or layout.tile_bytes > len(data):
        tags.damaged()
    # The last strip ends with the picture, tiles are always whole.
    last = layout.tile_bytes - (0 if tiled else (rows * tile[0] - height) * width * channels * dtype.itemsize)
    sizes = np.full(len(offsets), layout.tile_bytes)
    sizes[-1] = last
    if (offsets < 0).any() or (offsets > len(data) - sizes).any():
        tags.damaged()
    return layout


def planned(shape: tuple[int, int, int], dtype: np.dtype[np.generic], tile: tuple[int, int]) -> tuple[Layout, bytes]:
    """The layout of a new file in tiles, and its header; the tiles follow in their order. A file of 4 GiB or more is
    a Big one."""
    dtype = dtype.newbyteorder('=')
    empty = Layout(shape, dtype, tile, np.zeros(0, np.int64), False)
    count = empty.columns * -(-shape[0] // tile[0])
    big = count * (empty.tile_bytes + 16) + 4096 > 0xffffffff
    header = _header(empty, count, 0, big)
    begin = -(-len(header) // 4096) * 4096
    offsets = begin + empty.tile_bytes * np.arange(count, dtype=np.int64)
    return empty._replace(offsets=offsets), _header(empty, count, begin, big).ljust(begin, b'\0')


def _header(layout: Layout, count: int, begin: int, big: bool) -> bytes:
    height, width, channels = layout.shape
    photometric = {1: 1, 3: 2}.get(channels, 5)
    long = 16 if big else 4
    offsets = [begin + layout.tile_bytes * k for k in range(count)]
    entries: list[tuple[int, int, list[int]]] = [
        (_WIDTH, 4, [width]), (_HEIGHT, 4, [height]), (_BITS, 3, [8 * layout.dtype.itemsize] * channels),
        (_COMPRESSION, 3, [1]), (_PHOTOMETRIC, 3, [photometric]), (_SAMPLES, 3, [channels]), (_PLANAR, 3, [1]),
        (_TILE_WIDTH, 4, [layout.tile[1]]), (_TILE_HEIGHT, 4, [layout.tile[0]]), (_TILE_OFFSETS, long, offsets),
        (_TILE_SIZES, long, [layout.tile_bytes] * count)]
    if photometric == 5:
        entries += [(_INK_SET, 3, [1 if channels == 4 else 2]), (_INKS, 3, [channels])]
    entries.append((_SAMPLE_FORMAT, 3, [{'u': 1, 'i': 2, 'f': 3}[layout.dtype.kind]] * channels))
    order = '<' if sys.byteorder == 'little' else '>'
    mark = b'II' if order == '<' else b'MM'
    head = mark + (struct.pack(order + 'HHHQ', 43, 8, 0, 16) if big else struct.pack(order + 'HI', 42, 8))
    room = 8 if big else 4
    table = struct.pack(order + ('Q' if big else 'H'), len(entries))
    rest_at = len(head) + len(table) + len(entries) * (4 + 2 * room) + room
    rest = b''
    for tag, kind, values in entries:
        data = struct.pack(f'{order}{len(values)}{_FORMATS[kind]}', *values)
        table += struct.pack(order + ('HHQ' if big else 'HHI'), tag, kind, len(values))
        if len(data) <= room:
            table += data.ljust(room, b'\0')
        else:
            table += struct.pack(order + ('Q' if big else 'I'), rest_at + len(rest))
            rest += data.ljust(-(-len(data) // 8) * 8, b'\0')
    return head + table + bytes(room) + rest
