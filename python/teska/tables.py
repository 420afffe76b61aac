"""Tables: colour conversion through a regular grid."""

from __future__ import annotations

import os
import sys
from abc import ABC, abstractmethod
from typing import Any, Callable, Sequence, TypeVar, Union, cast, overload

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _arrays, _table_files
from ._arrays import Array, Pixels
from ._library import NULL, Block, address_of, collected, error, ffi, lib, made
from ._object import Value
from ._pillow import Image, convert_image

Self = TypeVar('Self', bound='Table')
Short = TypeVar('Short', bound='ShortTable')
Path = Union[str, 'os.PathLike[str]']
Curves = Sequence[Union[ArrayLike, None]]


def _rebuild(cls: type[Table], sizes: tuple[Any, ...], order: str, grid: bytes,
             curves: tuple[tuple[bytes | None, ...], ...]) -> Table:
    """An object again from what was pickled; its sizes are checked before anything is made."""
    return cls._unpickled(sizes, order, grid, curves)


def _whole(label: str, name: str, value: object) -> int:
    if isinstance(value, bool) or not isinstance(value, (int, np.integer)):
        raise TypeError(f'{label}: {name}: a whole number wanted, not {type(value).__name__}')
    return int(value)


def size_text(size: int) -> str:
    """A number of bytes for people."""
    for unit, name in ((1 << 30, 'GiB'), (1 << 20, 'MiB'), (1 << 10, 'KiB')):
        if size >= unit:
            return f'{size / unit:.0f} {name}' if size >= 10 * unit or unit == 1 << 10 else f'{size / unit:.1f} {name}'
    return f'{size} bytes'


