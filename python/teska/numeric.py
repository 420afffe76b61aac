"""Numerical methods: fits, least values, random numbers, colour differences."""

from __future__ import annotations

import threading
from typing import Any, Callable, NamedTuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _arrays
from ._library import NULL, Raised, collected, error, ffi, lib, made

Floats = NDArray[np.float64]


class LineFit(NamedTuple):
    """What fit_line gives."""

    intercept: float
    slope: float
    intercept_error: float  # standard deviations
    slope_error: float
    chi2: float
    q: float  # the probability of a chi-square at least as large when the line is right; 1 without deviations

    def __call__(self, x: ArrayLike) -> Floats:
        """The line's values."""
        return np.asarray(self.intercept + self.slope * np.asarray(x, np.float64))


def fit_line(x: ArrayLike, y: ArrayLike, sigma: ArrayLike | None = None) -> LineFit:
    """Fits y = intercept + slope * x by least squares.

    Parameters:
        x, y: the points, two at least, not all of one x
        sigma: the standard deviation of each y; None: all alike

    Example:
        >>> line = fit_line([0, 1, 2, 3], [1, 3, 5, 7])
        >>> line.intercept, line.slope
        (1.0, 2.0)
    """
    xs, ys = (np.ascontiguousarray(values, np.float64) for values in (x, y))
    if xs.ndim != 1 or xs.shape != ys.shape or len(xs) < 2:
        raise ValueError(f'fit_line: x and y of the same length, at least 2, wanted, not {xs.shape} and {ys.shape}')
    if (xs == xs[0]).all():
        raise ValueError('fit_line: all points have one x')
    deviations = np.ones_like(xs) if sigma is None else np.ascontiguousarray(sigma, np.float64)
    if deviations.shape != xs.shape or not (deviations > 0).all():
        raise ValueError(f'fit_line: {len(xs)} standard deviations above 0 wanted')
    results = [ffi.new('double *') for _ in range(6)]
    _, lines = collected(lib.least_square_fit, *map(_arrays.doubles, (xs, ys)), len(xs), _arrays.doubles(deviations),
                         int(sigma is not None), *results)
    if lines:
        raise error(lines, '')
    return LineFit(*(float(result[0]) for result in results))


class Minimum(NamedTuple):
    """What minimise gives."""

    x: Floats
    value: float
    converged: bool
    calls: int


_quiet = threading.Lock()


def minimise(f: Callable[[Floats], float], x0: ArrayLike, *, method: str = 'simplex', tolerance: float = 1e-7,
             max_steps: int = 1000) -> Minimum:
    """Searches for a point where a function is least.

    Parameters:
        f: called with a point (n,); gives a number. What it raises comes through
        x0: where the search begins, (n,) or a number
        method: 'simplex', the downhill simplex method; 'directions', by conjugate directions
        tolerance: of the simplex's size; of the relative decrease in a pass by directions
        max_steps: of the simplex; by directions 200 passes are made at most

    Example:
        >>> least = minimise(lambda x: (x[0] - 1) ** 2 + (x[1] + 2) ** 2, [0, 0])
        >>> least.x.round(4), least.converged
        (array([ 1., -2.]), True)
    """
    x = np.atleast_1d(np.array(x0, np.float64))
    if x.ndim != 1 or x.size == 0:
        raise ValueError(f'minimise: x0 of shape (n,) wanted, not {np.shape(x0)}')
    raised, calls = Raised(), 0

    def called(context1: object, context2: object, point: Any) -> float:
        nonlocal calls
        calls += 1
        return float(f(np.frombuffer(ffi.buffer(point, 8 * x.size), np.float64).copy()))

    callback = ffi.callback('double(void *, void *, const double *)', raised.guard(called, 0.0), 0.0)
    value = ffi.new('double *')
    lines: list[str] = []
    if method == 'simplex':
        record = made(lib.dhsm_new, lib.dhsm_kill, callback, NULL, x.size)
        result, _ = collected(lib.dhsm_solve, record, NULL, NULL, float(tolerance), _arrays.doubles(x), int(max_steps),
                              value)
        converged = result == 0
    elif method == 'directions':
        with _quiet:  # the search says every pass on standard output unless told not to
            lib.teska_warn_level(max(1, lib.teska_warn_level(1)))
        result, lines = collected(lib.condirmin, _arrays.doubles(x), x.size, float(tolerance), ffi.new('int *'), value,
                                  callback, NULL, NULL)
        converged = result == 1
    else:
        raise ValueError(f"minimise: method {method!r}; 'simplex' or 'directions' wanted")
    raised.again()
    if any('malloc' in line for line in lines):
        raise error(lines, '')
    return Minimum(x, float(value[0]), converged, calls)


