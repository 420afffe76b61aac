"""Bodies in colour space: hulls, volumes, the light side of a device's gamut."""

from __future__ import annotations

import sys
from typing import Any, Callable, Sequence

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _arrays
from ._library import NULL, Raised, TeskaError, TeskaMemoryError, collected, error, ffi, lib, made
from ._object import Handle, Value, floats_of

Floats = NDArray[np.float64]


def _rebuild(cls: Any, points: bytes, order: str, options: dict[str, Any]) -> Any:
    if len(points) % 24:
        raise ValueError(f'{cls.__name__}: damaged pickle')
    return cls(floats_of(points, order).reshape(-1, 3), **options)


class _Body(Value):
    """What bodies made of points have in common."""

    __slots__ = ('_points', '_options')

    _points: Floats
    _options: dict[str, Any]

    @staticmethod
    def _checked(label: str, points: ArrayLike) -> Floats:
        array = _arrays.points(label, points, 3)
        if array.ndim != 2:
            raise ValueError(f'{label}: points of shape (n, 3) wanted, not {array.shape}')
        return array.copy()

    def _inside(self, record: Any, point: Any) -> int:
        raise NotImplementedError

    def contains(self, p: ArrayLike) -> NDArray[np.bool_]:
        """Which points lie inside or on the surface: (3,) or (n, 3), a bool array of shape () or (n,)."""
        record = self._open()
        points = _arrays.points(f'{type(self).__name__}.contains', p, 3)
        base = _arrays.doubles(points)
        flags = [self._inside(record, base + 3 * k) for k in range(points.size // 3)]
        return np.array(flags, np.bool_).reshape(points.shape[:-1])

    def _nearest(self, record: Any, point: Any, found: Any, distance: Any) -> int:
        raise NotImplementedError

    def nearest(self, p: ArrayLike) -> tuple[Floats, Floats]:
        """The nearest points of the body, and how far they are: (3,) or (n, 3) gives arrays of that shape and of
        shape () or (n,). A point inside is its own nearest, at 0. NaN gives NaN."""
        record = self._open()
        points = _arrays.points(f'{type(self).__name__}.nearest', p, 3)
        found, distance = points.copy(), np.zeros(points.shape[:-1])
        base, to, far = (_arrays.doubles(array) for array in (points, found, distance))
        for k in range(points.size // 3):
            if not self._inside(record, base + 3 * k) and self._nearest(record, base + 3 * k, to + 3 * k, far + k) != 0:
                found.reshape(-1, 3)[k] = np.nan
                distance.reshape(-1)[k] = np.nan
        return found, distance

    @property
    def points(self) -> Floats:
        """The points it was made of, (n, 3), a copy."""
        return self._points.copy()

    def __eq__(self, other: object) -> bool:
        if type(other) is not type(self) or not isinstance(other, _Body):
            return NotImplemented
        return self._options == other._options and np.array_equal(self._points, other._points)

    def _pickled(self) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        return _rebuild, (self._points.tobytes(), sys.byteorder, self._options)


class Hull(_Body):
    """The convex hull of points.

    Parameters:
        points: (n, 3), at least four that span a volume
        unit: the length that counts: a point makes the hull larger when it adds a tetrahedron of more than 1/12 cubic
            unit. None: 1, which suits Lab, XYZ of 0 .. 100 and bytes, while the points extend over 20 to 2000; for
            others a hundredth of their extent

    Raises TeskaError "Hull: the points span no volume" for points in a plane.

    numpy.asarray(hull) is the vertices.

    Example:
        >>> cube = Hull([(x, y, z) for x in (0, 100) for y in (0, 100) for z in (0, 100)] + [(50, 50, 50)])
        >>> cube
        Hull(9 points: 8 vertices, 12 faces, volume 1000000.0)
        >>> cube.contains([[50, 50, 50], [150, 50, 50]])
        array([ True, False])
        >>> cube.nearest([150, 50, 50])
        (array([100.,  50.,  50.]), array(50.))
    """

    __slots__ = ('_vertices', '_faces')

    def __init__(self, points: ArrayLike, *, unit: float | None = None) -> None:
        self._record = None
        array = self._checked('Hull', points)
        self._options = {'unit': unit}
        self._points = array
        record = made(lib.convex_hull_new, lib.convex_hull_kill)
        self._set_unit(record, array, unit)
        failed, lines = collected(lib.convex_hull_add_points, record, _arrays.doubles(array), len(array))
        if failed:
            raise error(lines, 'Hull: no memory')
        failed, lines = collected(lib.convex_hull_construct, record)
        if failed:
            why = error(lines, 'Hull: failed')
            raise why if isinstance(why, TeskaMemoryError) else TeskaError('Hull: the points span no volume')
        self._vertices, self._faces = self._surface(record)
        self._record = record

    @staticmethod
    def _set_unit(record: Any, points: Floats, unit: float | None) -> None:
        finite = points[np.isfinite(points).all(axis=1)]
        if unit is None:
            extent = float(np.ptp(finite, axis=0).max()) if len(finite) else 0.0
            unit = 1.0 if extent == 0.0 or 20.0 <= extent <= 2000.0 else min(max(extent / 100.0, 1e-9), 1e9)
        if unit != 1.0:
            failed, lines = collected(lib.convex_hull_set_unit, record, float(unit))
            if failed:
                raise error(lines, 'Hull: illegal unit')

    @staticmethod
    def _surface(record: Any) -> tuple[Floats, NDArray[np.int32]]:
        vertices = np.empty((lib.convex_hull_get_nr_vertices(record), 3))
        faces = np.empty((lib.convex_hull_get_nr_faces(record), 3), np.int32)
        base, corners = _arrays.doubles(vertices), ffi.cast('int *', _arrays.address(faces))
        for k in range(len(vertices)):
            lib.convex_hull_get_vertex(record, k, base + 3 * k, NULL)
        for k in range(len(faces)):
            lib.convex_hull_get_face(record, k, corners + 3 * k)
        return vertices, faces

    @property
    def vertices(self) -> Floats:
        """The corners of the hull, (v, 3)."""
        return self._vertices

    @property
    def faces(self) -> NDArray[np.int32]:
        """Its triangles, (f, 3) of int32: indices of vertices, counterclockwise seen from outside."""
        return self._faces

    @property
    def volume(self) -> float:
        """What it encloses, in cubic units of the points."""
        return float(lib.convex_hull_get_volume(self._open()))

    @property
    def area(self) -> float:
        """Of all faces."""
        return float(lib.convex_hull_get_area(self._open()))

    def _inside(self, record: Any, point: Any) -> int:
        return int(lib.convex_hull_inside(record, point))

    def _nearest(self, record: Any, point: Any, found: Any, distance: Any) -> int:
        return int(lib.convex_hull_nearest(record, point, found, distance, NULL, NULL))

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> NDArray[Any]:
        return np.array(self._vertices, dtype, copy=True) if copy or dtype is not None else self._vertices

    def __repr__(self) -> str:
        if self._record is None:
            return 'Hull(closed)'
        return (f'{type(self).__name__}({len(self._points)} points: {len(self._vertices)} vertices, {len(self._faces)} '
                f'faces, volume {self.volume:.1f})')


class Volume(_Body):
    """The convex hull of points, filled with tetrahedra whose corners are the points.

    Parameters:
        points: (n, 3); points within 0.01 of another one count as that one

    Raises TeskaError "Volume: the points span no volume" for points in a plane.

    Example:
        >>> body = Volume([(0, 0, 0), (90, 0, 0), (0, 90, 0), (0, 0, 90), (20, 20, 20)])
        >>> body
        Volume(5 points: 4 tetrahedra, 4 faces, volume 121500.0)
        >>> index, weights = body.locate([10, 10, 10])
        >>> bool(np.allclose(weights @ body.tetrahedra[index], 10))
        True
    """

    __slots__ = ('_tetrahedra', '_triangles')

    def __init__(self, points: ArrayLike) -> None:
        self._record = None
        array = self._checked('Volume', points)
        if len(array) > 65535:
            raise ValueError(f'Volume: at most 65535 points, not {len(array)}')
        self._points, self._options = array, {}
        given = made(lib.list_new, lib.list_kill, max(1, min(len(array), 32767)), ffi.sizeof('tetra_point'), NULL)
        for k, (x, y, z) in enumerate(array.tolist()):
            inserted, lines = collected(lib.list_insert, given, ffi.new('tetra_point *', (x, y, z, k)))
            if inserted < 0:
                raise error(lines, 'Volume: no memory')
        record, lines = collected(lib.tetra_volume_new, given)
        if record == NULL:
            raise error(lines, 'Volume: insufficient memory, or more than 65535 tetrahedra')
        record = ffi.gc(record, lib.tetra_volume_kill)
        if record.nr_tetras == 0:
            raise TeskaError('Volume: the points span no volume')
        self._tetrahedra = self._cells(record)
        self._triangles = self._boundary(record)
        self._record = record

    @staticmethod
    def _cells(record: Any) -> Floats:
        cells = np.empty((record.nr_tetras, 4, 3))
        cell = ffi.new('tetra_rec **')
        for k in range(len(cells)):
            lib.tetra_volume_get_tetra2(record, k, cell)
            cells[k] = [(p.x, p.y, p.z) for p in cell[0].p]
        return cells

    @staticmethod
    def _boundary(record: Any) -> Floats:
        corners = np.empty((record.nr_planes, 3, 3))
        for k in range(len(corners)):
            plane = ffi.cast('tetra_plane **', lib.list_get_element(record.planes, k))[0]
            corners[k] = [(p.x, p.y, p.z) for p in plane.p]
        return corners

    @property
    def tetrahedra(self) -> Floats:
        """The corners of the tetrahedra, (t, 4, 3)."""
        return self._tetrahedra

    @property
    def triangles(self) -> Floats:
        """The corners of the boundary, (f, 3, 3), counterclockwise seen from outside."""
        return self._triangles

    @property
    def volume(self) -> float:
        """What the tetrahedra enclose together, in cubic units of the points."""
        return float(lib.tetra_volume_get_true_volume(self._open()))

    def locate(self, p: ArrayLike) -> tuple[NDArray[np.intp], Floats]:
        """For points (3,) or (n, 3) the first tetrahedron that holds each, -1 for none, and the weights of its four
        corners, (4,) or (n, 4), NaN for none. Weights @ tetrahedra[index] is the point."""
        record = self._open()
        points = _arrays.points('Volume.locate', p, 3)
        flat = points.reshape(-1, 3)
        index = np.full(len(flat), -1, np.intp)
        weights = np.full((len(flat), 4), np.nan)
        places = {int(ffi.cast('uintptr_t', self._cell(record, k))): k for k in range(len(self._tetrahedra))}
        base, cell, w = _arrays.doubles(flat), ffi.new('tetra_rec **'), ffi.new('double[3]')
        for k in range(len(flat)):
            if lib.tetra_volume_get_tetra(record, base + 3 * k, cell) == 0:
                index[k] = places[int(ffi.cast('uintptr_t', cell[0]))]
                lib.tetra_point_inside(cell[0], base + 3 * k, w)
                weights[k] = (1.0 - w[0] - w[1] - w[2], w[0], w[1], w[2])
        return index.reshape(points.shape[:-1]), weights.reshape(points.shape[:-1] + (4,))

    @staticmethod
    def _cell(record: Any, index: int) -> Any:
        cell = ffi.new('tetra_rec **')
        lib.tetra_volume_get_tetra2(record, index, cell)
        return cell[0]

    def _inside(self, record: Any, point: Any) -> int:
        return int(lib.tetra_volume_get_tetra(record, point, NULL) == 0)

    def _nearest(self, record: Any, point: Any, found: Any, distance: Any) -> int:
        return int(lib.tetra_volume_nearest(record, point, found, distance, NULL, NULL))

    def __repr__(self) -> str:
        if self._record is None:
            return 'Volume(closed)'
        return (f'{type(self).__name__}({len(self._points)} points: {len(self._tetrahedra)} tetrahedra, '
                f'{len(self._triangles)} faces, volume {self.volume:.1f})')


class TopSurface(Handle):
    """The light side of the gamut of a device with several colorants, seen from its darkest point.

    Parameters:
        device: a function of device values (n,), 1 for none of a colorant and 0 for all of it, that gives a colour (3,)
        levels: of each colorant its device values, 0 .. 1
        vertical: which colour coordinate is the lightness
        steps: how finely the edge is sampled

    What `device` raises comes through, here and in the methods. Threads: one object by one thread at a time.

    Example:
        >>> def display(rgb):
        ...     return np.array([[30, 59, 11], [80, -75, -5], [40, 50, -90]]) @ rgb
        >>> top = TopSurface(display, [[1, 0.5, 0]] * 3)
        >>> top
        TopSurface(3 colorants, 3 parts, 24 triangles)
        >>> norm, penalty = top.normalise([[60, 0, 0]])
        >>> bool(np.allclose(top.colours(norm), [[60, 0, 0]]))
        True
    """

    _label = 'TopSurface'

    def __init__(self, device: Callable[[Floats], ArrayLike], levels: Sequence[ArrayLike], *, vertical: int = 0,
                 steps: int = 91) -> None:
        self._record = None
        ramps = [np.ascontiguousarray(ramp, np.float64).ravel() for ramp in levels]
        if not ramps or any(len(ramp) < 2 for ramp in ramps):
            raise ValueError('TopSurface: at least one colorant, and two levels of each, wanted')
        self._count, self._raised = len(ramps), Raised()

        def called(user: object, values: Any, colour: Any) -> int:
            result = np.asarray(device(np.frombuffer(ffi.buffer(values, 8 * len(ramps)), np.float64).copy()), float)
            if result.shape != (3,):
                raise ValueError(f'TopSurface: the device gave the shape {result.shape}, (3,) wanted')
            colour[0], colour[1], colour[2] = result.tolist()
            return 1

        self._callback = ffi.callback('int(void *, const double *, double *)', self._raised.guard(called, -1))
        pointers = ffi.new('double *[]', [_arrays.doubles(ramp) for ramp in ramps])
        counts = ffi.new('int[]', [len(ramp) for ramp in ramps])
        record, lines = collected(lib.top_surface_new, len(ramps), pointers, counts, int(vertical), self._callback,
                                  NULL, int(steps))
        self._raised.again()
        if record == NULL:
            raise error(lines, 'TopSurface: no surface')
        self._record = ffi.gc(record, lib.top_surface_kill)
        self._scan()

    def _scan(self) -> None:
        corners, coords = ffi.new('double[9]'), ffi.new('double[9]')
        found = []
        result = lib.top_surface_next_triangle(self._record, 1, corners, coords)
        while result >= 0:
            found.append(list(corners))
            result = lib.top_surface_next_triangle(self._record, 0, corners, coords)
        self._triangles = np.array(found).reshape(-1, 3, 3)

    @property
    def triangles(self) -> Floats:
        """The corners of its visible triangles, (t, 3, 3)."""
        return self._triangles

    @property
    def parts(self) -> Floats:
        """The device values of its parts, (parts, colorants), -1 for the two colorants that vary."""
        record, values = self._open(), ffi.new('double[]', self._count)
        rows = []
        for part in range(lib.top_surface_get_nr_parts(record)):
            lib.top_surface_get_part(record, part, values)
            rows.append(list(values))
        return np.array(rows).reshape(-1, self._count)

    def _call(self, function: Callable[..., Any], *arguments: Any) -> None:
        failed, lines = collected(function, *arguments)
        self._raised.again()
        if failed:
            raise error(lines, 'TopSurface: there is no umbrella')

    def normalise(self, colours: ArrayLike, *, smaller: bool = False) -> tuple[Floats, Floats]:
        """Colours (.., 3) to normalised coordinates (angle from the axis, hue, height), and a penalty for each: 0
        inside, negative outside. `smaller`: relative to the smaller gamut."""
        record, given = self._open(), _arrays.points('TopSurface.normalise', colours, 3)
        norm, penalty = np.empty_like(given), np.empty(given.shape[:-1])
        self._call(lib.top_surface_normalise, record, _arrays.doubles(given), _arrays.doubles(norm),
                   _arrays.doubles(penalty), given.size // 3, int(smaller))
        return norm, penalty

    def colours(self, norm: ArrayLike, *, smaller: bool = False) -> Floats:
        """Normalised coordinates (.., 3) to colours."""
        record, given = self._open(), _arrays.points('TopSurface.colours', norm, 3)
        result = np.empty_like(given)
        self._call(lib.top_surface_colour, record, _arrays.doubles(given), _arrays.doubles(result), given.size // 3,
                   int(smaller))
        return result

    def edge(self, hue: float) -> tuple[float, float]:
        """The edge at a hue, in radians: its angle from the axis, and its height."""
        record, angle, height = self._open(), ffi.new('double *'), ffi.new('double *')
        self._call(lib.top_surface_edge, record, float(hue), angle, height)
        return float(angle[0]), float(height[0])

    def __reduce_ex__(self, protocol: Any) -> tuple[Any, ...]:
        raise TypeError('cannot pickle a TopSurface: it holds a function; pickle what that is made of')

    def __repr__(self) -> str:
        if self._record is None:
            return 'TopSurface(closed)'
        return (f'TopSurface({self._count} colorants, {lib.top_surface_get_nr_parts(self._record)} parts, '
                f'{len(self._triangles)} triangles)')