class Table(Value, ABC):
    """What all tables have in common. Threads: any number may convert through one table at once; nobody may change it
    meanwhile."""

    __slots__ = ('_sizes', '_in_curves', '_out_curves')

    _dtype = 'u1'    # of the grid and, but for Clut, of what goes through it
    _kinds: dict[tuple[str, str], int] = {}
    _sizes: tuple[Any, ...]
    _in_curves: list[Array | None]
    _out_curves: list[Array | None]

    # ---- Life

    @abstractmethod
    def _make(self, sizes: tuple[Any, ...]) -> Any:
        """The library's record."""

    def _begin(self, sizes: tuple[Any, ...]) -> None:
        self._sizes = sizes
        self._record = None
        record = self._make(sizes)
        self._in_curves, self._out_curves = [None] * sizes[0], [None] * sizes[1]
        self._record = record

    # ---- Shape

    @property
    def inputs(self) -> int:
        """Number of input channels."""
        return int(self._sizes[0])

    @property
    def outputs(self) -> int:
        """Number of output channels."""
        return int(self._sizes[1])

    @property
    def points(self) -> int:
        """Grid points along each input."""
        return int(self._sizes[2])

    @property
    def _grid_shape(self) -> tuple[int, ...]:
        return (self.points,) * self.inputs + (self.outputs,)

    def _strides(self, extension: int) -> tuple[int, ...]:
        strides = [np.dtype(self._dtype).itemsize]
        strides.append(strides[0] * self.outputs)
        for _ in range(self.inputs - 1):
            strides.append(strides[-1] * (self.points + extension))
        return tuple(reversed(strides))

    @abstractmethod
    def _data(self) -> tuple[int, tuple[int, ...]]:
        """Address and strides of the grid."""

    def _view(self) -> Array:
        record = self._open()
        place, strides = self._data()
        typestr = np.dtype(self._dtype).str
        return np.asarray(Block(record, place, self._grid_shape, strides, typestr))

    def _set_grid(self, grid: ArrayLike | None) -> None:
        if grid is None:
            return
        given = np.asarray(grid)
        _arrays.check_dtype(self._label, given, (np.dtype(self._dtype).str[1:],), 'grid: ')
        if given.shape != self._grid_shape:
            raise ValueError(f'{self._label}: grid has the shape {given.shape}, {self._grid_shape} wanted')
        np.copyto(self._view(), given)

    # ---- Filling

    @abstractmethod
    def _axis(self) -> Array:
        """The values of the grid points along an input, in the type that a function is called with."""

    def _vertices(self) -> Array:
        axes = np.meshgrid(*[self._axis()] * self.inputs, indexing='ij')
        return np.stack([axis.ravel() for axis in axes], axis=1)

    def _fill(self, f: Callable[[NDArray[Any]], NDArray[Any]]) -> None:
        vertices = self._vertices()
        values = np.asarray(f(vertices))
        wanted = (len(vertices), self.outputs)
        if values.shape != wanted:
            raise ValueError(f'{self._label}.from_function: the function gave the shape {values.shape}, '
                             f'{wanted} wanted')
        _arrays.check_dtype(f'{self._label}.from_function', values, (np.dtype(self._axis().dtype).str[1:],))
        np.copyto(self._view(), values.reshape(self._grid_shape), casting='same_kind')

    # ---- Equality, pickles

    def _contents(self) -> tuple[Any, ...]:
        curves = tuple(None if c is None else c.tobytes() for c in self._curves(0) + self._curves(1))
        return self._sizes, curves

    def _curves(self, side: int) -> list[Array | None]:
        """The curves of the inputs (0) or outputs (1), None for the identity."""
        return self._out_curves if side else self._in_curves

    def __eq__(self, other: object) -> bool:
        if type(other) is not type(self) or not isinstance(other, Table):
            return NotImplemented
        if self._record is None or other._record is None:
            return self is other
        return self._contents() == other._contents() and np.array_equal(self._view(), other._view())

    def _pickled(self) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        self._open()
        curves = tuple(tuple(None if c is None else c.tobytes() for c in self._curves(side)) for side in (0, 1))
        return _rebuild, (self._sizes, sys.byteorder, np.ascontiguousarray(self._view()).tobytes(), curves)

    @classmethod
    def _unpickled(cls: type[Self], sizes: tuple[Any, ...], order: str, grid: bytes,
                   curves: tuple[tuple[bytes | None, ...], ...]) -> Self:
        dtype = np.dtype(cls._dtype)
        counts = sizes[2] if isinstance(sizes[2], tuple) else (sizes[2],) * sizes[0]
        wanted = int(sizes[1]) * dtype.itemsize
        for count in counts:
            wanted *= int(count)
        if len(grid) != wanted or len(curves[0]) != sizes[0] or len(curves[1]) != sizes[1]:
            raise ValueError(f'{cls.__name__}: damaged pickle: {len(grid)} bytes of grid, {wanted} wanted')
        foreign = dtype if order == sys.byteorder else dtype.newbyteorder()
        table = cls.__new__(cls)
        table._begin(tuple(sizes))
        np.copyto(table._view(), np.frombuffer(grid, foreign).reshape(table._grid_shape))
        restored = [[None if c is None else np.frombuffer(c, foreign).astype(dtype) for c in side] for side in curves]
        if any(c is not None for side in restored for c in side):
            table._set_all_curves(restored[0], restored[1])
        return table

    def _set_all_curves(self, inputs: Sequence[Any], outputs: Sequence[Any]) -> None:
        raise ValueError(f'{self._label}: damaged pickle: it has no curves')

    def __copy__(self: Self) -> Self:
        return self.__deepcopy__({})

    def __deepcopy__(self: Self, memo: dict[int, Any]) -> Self:
        import copy
        rebuild, state, attributes = self.__reduce_ex__(4)
        other = cast(Self, rebuild(*state))
        memo[id(self)] = other
        other.__dict__.update(copy.deepcopy(attributes or {}, memo))
        return other

    def __repr__(self) -> str:
        if self._record is None:
            return f'{self._label}(closed)'
        size = int(np.prod(self._grid_shape)) * np.dtype(self._dtype).itemsize
        return f'{self._label}({self._sizes_text()})  # {size_text(size)}'

    def _sizes_text(self) -> str:
        return f'inputs={self.inputs}, outputs={self.outputs}, points={self.points}'

    # ---- Converting

    def _convert(self, pixels: object, out: object, axis: int, mask: object, threads: int | None,
                 code: str | None = None) -> Array:
        return _arrays.convert(self._label, self._kinds, self._open(), self.inputs, self.outputs, pixels, out=out,
                               axis=axis, mask=mask, threads=threads, code=code)