def solve(f: Callable[[float], float], lo: float, hi: float, *, tolerance: float = 1e-12) -> float:
    """Where a function of one variable is 0 between two places where its signs differ.

    Parameters:
        f: called with a number; continuous
        lo, hi: the ends
        tolerance: of the result, relative to the larger magnitude of the ends

    By regula falsi with the halving of M. Dowell and P. Jarratt (A modified regula falsi method for computing the root
    of an equation, BIT 11 (1971), pp. 168-174), and by bisection where that is slow. ValueError when the signs agree.

    Example:
        >>> round(solve(lambda x: x * x - 2, 0, 2), 12)
        1.414213562373
    """
    a, b = float(lo), float(hi)
    fa, fb = float(f(a)), float(f(b))
    if fa == 0.0:
        return a
    if fb == 0.0:
        return b
    if not fa * fb < 0.0 and not (fa < 0.0 < fb or fb < 0.0 < fa):
        raise ValueError(f'solve: f({a}) = {fa} and f({b}) = {fb} have no different signs')
    close = tolerance * max(abs(a), abs(b))
    side = 0
    for step in range(400):
        x = (a + b) / 2 if step % 3 == 2 else (a * fb - b * fa) / (fb - fa)
        if not min(a, b) < x < max(a, b):
            x = (a + b) / 2
        fx = float(f(x))
        if fx == 0.0 or abs(b - a) <= close or x in (a, b):
            return x
        if (fx < 0.0) == (fa < 0.0):
            a, fa, fb, side = x, fx, fb / 2 if side == 1 else fb, 1
        else:
            b, fb, fa, side = x, fx, fa / 2 if side == -1 else fa, -1
    return (a + b) / 2


def random_numbers(seed: int, n: int) -> NDArray[np.float32]:
    """n random numbers above 0, at most 1, the same on every machine: the minimal standard generator. Not for secrets.

    Example:
        >>> random_numbers(42, 2)
        array([3.287075e-04, 5.245871e-01], dtype=float32)
    """
    if n < 0:
        raise ValueError(f'random_numbers: {n} numbers')
    record = made(lib.random_new, lib.random_kill, (int(seed) + 2**31) % 2**32 - 2**31)
    step = lib.random_val
    return np.fromiter((step(record) for _ in range(n)), np.float32, n)


def delta_e_2000(lab1: ArrayLike, lab2: ArrayLike) -> Floats | float:
    """The colour difference CIEDE2000 of colours (.., 3) in Lab, with all weights 1; shapes are broadcast.

    Source: G. Sharma, W. Wu, E. N. Dalal, The CIEDE2000 color-difference formula, Color Research and Application 30
    (2005), pp. 21-30.

    Example:
        >>> round(delta_e_2000([50, 2.6772, -79.7751], [50, 0, -82.7485]), 4)
        2.0425
    """
    (l1, a1, b1), (l2, a2, b2) = (np.moveaxis(_lab(lab), -1, 0) for lab in (lab1, lab2))
    mean_c = (np.hypot(a1, b1) + np.hypot(a2, b2)) / 2
    g = 0.5 * (1 - np.sqrt(mean_c**7 / (mean_c**7 + 25.0**7)))
    a1, a2 = (1 + g) * a1, (1 + g) * a2
    c1, c2 = np.hypot(a1, b1), np.hypot(a2, b2)
    h1, h2 = (np.degrees(np.arctan2(b, a)) % 360 for a, b in ((a1, b1), (a2, b2)))
    none = c1 * c2 == 0
    turn = h2 - h1
    dh = np.where(none, 0.0, turn - 360 * (turn > 180) + 360 * (turn < -180))
    dl, dc, dbig = l2 - l1, c2 - c1, 2 * np.sqrt(c1 * c2) * np.sin(np.radians(dh / 2))
    total = h1 + h2
    mean_h = np.where(none, total, np.where(np.abs(turn) <= 180, total / 2,
                                            np.where(total < 360, (total + 360) / 2, (total - 360) / 2)))
    mean_l, mean_c = (l1 + l2) / 2, (c1 + c2) / 2

    def cosine(factor: float, shift: float) -> Any:
        return np.cos(np.radians(factor * mean_h + shift))

    t = 1 - 0.17 * cosine(1, -30) + 0.24 * cosine(2, 0) + 0.32 * cosine(3, 6) - 0.20 * cosine(4, -63)
    turned = 30 * np.exp(-(((mean_h - 275) / 25) ** 2))
    rc = 2 * np.sqrt(mean_c**7 / (mean_c**7 + 25.0**7))
    sl = 1 + 0.015 * (mean_l - 50) ** 2 / np.sqrt(20 + (mean_l - 50) ** 2)
    sc, sh = 1 + 0.045 * mean_c, 1 + 0.015 * mean_c * t
    x, y, z = dl / sl, dc / sc, dbig / sh
    result = np.sqrt(np.maximum(x * x + y * y + z * z - np.sin(np.radians(2 * turned)) * rc * y * z, 0.0))
    return float(result) if np.ndim(result) == 0 else np.asarray(result)


def _lab(lab: ArrayLike) -> Floats:
    array = np.asarray(lab, np.float64)
    if array.ndim == 0 or array.shape[-1] != 3:
        raise ValueError(f'delta_e_2000: colours of shape (.., 3) wanted, not {array.shape}')
    return array
