"""Tables as files: .ttab, 16-bit tables with their input curves, and .cube, looks as text.

A .ttab, integers little-endian: "TTAB", version 1, inputs N, outputs M, points R, 4 bytes each; the ICC signatures of
source and target, blanks when unknown; for each input a 0, or a 1 and 65536 samples of its curve; R ** N * M samples,
input 0 slowest; 32 bytes of description, filled with zeros; the MD5 of all before it.
"""

from __future__ import annotations

import contextlib
import hashlib
import os
import re
import struct
import tempfile
from pathlib import Path
from typing import TYPE_CHECKING, Any, NoReturn

import numpy as np
from numpy.typing import NDArray

from ._library import TeskaFileError

if TYPE_CHECKING:
    from .tables import ByteTable

_HEAD = struct.Struct('<4sIIII4s4s')
_LARGEST_CUBE = 64 << 20
_LARGEST_TABLE = 1 << 31


def save(table: ByteTable, path: str) -> None:
    """Writes a table by the ending of the name."""
    ending = Path(path).suffix.lower()
    if ending == '.ttab':
        content = _ttab(table)
    elif ending == '.cube':
        content = _cube(table, Path(path).stem)
    else:
        raise ValueError(f'{path}: a name that ends in .ttab or .cube wanted')
    publish(path, content)


def publish(path: str, content: bytes) -> None:
    """Writes a file beside its place and renames it: a reader sees the old one or the new one."""
    temporary = None
    try:
        with tempfile.NamedTemporaryFile(dir=os.path.dirname(path) or '.', prefix='.', suffix='.teska-tmp',
                                         delete=False) as file:
            temporary = file.name
            file.write(content)
            file.flush()
            os.fsync(file.fileno())
        mask = os.umask(0)
        os.umask(mask)
        os.chmod(temporary, 0o666 & ~mask)
        os.replace(temporary, path)
    except OSError as error:
        if temporary is not None:
            with contextlib.suppress(OSError):
                os.unlink(temporary)
        raise TeskaFileError(f'{path}: {error.strerror}', path, error.errno) from error


def load(cls: Any, path: str) -> ByteTable:
    """Reads a table by the ending of the name."""
    ending = Path(path).suffix.lower()
    if ending == '.ttab':
        return _from_ttab(cls, path, Path(path).read_bytes())
    if ending == '.cube':
        if os.path.getsize(path) > _LARGEST_CUBE:
            raise ValueError(f'{path}: more than 64 MiB')
        return from_cube(cls, *_read_cube(path, Path(path).read_bytes()))
    raise ValueError(f'{path}: a name that ends in .ttab or .cube wanted')


# ---- .ttab


def _ttab(table: ByteTable) -> bytes:
    if table._dtype != 'u2':
        raise ValueError(f'{table._label}.save: a .ttab holds 16 bits; ShortTable writes it')
    if any(curve is not None for curve in table._curves(1)):
        raise ValueError(f'{table._label}.save: a .ttab has no place for curves of outputs')
    parts = [_HEAD.pack(b'TTAB', 1, table.inputs, table.outputs, table.points, b'    ', b'    ')]
    for curve in table._curves(0):
        parts.append(struct.pack('<I', curve is not None))
        if curve is not None:
            parts.append(curve.astype('<u2').tobytes())
    parts += [np.ascontiguousarray(table._view(), '<u2').tobytes(), bytes(32)]
    content = b''.join(parts)
    return content + hashlib.md5(content).digest()