class ByteTable(Table):
    """A table of bytes: 8-bit pixels of N inputs to M outputs, along tetrahedra (simplices).

    Parameters:
        inputs: N, at least 1
        outputs: M, at least 1
        points: grid points along each input, at least 2. An identity stays exact where 255 is a multiple of
            points - 1: 2, 4, 6, 16, 18, 52, 86, 256
        grid: values to begin with, uint8 of shape (points,) * N + (M,); zeros otherwise

    Every input passes a curve of 256 entries before the grid, every output one after it; at first they are the
    identity. Each product of the interpolation is rounded by itself.

    Example:
        >>> t = ByteTable.from_function(lambda rgb: 255 - rgb, 3, 3, points=18)
        >>> t(np.uint8([[0, 128, 255]]))
        array([[255, 128,   0]], dtype=uint8)
        >>> t
        ByteTable(inputs=3, outputs=3, points=18)  # 17 KiB
    """

    __slots__ = ()
    _dtype = 'u1'
    _kinds = {('u1', 'u1'): 0}

    def __init__(self, inputs: int, outputs: int, points: int = 18, *, grid: ArrayLike | None = None) -> None:
        self._begin((_whole(self._label, 'inputs', inputs), _whole(self._label, 'outputs', outputs),
                     _whole(self._label, 'points', points)))
        self._set_grid(grid)

    def _make(self, sizes: tuple[Any, ...]) -> Any:
        _check_counts(sizes)
        return made(lib.md_tetrab_new, lib.md_tetrab_kill, *sizes)

    @classmethod
    def from_function(cls: type[Self], f: Callable[[NDArray[Any]], NDArray[Any]], inputs: int, outputs: int,
                      points: int = 18) -> Self:
        """A table of a function's values.

        Parameters:
            f: called once with all grid points, shape (points ** N, N), in the table's type; gives (points ** N, M) of
                that type
            inputs, outputs, points: as for the class

        Raises ValueError for another shape, TypeError for another type. What f raises comes through.

        Example:
            >>> half = ShortTable.from_function(lambda x: x // 2, 1, 1, points=16)
            >>> half(np.uint16([[65535]]))
            array([[32767]], dtype=uint16)
        """
        table = cls(inputs, outputs, points)  # type: ignore[call-arg]
        table._fill(f)
        return table

    @property
    def grid(self) -> NDArray[Any]:
        """The values, a writable view of shape (points,) * N + (M,); axis k is input k.

        The library keeps one layer more along each axis, so the view of a ByteTable is not contiguous: t.grid[...] = x
        and np.copyto work, t.grid.ravel() makes a copy. A view stays valid when the table is closed or gone.

        Example:
            >>> t = ByteTable(1, 1, points=2)
            >>> t.grid[:, 0] = 255, 0
            >>> t(np.uint8([[0], [255]])).ravel()
            array([255,   0], dtype=uint8)
        """
        return self._view()

    @grid.setter
    def grid(self, values: ArrayLike) -> None:
        self._set_grid(values)

    def _data(self) -> tuple[int, tuple[int, ...]]:
        return address_of(lib.md_tetrab_dataptr(self._open(), NULL)), self._strides(1)

    def _axis(self) -> Array:
        record, values = self._open(), ffi.new('unsigned char[]', self.inputs)
        result = np.empty(self.points, np.uint8)
        for i in range(self.points):
            lib.md_tetrab_vertex_get(record, ffi.new('int[]', [i] + [0] * (self.inputs - 1)), values)
            result[i] = values[0]
        return result

    def set_curves(self, inputs: Curves | None, outputs: Curves | None = None) -> None:
        """Sets all curves; None stands for the identity, of one channel or of all.

        Parameters:
            inputs: a curve for each input: 256 values of uint8; of a ShortTable 2 to 65536 values of uint16, spread
                evenly and joined by straight lines
            outputs: a curve for each output

        Example:
            >>> t = ByteTable.from_function(lambda x: x, 1, 1)
            >>> t.set_curves([np.arange(255, -1, -1).astype('uint8')])
            >>> t(np.uint8([[10]]))
            array([[245]], dtype=uint8)
        """
        self._open()
        sides = (self._checked_curves('inputs', inputs, self.inputs),
                 self._checked_curves('outputs', outputs, self.outputs))
        self._set_all_curves(*sides)

    def _checked_curves(self, name: str, curves: Curves | None, count: int) -> list[Any]:
        if curves is None:
            return [None] * count
        if len(curves) != count:
            raise ValueError(f'{self._label}.set_curves: {name}: {count} curves wanted, not {len(curves)}')
        return [None if curve is None else self._checked_curve(f'{name}[{k}]', curve) for k, curve in enumerate(curves)]

    def _checked_curve(self, name: str, curve: ArrayLike) -> Array:
        array = np.asarray(curve)
        _arrays.check_dtype(f'{self._label}.set_curves', array, (np.dtype(self._dtype).str[1:],), f'{name}: ')
        if array.ndim != 1 or not self._curve_length_is_fine(len(array)):
            raise ValueError(f'{self._label}.set_curves: {name} has the shape {array.shape}, {self._curve_text} wanted')
        return np.ascontiguousarray(array)

    _curve_text = '256 values'

    @staticmethod
    def _curve_length_is_fine(count: int) -> bool:
        return count == 256

    def _set_all_curves(self, inputs: Sequence[Any], outputs: Sequence[Any]) -> None:
        pointers = [ffi.new('unsigned char *[]', [NULL if c is None else ffi.cast('unsigned char *', _arrays.address(c))
                                                  for c in side]) for side in (inputs, outputs)]
        lib.md_tetrab_LUT(self._open(), *pointers)

    def _curves(self, side: int) -> list[Array | None]:
        get = lib.md_tetrab_olutptr if side else lib.md_tetrab_ilutptr
        record, identity = self._open(), np.arange(256, dtype=np.uint8)
        curves = [np.frombuffer(ffi.buffer(get(record, k), 256), np.uint8).copy()
                  for k in range(self.outputs if side else self.inputs)]
        return [None if np.array_equal(curve, identity) else curve for curve in curves]

    @overload
    def __call__(self, pixels: Image, *, icc_profile: bytes | None = ..., threads: int | None = ...) -> Image: ...

    @overload
    def __call__(self, pixels: Pixels, *, out: Array | None = ..., axis: int = ..., mask: ArrayLike | None = ...,
                 threads: int | None = ...) -> Array: ...

    def __call__(self, pixels: Pixels | Image, *, out: Array | None = None, axis: int = -1,
                 mask: ArrayLike | None = None, threads: int | None = None,
                 icc_profile: bytes | None = None) -> Array | Image:
        """Converts pixels.

        Parameters:
            pixels: an array of uint8; the channels' axis has N items, all others are pixels. Any strides are used as
                they are. Of a masked array the masked pixels are left out. Or an image of Pillow, which gives an image.
            out: array for the results, any strides; the input itself converts in place. Otherwise a new array
            axis: the channels' axis: -1 or 0
            mask: bool or uint8 of the pixels' shape: only pixels where it is not 0 are converted; the others keep what
                `out` holds, zeros without `out`
            threads: how many threads share the work; the results do not depend on it
            icc_profile: of an image only: the profile of the result

        Returns `out`, or an array of the pixels' shape with M channels.

        Example:
            >>> t = ByteTable.from_function(lambda rgb: rgb[:, ::-1], 3, 3)
            >>> planes = np.zeros((3, 480, 640), 'uint8')
            >>> t(planes, axis=0).shape
            (3, 480, 640)
        """
        if _arrays.is_image(pixels):
            _only_images(self._label, out=out, mask=mask, axis=None if axis == -1 else axis)
            return convert_image(self, cast(Image, pixels), icc_profile, threads)
        if icc_profile is not None:
            raise TypeError(f'{self._label}: icc_profile goes with an image of Pillow')
        return self._convert(pixels, out, axis, mask, threads)

    def _without_curves(self: Self) -> Self:
        other = type(self).__new__(type(self))
        other._begin(self._sizes)
        np.copyto(other._view(), self._view())
        return other

    def _expanded(self: Self, points: int) -> Self:
        other = type(self).__new__(type(self))
        plain = cast(ByteTable, self)._without_curves()
        other._begin((self.inputs, self.outputs, points))
        other._record = made(lib.md_tetrab_expand, lib.md_tetrab_kill, plain._open(), points)
        return other

    def resampled(self: Self, points: int) -> Self:
        """A new table with another number of grid points and the same contents: curves are taken over as they are.

        Parameters:
            points: along each input, at least 2. Where points - 1 is a multiple of the old one less 1, the old grid
                points keep their values.

        Example:
            >>> t = ByteTable.from_function(lambda x: x, 1, 1, points=6)
            >>> t.resampled(16).grid.ravel()[::3]
            array([  0,  51, 102, 153, 204, 255], dtype=uint8)
        """
        other = cast(Any, self)._expanded(_whole(self._label, 'points', points))
        other._set_all_curves(self._curves(0), self._curves(1))
        return cast(Self, other)

    def save(self, path: Path) -> None:
        """Writes the table to a file, by the ending of its name: .cube (3 to 3), of a ShortTable .ttab too.

        A file that is there is replaced when the new one is complete. A .cube holds the grid as it is: ValueError when
        the table has curves.

        Raises TeskaFileError (an OSError) where the file cannot be written.
        """
        self._open()
        _table_files.save(self, os.fspath(path))

    @classmethod
    def load(cls: type[Self], path: Path) -> Self:
        """Reads a table from a file: .cube, of a ShortTable .ttab too.

        Values of a .cube outside 0 .. 1, its shaper and its domain become curves, so that only the final result is cut.

        Raises FileNotFoundError, and ValueError with file and line for what does not hold together.
        """
        return cast(Self, _table_files.load(cast(Any, cls), os.fspath(path)))


