"""Curves of one variable."""

from __future__ import annotations

import math
import sys
from typing import Any, Callable, TypeVar, overload

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._library import NULL, TeskaError, collected, error, ffi, lib, made
from ._object import Value, floats_of

Self = TypeVar('Self', bound='Curve')
KINDS = ('lines', 'cubic', 'bezier')


def _rebuild(cls: type[Curve], x: bytes, y: bytes, kind: str, order: str) -> Curve:
    if len(x) != len(y) or len(x) % 8:
        raise ValueError(f'{cls.__name__}: damaged pickle')
    return cls(floats_of(x, order), floats_of(y, order), kind)


class Curve(Value):
    """A curve through points, or of a Bezier segment.

    Parameters:
        x, y: the points, x rising
        kind: 'lines': straight from point to point, at least two. 'cubic': cubic segments with continuous slopes
            through all points, that do not overshoot (the slope at a point is the harmonic mean of its neighbours'
            where they agree in sign, else 0). 'bezier': one segment of degree 2 to 4, of which x and y are the 3 to 5
            control points; x of the curve rises

    Outside the points the value of the first or last one continues.

    Example:
        >>> gamma = Curve([0, 0.5, 1], [0, 0.25, 1])
        >>> gamma(0.75)
        0.625
        >>> gamma([-1, 0.25, 2])
        array([0.   , 0.125, 1.   ])
        >>> gamma
        Curve(3 points, 'lines', x 0.0 .. 1.0, y 0.0 .. 1.0)
    """

    __slots__ = ('_x', '_y', '_kind')
    _label = 'Curve'

    def __init__(self, x: ArrayLike, y: ArrayLike, kind: str = 'lines') -> None:
        self._record = None
        xs, ys = (np.array(values, np.float64) for values in (x, y))
        if kind not in KINDS:
            raise ValueError(f'Curve: kind {kind!r}; one of {", ".join(KINDS)} wanted')
        if xs.ndim != 1 or xs.shape != ys.shape or len(xs) < 2:
            raise ValueError(f'Curve: x and y of the same length, at least 2, wanted, not {xs.shape} and {ys.shape}')
        if not (np.isfinite(xs).all() and np.isfinite(ys).all()):
            raise ValueError('Curve: a point that is not finite')
        if kind != 'bezier' and not (np.diff(xs) > 0).all():
            raise ValueError('Curve: x does not rise from point to point; sort the points, and take one of equal x')
        if kind != 'bezier' and len(xs) > 65535:
            raise ValueError(f'Curve: at most 65535 points, not {len(xs)}')
        if kind == 'bezier' and not 3 <= len(xs) <= 5:
            raise ValueError(f'Curve: a Bezier segment has 3 to 5 control points, not {len(xs)}')
        self._x, self._y, self._kind = xs, ys, kind
        self._record = self._make()
        if kind == 'bezier':
            self._check_rising()

    def _make(self) -> Any:
        if self._kind == 'lines':
            record = made(lib.lin_interp_double_new, lib.lin_interp_double_kill, len(self._x), NULL)
            before = lib.error_set_thread(2)
            try:
                for x, y in zip(self._x.tolist(), self._y.tolist()):
                    if lib.lin_interp_double_insert(record, x, y) != 0:
                        raise error([], 'list_insert : Unable to extend list, insufficient resources')
            finally:
                lib.error_set_thread(before)
            return record
        if self._kind == 'bezier':
            x, y = self._x, self._y
            record = made(lib.bezier_new, lib.bezier_kill, len(x) - 1, x[0], y[0], x[-1], y[-1])
            lib.bezier_set_control_poly(record, ffi.new('double[]', x.tolist()), ffi.new('double[]', y.tolist()))
            return record
        return _slopes(self._x, self._y)

    def _check_rising(self) -> None:
        t = np.linspace(0.0, 1.0, 257)
        x = np.zeros_like(t)
        degree = len(self._x) - 1
        for k, control in enumerate(self._x):
            x += math.comb(degree, k) * (1 - t) ** (degree - k) * t**k * control
        if not (np.diff(x) > 0).all():
            raise ValueError('Curve: x of the Bezier segment does not rise')

    @property
    def points(self) -> NDArray[np.float64]:
        """The points (n, 2), a copy; of a Bezier segment its control points."""
        return np.stack([self._x, self._y], axis=1)

    @property
    def kind(self) -> str:
        """lines, cubic or bezier"""
        return self._kind

    @overload
    def __call__(self, x: float) -> float: ...

    @overload
    def __call__(self, x: ArrayLike) -> NDArray[np.float64] | float: ...

    def __call__(self, x: ArrayLike) -> NDArray[np.float64] | float:
        """The curve's values: a float for a number, an array of the same shape for an array. NaN gives NaN."""
        record = self._open()
        at = np.asarray(x, np.float64)
        flat = np.ascontiguousarray(at).ravel()
        if self._kind == 'lines':
            values = np.array([self._on_lines(record, value) for value in flat.tolist()])
        elif self._kind == 'bezier':
            values = np.array([self._on_bezier(record, value) for value in flat.tolist()])
        else:
            values = self._on_cubic(record, flat)
        result = values.reshape(at.shape)
        result = np.where(np.isnan(at), np.nan, result)
        return float(result) if at.ndim == 0 else result

    @staticmethod
    def _on_lines(record: Any, x: float) -> float:
        y = ffi.new('double *')
        if lib.lin_interp_double_inextp(record, x, y) != 0:
            raise TeskaError('lin_interp : not a function !!')
        return float(y[0])

    def _on_bezier(self, record: Any, x: float) -> float:
        if not self._x[0] < x < self._x[-1]:
            return float(self._y[0] if x <= self._x[0] else self._y[-1])
        ys = ffi.new('double[4]')
        fast = len(self._x) == 5
        count, lines = collected(lib.bezier_fget_y if fast else lib.bezier_get_y, record, x, ys)
        if count < 1:
            raise error(lines, f'Curve: no value at {x!r}')
        return float(ys[0])

    def _on_cubic(self, slopes: NDArray[np.float64], x: NDArray[np.float64]) -> NDArray[np.float64]:
        at = np.clip(x, self._x[0], self._x[-1])
        i = np.clip(np.searchsorted(self._x, at, side='right') - 1, 0, len(self._x) - 2)
        h = self._x[i + 1] - self._x[i]
        t = (at - self._x[i]) / h
        a, b = self._y[i], self._y[i + 1]
        result: NDArray[np.float64] = ((1 + 2 * t) * (1 - t) ** 2 * a + t * (1 - t) ** 2 * h * slopes[i] +
                                       t**2 * (3 - 2 * t) * b + t**2 * (t - 1) * h * slopes[i + 1])
        return result

    def inverse(self: Self) -> Self:
        """The curve with x and y exchanged, of the same kind. ValueError unless y rises or falls throughout.

        Of a cubic curve the points are exchanged, and slopes found anew; between the points it is an approximation.

        Example:
            >>> Curve([0, 1, 2], [10, 6, 4]).inverse()(5)
            1.5
        """
        self._open()
        falls = self._y[0] > self._y[-1]
        x, y = (self._y[::-1], self._x[::-1]) if falls else (self._y, self._x)
        if self._kind != 'bezier' and not (np.diff(x) > 0).all():
            raise ValueError('Curve.inverse: y neither rises nor falls from point to point')
        return type(self)(x, y, self._kind)

    def table(self, n: int, dtype: str | type[np.generic] = 'float64') -> NDArray[np.generic]:
        """n values at even steps from the first to the last x. For uint8 and uint16 values of 0 .. 1 become the whole
        range, rounded and cut: what set_curves of the tables takes.

        Example:
            >>> Curve([0, 1], [0, 1]).table(256, 'uint8')[[0, 128, 255]]
            array([  0, 128, 255], dtype=uint8)
        """
        kind = np.dtype(dtype)
        if n < 2:
            raise ValueError(f'Curve.table: {n} values; at least 2 wanted')
        values = np.asarray(self(np.linspace(self._x[0], self._x[-1], n)))
        if kind.kind == 'f':
            return values.astype(kind)
        if kind.str[1:] not in ('u1', 'u2'):
            raise TypeError(f'Curve.table: a type of floats, uint8 or uint16 wanted, not {kind.name}')
        return (np.clip(values, 0.0, 1.0) * np.iinfo(kind).max + 0.5).astype(kind)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Curve) or type(other) is not type(self):
            return NotImplemented
        return (self._kind == other._kind and np.array_equal(self._x, other._x) and
                np.array_equal(self._y, other._y))

    def _pickled(self) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        return _rebuild, (self._x.tobytes(), self._y.tobytes(), self._kind, sys.byteorder)

    def __repr__(self) -> str:
        if self._record is None:
            return 'Curve(closed)'
        return (f'{type(self).__name__}({len(self._x)} points, {self._kind!r}, x {self._x.min()} .. {self._x.max()}, '
                f'y {self._y.min()} .. {self._y.max()})')


def _slopes(x: NDArray[np.float64], y: NDArray[np.float64]) -> NDArray[np.float64]:
    """Slopes at the points: F. N. Fritsch and J. Butland, A method for constructing local monotone piecewise cubic
    interpolants, SIAM Journal on Scientific and Statistical Computing 5 (1984), pp. 300-304."""
    h, d = np.diff(x), np.diff(y) / np.diff(x)
    slopes = np.zeros(len(x))
    slopes[0], slopes[-1] = d[0], d[-1]
    a = (h[:-1] + 2 * h[1:]) / (3 * (h[:-1] + h[1:]))
    same = d[:-1] * d[1:] > 0
    with np.errstate(divide='ignore', invalid='ignore'):
        mean = d[:-1] * d[1:] / (a * d[1:] + (1 - a) * d[:-1])
    slopes[1:-1] = np.where(same, mean, 0.0)
    return slopes