def _from_ttab(cls: Any, path: str, content: bytes) -> ByteTable:
    def damaged(why: str) -> NoReturn:
        raise ValueError(f'{path}: {why}')

    if cls._dtype != 'u2':
        raise ValueError(f'{path}: a .ttab holds 16 bits; ShortTable.load reads it')
    if len(content) < _HEAD.size or content[:4] != b'TTAB':
        damaged('not a table file')
    _, version, inputs, outputs, points, _, _ = _HEAD.unpack_from(content)
    if version != 1:
        damaged(f'version {version} is newer than this program')
    if not 1 <= inputs <= 31 or outputs < 1 or points < 2 or 2 * outputs * points**inputs > _LARGEST_TABLE:
        damaged('damaged (its header)')
    at, curves = _HEAD.size, []
    for _ in range(inputs):
        flag = struct.unpack_from('<I', content, at)[0] if at + 4 <= len(content) else 2
        at += 4
        if flag > 1 or at + 131072 * flag > len(content):
            damaged('damaged (its length)')
        curves.append(np.frombuffer(content, '<u2', 65536, at).astype('=u2') if flag else None)
        at += 131072 * flag
    if len(content) != at + 2 * outputs * points**inputs + 48:
        damaged('damaged (its length)')
    if hashlib.md5(content[:-16]).digest() != content[-16:]:
        damaged('damaged (its digest differs)')
    table: ByteTable = cls(inputs, outputs, points)
    np.copyto(table._view(), np.frombuffer(content, '<u2', (len(content) - 48 - at) // 2, at).reshape(
        table._grid_shape))
    if any(curve is not None for curve in curves):
        table.set_curves(curves)
    return table


# ---- .cube


def _cube(table: ByteTable, title: str) -> bytes:
    if (table.inputs, table.outputs) != (3, 3):
        raise ValueError(f'{table._label}.save: a .cube holds 3 inputs and 3 outputs')
    if any(curve is not None for side in (0, 1) for curve in table._curves(side)):
        raise ValueError(f'{table._label}.save: a .cube has no place for curves')
    largest = 65535.0 if table._dtype == 'u2' else 255.0
    rows = (np.asarray(table._view(), np.float64) / largest).transpose(2, 1, 0, 3).reshape(-1, 3)
    head = 'TITLE "%s"\nLUT_3D_SIZE %d\n' % (title.replace('"', ''), table.points)
    return (head + ''.join('%.6f %.6f %.6f\n' % tuple(row) for row in rows.tolist())).encode()


_NUMBER = re.compile(r'[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?$')


def _read_cube(path: str, content: bytes) -> tuple[Any, Any, Any, NDArray[np.float64]]:
    """Shaper (n, 3) or None, its range or None, grid (R, R, R, 3) or None, domain (2, 3)."""
    size_1d = size_3d = 0
    domain = [[0.0, 0.0, 0.0], [1.0, 1.0, 1.0]]
    ranges: dict[str, list[float]] = {}
    rows: list[list[float]] = []

    def fail(number: int, why: str) -> NoReturn:
        raise ValueError(f'{path}: line {number}: {why}')

    def numbers(number: int, words: list[str], count: int) -> list[float]:
        if len(words) != count or not all(_NUMBER.match(word) for word in words):
            fail(number, {2: 'two numbers wanted', 3: 'three numbers wanted'}[count])
        values = [float(word) for word in words]
        if not np.isfinite(values).all():
            fail(number, 'a number that is not finite')
        return values

    def size(number: int, words: list[str], name: str, largest: int) -> int:
        if len(words) != 1 or not words[0].isdigit() or not 2 <= int(words[0]) <= largest:
            fail(number, f'{name} {" ".join(words)}: 2 to {largest}')
        return int(words[0])

    text = content.decode('utf-8-sig', 'replace').replace('\r\n', '\n').replace('\r', '\n')
    number = 0
    for number, line in enumerate(text.split('\n'), 1):
        words = line.split('#')[0].split()
        if not words:
            continue
        name = words[0].upper()
        if _NUMBER.match(words[0]) or rows:
            rows.append(numbers(number, words, 3))
            wanted = size_1d + size_3d**3
            if len(rows) > wanted > 0:
                fail(number, f'more than {wanted} rows')
        elif name == 'LUT_1D_SIZE':
            size_1d = size(number, words[1:], name, 65536)
        elif name == 'LUT_3D_SIZE':
            size_3d = size(number, words[1:], name, 129)
        elif name in ('DOMAIN_MIN', 'DOMAIN_MAX'):
            domain[name == 'DOMAIN_MAX'] = numbers(number, words[1:], 3)
        elif name in ('LUT_1D_INPUT_RANGE', 'LUT_3D_INPUT_RANGE'):
            ranges[name] = numbers(number, words[1:], 2)
    if not size_1d and not size_3d:
        raise ValueError(f'{path}: no LUT_1D_SIZE and no LUT_3D_SIZE')
    wanted = size_1d + size_3d**3
    if len(rows) != wanted:
        note = f' ({size_3d} x {size_3d} x {size_3d})' if size_3d and not size_1d else ''
        raise ValueError(f'{path}: line {number}: {wanted} rows wanted{note}, the file ends after {len(rows)}')
    first = ranges.get('LUT_1D_INPUT_RANGE' if size_1d else 'LUT_3D_INPUT_RANGE')
    if first is not None:
        domain = [[first[0]] * 3, [first[1]] * 3]
    for k in range(3):
        if not domain[0][k] < domain[1][k]:
            raise ValueError(f'{path}: DOMAIN_MIN {domain[0][k]:g} is not below DOMAIN_MAX {domain[1][k]:g}')
    values = np.array(rows, np.float64)
    grid = values[size_1d:].reshape(size_3d, size_3d, size_3d, 3).transpose(2, 1, 0, 3) if size_3d else None
    between = ranges.get('LUT_3D_INPUT_RANGE', [0.0, 1.0]) if size_1d else [0.0, 1.0]
    return (values[:size_1d] if size_1d else None), between, grid, np.array(domain)