class ShortTable(ByteTable):
    """A table of 16-bit samples: pixels of uint8 or uint16, rounded once.

    Parameters as for ByteTable; the grid is uint16 and dense. Curves have 2 to 65536 entries of uint16.

    Example:
        >>> t = ShortTable.from_function(lambda rgb: 65535 - rgb, 3, 3)
        >>> t(np.uint16([0, 1000, 65535]))
        array([65535, 64535,     0], dtype=uint16)
        >>> t(np.uint8([0, 128, 255]), dtype='uint16')
        array([65535, 32639,     0], dtype=uint16)
    """

    __slots__ = ()
    _dtype = 'u2'
    _kinds = {('u1', 'u1'): 2, ('u2', 'u2'): 1, ('u1', 'u2'): 3, ('u2', 'u1'): 4}

    def __init__(self, inputs: int, outputs: int, points: int = 33, *, grid: ArrayLike | None = None) -> None:
        super().__init__(inputs, outputs, points, grid=grid)

    def _make(self, sizes: tuple[Any, ...]) -> Any:
        _check_counts(sizes)
        return made(lib.md_tetras_new, lib.md_tetras_kill, *sizes)

    @classmethod
    def from_function(cls: type[Self], f: Callable[[NDArray[Any]], NDArray[Any]], inputs: int, outputs: int,
                      points: int = 33) -> Self:
        table = cls(inputs, outputs, points)  # type: ignore[call-arg]
        table._fill(f)
        return table

    from_function.__func__.__doc__ = ByteTable.from_function.__doc__  # type: ignore[attr-defined]

    def _data(self) -> tuple[int, tuple[int, ...]]:
        return address_of(lib.md_tetras_dataptr(self._open(), NULL)), self._strides(0)

    def _axis(self) -> Array:
        record, values = self._open(), ffi.new('unsigned short[]', self.inputs)
        result = np.empty(self.points, np.uint16)
        for i in range(self.points):
            lib.md_tetras_vertex_get(record, ffi.new('int[]', [i] + [0] * (self.inputs - 1)), values)
            result[i] = values[0]
        return result

    _curve_text = '2 to 65536 values'

    @staticmethod
    def _curve_length_is_fine(count: int) -> bool:
        return 2 <= count <= 65536

    def _set_all_curves(self, inputs: Sequence[Any], outputs: Sequence[Any]) -> None:
        record = self._open()
        for curves, kept, change in ((inputs, self._in_curves, lib.md_tetras_ilut_set),
                                     (outputs, self._out_curves, lib.md_tetras_olut_set)):
            for k, curve in enumerate(curves):
                count, entries = (0, NULL) if curve is None else (
                    len(curve), ffi.cast('unsigned short *', _arrays.address(curve)))
                done, lines = collected(change, record, k, count, entries)
                if done != 1:
                    raise error(lines, 'md_tetras_ilut_set: failed')
                kept[k] = None if curve is None else _spread(curve)

    def _curves(self, side: int) -> list[Array | None]:
        return self._out_curves if side else self._in_curves

    @overload
    def __call__(self, pixels: Image, *, icc_profile: bytes | None = ..., threads: int | None = ...) -> Image: ...

    @overload
    def __call__(self, pixels: Pixels, *, out: Array | None = ..., axis: int = ..., mask: ArrayLike | None = ...,
                 threads: int | None = ..., dtype: str | type[np.generic] | None = ...) -> Array: ...

    def __call__(self, pixels: Pixels | Image, *, out: Array | None = None, axis: int = -1,
                 mask: ArrayLike | None = None, threads: int | None = None, icc_profile: bytes | None = None,
                 dtype: str | type[np.generic] | None = None) -> Array | Image:
        """Converts pixels of uint8 or uint16; `dtype` says which of them comes out, None: that of the input.

        Everything else as for ByteTable.

        Example:
            >>> t = ShortTable.from_function(lambda x: x, 1, 1)
            >>> t(np.uint16([[65535]]), dtype=np.uint8)
            array([[255]], dtype=uint8)
        """
        code = None
        if dtype is not None:
            wanted = np.dtype(dtype)
            code = wanted.kind + str(wanted.itemsize)
            if code not in ('u1', 'u2') or not wanted.isnative:
                raise TypeError(f'{self._label}: dtype: uint8 or uint16 wanted, not {wanted.name}')
        if _arrays.is_image(pixels):
            _only_images(self._label, out=out, mask=mask, dtype=dtype, axis=None if axis == -1 else axis)
            return convert_image(self, cast(Image, pixels), icc_profile, threads)
        if icc_profile is not None:
            raise TypeError(f'{self._label}: icc_profile goes with an image of Pillow')
        return self._convert(pixels, out, axis, mask, threads, code)

    def _expanded(self: Self, points: int) -> Self:
        plain = cast(Any, self)._without_curves()
        return cast(Self, type(self).from_function(plain, self.inputs, self.outputs, points))  # type: ignore

    @classmethod
    def from_lut3d(cls: type[Short], lut: object) -> Short:
        """A table of a three-dimensional look-up table with the members `table`, (R, R, R, 3) of 0 .. 1, first axis
        red, and `domain`, (2, 3), such as LUT3D of colour-science. A domain other than 0 .. 1 becomes curves.

        Raises ValueError for another shape, for a domain that does not rise, and for values that are not finite.
        """
        table = np.asarray(getattr(lut, 'table'), np.float64)
        domain = np.asarray(getattr(lut, 'domain', [[0, 0, 0], [1, 1, 1]]), np.float64)
        if table.ndim != 4 or table.shape[3] != 3 or len(set(table.shape[:3])) != 1 or domain.shape != (2, 3):
            raise ValueError(f'{cls.__name__}.from_lut3d: a table of shape (R, R, R, 3) and a domain of shape (2, 3) '
                             f'wanted, not {table.shape} and {domain.shape}')
        return cast(Short, _table_files.from_cube(cast(Any, cls), None, None, table, domain))

    def to_lut3d(self) -> Lut3d:
        """The grid as a Lut3d, whose members colour.LUT3D(table=.., domain=..) takes. ValueError when the table is not
        3 to 3 or has curves.

        Example:
            >>> t = ShortTable.from_function(lambda rgb: rgb, 3, 3, points=2)
            >>> t.to_lut3d().table[1, 0, 0]
            array([1., 0., 0.])
        """
        if (self.inputs, self.outputs) != (3, 3) or any(c is not None for c in self._in_curves + self._out_curves):
            raise ValueError(f'{self._label}.to_lut3d: a table of 3 inputs and 3 outputs without curves wanted')
        return Lut3d(np.asarray(self._view(), np.float64) / 65535.0, np.array([[0.0, 0, 0], [1, 1, 1]]))