def from_cube(cls: Any, shaper: Any, between: Any, grid: Any, domain: NDArray[np.float64]) -> ByteTable:
    """A table of a look: the domain and the shaper are the input curves; where values leave 0 .. 1 each output is
    stored scaled from its least and largest value, and its output curve scales back and cuts."""
    for part in (shaper, grid, domain):
        if part is not None and not np.isfinite(part).all():
            raise ValueError(f'{cls.__name__}: values that are not finite')
    if not (domain[0] < domain[1]).all():
        raise ValueError(f'{cls.__name__}: a domain that does not rise')
    largest, entries = (65535, 65536) if cls._dtype == 'u2' else (255, 256)
    sample = np.arange(entries) / (entries - 1)
    curves: list[NDArray[np.float64]] = []
    for k in range(3):
        x = np.clip((sample - domain[0][k]) / (domain[1][k] - domain[0][k]), 0.0, 1.0)
        if shaper is not None:
            x = np.interp(x * (len(shaper) - 1), np.arange(len(shaper)), shaper[:, k])
            if grid is not None:
                x = np.clip((x - between[0]) / (between[1] - between[0]), 0.0, 1.0)
        curves.append(np.clip(x, 0.0, 1.0))
    if grid is None:
        steps = np.array([0.0, 1.0])
        grid = np.stack(np.meshgrid(steps, steps, steps, indexing='ij'), axis=-1)
    low = np.minimum(grid.min(axis=(0, 1, 2)), 0.0)
    high = np.maximum(grid.max(axis=(0, 1, 2)), 1.0)
    table: ByteTable = cls(3, 3, grid.shape[0])
    dtype = np.dtype(cls._dtype)

    def rounded(values: NDArray[np.float64]) -> Any:
        return (np.clip(values, 0.0, 1.0) * largest + 0.5).astype(dtype)

    np.copyto(table._view(), rounded((grid - low) / (high - low)))
    back = [None if (low[k], high[k]) == (0.0, 1.0) else rounded(low[k] + sample * (high[k] - low[k]))
            for k in range(3)]
    identity = rounded(sample)
    table.set_curves([None if np.array_equal(rounded(curve), identity) else rounded(curve) for curve in curves], back)
    return table