class Lut3d:
    """A three-dimensional look-up table: `table`, float64 (R, R, R, 3), first axis red, and `domain`, (2, 3)."""

    def __init__(self, table: NDArray[np.float64], domain: NDArray[np.float64]) -> None:
        self.table = table
        self.domain = domain


class DoubleTable(Table):
    """A table of float64: points of N inputs, all of the same range, to M outputs.

    Parameters:
        inputs, outputs: N and M, at least 1
        points: grid points along each input, at least 2
        lo, hi: the inputs at the first and the last grid point
        grid: values to begin with, float64 of shape (points,) * N + (M,)

    Points outside lo .. hi give results of no use; not-a-number gives not-a-number.

    Example:
        >>> t = DoubleTable.from_function(lambda lab: lab[:, :1] ** 2, 3, 1, points=11, lo=0, hi=100)
        >>> t(np.array([[20.0, 0, 0], [25, 50, 75]]))
        array([[400.],
               [650.]])
    """

    __slots__ = ()
    _dtype = 'f8'
    _kinds = {('f8', 'f8'): 5}

    def __init__(self, inputs: int, outputs: int, points: int = 33, lo: float = 0.0, hi: float = 1.0, *,
                 grid: ArrayLike | None = None) -> None:
        self._begin((_whole(self._label, 'inputs', inputs), _whole(self._label, 'outputs', outputs),
                     _whole(self._label, 'points', points), float(lo), float(hi)))
        self._set_grid(grid)

    def _make(self, sizes: tuple[Any, ...]) -> Any:
        _check_counts(sizes)
        return made(lib.md_tetrad_new, lib.md_tetrad_kill, *sizes)

    @classmethod
    def from_function(cls: type[Self], f: Callable[[NDArray[Any]], NDArray[Any]], inputs: int, outputs: int,
                      points: int = 33, lo: float = 0.0, hi: float = 1.0) -> Self:
        """A table of a function's values: f is called once with all grid points, (points ** N, N) of float64, and gives
        (points ** N, M) of float64. ValueError for another shape."""
        table = cls(inputs, outputs, points, lo, hi)  # type: ignore[call-arg]
        table._fill(f)
        return table

    @property
    def lo(self) -> float:
        """The inputs at the first grid point."""
        return float(self._sizes[3])

    @property
    def hi(self) -> float:
        """The inputs at the last grid point."""
        return float(self._sizes[4])

    @property
    def grid(self) -> NDArray[np.float64]:
        """The values, a writable view of shape (points,) * N + (M,), not contiguous; as ByteTable.grid."""
        return cast('NDArray[np.float64]', self._view())

    @grid.setter
    def grid(self, values: ArrayLike) -> None:
        self._set_grid(values)

    def _data(self) -> tuple[int, tuple[int, ...]]:
        return address_of(lib.md_tetrad_dataptr(self._open(), NULL)), self._strides(1)

    def _axis(self) -> Array:
        record, values = self._open(), ffi.new('double[]', self.inputs)
        result = np.empty(self.points)
        for i in range(self.points):
            lib.md_tetrad_vertex_get(record, ffi.new('int[]', [i] + [0] * (self.inputs - 1)), values)
            result[i] = values[0]
        return result

    def __call__(self, pixels: Pixels, *, out: Array | None = None, axis: int = -1, mask: ArrayLike | None = None,
                 threads: int | None = None) -> NDArray[np.float64]:
        """Evaluates points: float64, the channels' axis has N items. The arguments are those of ByteTable."""
        return cast('NDArray[np.float64]', self._convert(pixels, out, axis, mask, threads))

    def resampled(self: Self, points: int) -> Self:
        """A new table with another number of grid points and the same contents."""
        return cast(Self, type(self).from_function(  # type: ignore[attr-defined]
            self, self.inputs, self.outputs, points, *self._sizes[3:]))

    def _sizes_text(self) -> str:
        return f'{super()._sizes_text()}, lo={self.lo!r}, hi={self.hi!r}'


class Clut(Table):
    """A table of float32 over the unit cube: inputs and results are float64 of 0 .. 1, cut to that range. Three inputs
    are interpolated along tetrahedra, any other number multilinearly.

    Parameters:
        inputs: N, 1 .. 16
        outputs: M, 1 .. 255
        points: grid points along each input, 2 .. 255: one number, or N of them
        grid: values to begin with, float32 of shape (points of input 0, .., M)

    Kept: on the faces where the third fraction is the largest, the path of three inputs leaves the order of the
    fractions: some results lie outside their cell's values.

    Example:
        >>> t = Clut.from_function(lambda x: 1 - x, 2, 2, points=(3, 5))
        >>> t(np.array([0.25, 1.5]))
        array([0.75, 0.  ])
    """

    __slots__ = ()
    _dtype = 'f4'
    _kinds = {('f8', 'f8'): 6}

    def __init__(self, inputs: int, outputs: int, points: int | Sequence[int] = 17, *,
                 grid: ArrayLike | None = None) -> None:
        count = _whole(self._label, 'inputs', inputs)
        counts = tuple(_whole(self._label, 'points', n) for n in points) if isinstance(
            points, (tuple, list, np.ndarray)) else (_whole(self._label, 'points', points),) * max(count, 0)
        if len(counts) != count:
            raise ValueError(f'{self._label}: points for {count} inputs wanted, not {len(counts)}')
        self._begin((count, _whole(self._label, 'outputs', outputs), counts))
        self._set_grid(grid)

    def _make(self, sizes: tuple[Any, ...]) -> Any:
        _check_counts((*sizes[:2], *sizes[2]))
        return made(lib.clut_table_new, lib.clut_table_kill, sizes[0], ffi.new('int[]', sizes[2]), sizes[1], NULL)

    @classmethod
    def from_function(cls: type[Self], f: Callable[[NDArray[Any]], NDArray[Any]], inputs: int, outputs: int,
                      points: int | Sequence[int] = 17) -> Self:
        """A table of a function's values: f is called once with all grid points, (product of the points, N) of float64
        from 0 to 1, and gives as many rows of M values of float64. ValueError for another shape."""
        table = cls(inputs, outputs, points)  # type: ignore[call-arg]
        table._fill(f)
        return table

    @property
    def points(self) -> int:
        """Grid points along input 0; grid.shape has all of them."""
        return int(self._sizes[2][0])

    @property
    def _grid_shape(self) -> tuple[int, ...]:
        return (*self._sizes[2], self.outputs)

    @property
    def grid(self) -> NDArray[np.float32]:
        """The values, a writable and dense view of shape (points of input 0, .., M)."""
        return cast('NDArray[np.float32]', self._view())

    @grid.setter
    def grid(self, values: ArrayLike) -> None:
        self._set_grid(values)

    def _data(self) -> tuple[int, tuple[int, ...]]:
        strides = [4]
        for count in reversed(self._grid_shape[1:]):
            strides.append(strides[-1] * count)
        return address_of(lib.clut_table_dataptr(self._open(), NULL)), tuple(reversed(strides))

    def _axis(self) -> Array:
        return np.zeros(1)

    def _vertices(self) -> Array:
        axes = np.meshgrid(*[np.arange(n) / (n - 1) for n in self._sizes[2]], indexing='ij')
        return np.stack([axis.ravel() for axis in axes], axis=1)

    def __call__(self, pixels: Pixels, *, out: Array | None = None, axis: int = -1, mask: ArrayLike | None = None,
                 threads: int | None = None) -> NDArray[np.float64]:
        """Evaluates points: float64, the channels' axis has N items. The arguments are those of ByteTable."""
        return cast('NDArray[np.float64]', self._convert(pixels, out, axis, mask, threads))

    def _sizes_text(self) -> str:
        counts = self._sizes[2]
        text = counts[0] if len(set(counts)) == 1 else tuple(counts)
        return f'inputs={self.inputs}, outputs={self.outputs}, points={text}'


def _check_counts(sizes: tuple[Any, ...]) -> None:
    if any(isinstance(n, int) and not -2**31 <= n < 2**31 for n in sizes):
        raise ValueError('a table of so many channels or points is beyond every memory')


def _spread(entries: Array) -> Array | None:
    """The 65536 samples that a curve of n entries stands for; None for the identity."""
    n = len(entries)
    x = np.arange(65536, dtype=np.int64) * (n - 1)
    i = np.minimum(x // 65535, n - 2)
    r = x - 65535 * i
    e = entries.astype(np.int64)
    samples = ((e[i] * (65535 - r) + e[i + 1] * r + 32767) // 65535).astype(np.uint16)
    return None if np.array_equal(samples, np.arange(65536)) else samples


def _only_images(label: str, **others: object) -> None:
    for name, value in others.items():
        if value is not None:
            raise TypeError(f'{label}: {name} does not go with an image of Pillow; numpy.asarray(image) does')
