"""Curves, fits, least values, random numbers, colour differences."""

import math

import numpy as np
import pytest
from conftest import refused

from teska import Curve, delta_e_2000, fit_line, minimise, random_numbers, solve
from teska._library import ffi, lib


def test_lines_are_those_of_the_library(rng):
    x, y = np.sort(rng.random(9)), rng.random(9)
    record = lib.lin_interp_double_new(9, ffi.NULL)
    [lib.lin_interp_double_insert(record, *point) for point in zip(x.tolist(), y.tolist())]
    at, value = rng.random((20, 3)) * 2 - 0.5, ffi.new('double *')
    expected = []
    for place in at.ravel():
        lib.lin_interp_double_inextp(record, place, value)
        expected.append(value[0])
    lib.lin_interp_double_kill(record)
    assert np.array_equal(Curve(x, y)(at), np.reshape(expected, at.shape))
    assert np.isnan(Curve(x, y)(np.nan))


def test_cubics_go_through_their_points_and_do_not_overshoot(rng):
    x = np.sort(rng.random(12))
    for y in (np.sort(rng.random(12)), rng.random(12)):
        curve = Curve(x, y, 'cubic')
        assert np.allclose(curve(x), y)
        for k in range(11):
            inside = curve(np.linspace(x[k], x[k + 1], 50))
            assert min(y[k:k + 2]) - 1e-12 <= inside.min() and inside.max() <= max(y[k:k + 2]) + 1e-12
    assert curve(-5) == y[0] and curve(5) == y[-1]


def test_bezier_curves_and_inverses(rng):
    for x, y in (([0, 0.5, 1], [0, 0, 1]), ([0, 0.3, 0.6, 1], [0, 0.1, 0.9, 1]), ([0, 0.2, 0.5, 0.8, 1],
                                                                              [0, 0.1, 0.5, 0.7, 1])):
        curve = Curve(x, y, 'bezier')
        t = np.linspace(0, 1, 33)
        weights = [math.comb(len(x) - 1, k) * t**k * (1 - t) ** (len(x) - 1 - k) for k in range(len(x))]
        assert np.allclose(curve(np.dot(x, weights)), np.dot(y, weights), atol=1e-6)
    for kind, y in (('lines', [5, 3, 1]), ('lines', [0, 1, 4]), ('bezier', [0, 0.5, 1])):
        curve = Curve([0, 1, 2], y, kind)
        at = np.linspace(0, 2, 9)
        assert np.allclose(curve.inverse()(curve(at)), at, atol=1e-6)
    refused(ValueError, 'neither rises nor falls', Curve([0, 1, 2], [0, 2, 1]).inverse)


def test_curves_refuse_and_make_tables():
    for arguments, text in ((([0, 0], [1, 2]), 'does not rise'), (([0], [1]), 'at least 2'),
                            (([0, np.inf], [1, 2]), 'not finite'), (([0, 1], [1, 2], 'spline'), "kind 'spline'"),
                            (([0, 3, -2, 1], [0, 0, 1, 1], 'bezier'), 'does not rise'),
                            (([0, 1], [0, 1], 'bezier'), '3 to 5 control points')):
        refused(ValueError, text, Curve, *arguments)
    for kind in ('lines', 'cubic', 'bezier'):
        curve = Curve([0, 0.4, 1], [0, 0.7, 1], kind)
        table = curve.table(256, 'uint8')
        assert table.dtype == np.uint8 and (table[0], table[-1]) == (0, 255) and np.all(table[:-1] <= table[1:])


def test_fit_line_finds_the_line_and_its_errors(rng):
    x = np.linspace(0, 10, 200)
    fit = fit_line(x, 3 - 2 * x + rng.normal(0, 0.1, 200), np.full(200, 0.1))
    assert abs(fit.intercept - 3) < 4 * fit.intercept_error and abs(fit.slope + 2) < 4 * fit.slope_error
    assert 150 < fit.chi2 < 260 and 0.001 < fit.q < 1 and np.isclose(fit(1.0), fit.intercept + fit.slope)
    for arguments, text in ((([1, 1], [1, 2]), 'one x'), (([1], [1]), 'at least 2'),
                            (([1, 2], [1, 2], [0, 1]), 'above 0')):
        refused(ValueError, text, fit_line, *arguments)


@pytest.mark.parametrize('method', ['simplex', 'directions'])
def test_minimise_finds_the_least_value_and_passes_on_what_is_raised(method, capfd):
    rosenbrock = lambda x: (1 - x[0]) ** 2 + 100 * (x[1] - x[0] ** 2) ** 2  # noqa: E731
    least = minimise(rosenbrock, [-1.2, 1], method=method, tolerance=1e-10)
    assert least.converged and np.allclose(least.x, 1, atol=1e-3) and least.value == rosenbrock(least.x)
    for stop in (ZeroDivisionError, KeyboardInterrupt):
        calls = []

        def function(x):
            calls.append(x)
            if len(calls) == 5:
                raise stop('mine')
            return float(x @ x)

        with pytest.raises(stop, match='mine') as caught:
            minimise(function, [1, 2, 3], method=method)
        assert len(calls) == 5 and any(entry.name == 'function' for entry in caught.traceback)
    assert capfd.readouterr() == ('', '')


def test_minimise_inside_minimise():
    inner = lambda y: minimise(lambda x: (x[0] - y[0]) ** 2, [0.0]).value + (y[0] - 2) ** 2  # noqa: E731
    assert np.allclose(minimise(inner, [0.0], tolerance=1e-4).x, 2, atol=1e-2)


def test_solve_finds_zeros():
    for function, lo, hi, root in ((np.cos, 0, 3, np.pi / 2), (lambda x: x**9, -1, 2, 0),
                                   (lambda x: x - 1e8, 0, 1e9, 1e8), (lambda x: np.exp(x) - 5, -50, 50, np.log(5))):
        assert np.isclose(solve(function, lo, hi), root, atol=1e-4)
    refused(ValueError, 'no different signs', solve, lambda x: x * x + 1, -1, 1)


def test_random_numbers_are_the_librarys():
    numbers = random_numbers(7, 1000)
    state = 7
    for number in numbers:
        state = 16807 * state % (2**31 - 1)
        assert number == np.float32(state * 2.0**-31)
    assert len(random_numbers(-1, 0)) == 0


# Of the 34 pairs published with the formula those that tell its branches apart.
PAIRS = [((50, 2.6772, -79.7751), (50, 0, -82.7485), 2.0425), ((50, -1, 2), (50, 0, 0), 2.3669),
         ((50, 2.49, -0.001), (50, -2.49, 0.0009), 7.1792), ((50, 2.49, -0.001), (50, -2.49, 0.0011), 7.2195),
         ((50, -0.001, 2.49), (50, 0.0009, -2.49), 4.8045), ((50, -0.001, 2.49), (50, 0.0011, -2.49), 4.7461),
         ((50, 2.5, 0), (73, 25, -18), 27.1492), ((50, 2.5, 0), (56, -27, -3), 31.9030),
         ((60.2574, -34.0099, 36.2677), (60.4626, -34.1751, 39.4387), 1.2644),
         ((22.7233, 20.0904, -46.6940), (23.0331, 14.9730, -42.5619), 2.0373),
         ((90.8027, -2.0831, 1.4410), (91.1528, -1.6435, 0.0447), 1.4441), ((2.0776, 0.0795, -1.1350),
                                                                           (0.9033, -0.0636, -0.5514), 0.9082)]


def test_delta_e_2000_gives_the_published_differences():
    first, second, expected = (np.array(column) for column in zip(*PAIRS))
    assert np.abs(delta_e_2000(first, second) - expected).max() < 5e-5
    assert np.allclose(delta_e_2000(second, first), delta_e_2000(first, second))
    assert delta_e_2000(first[:, None], second[None]).shape == (12, 12) and delta_e_2000(first[0], first[0]) == 0
    refused(ValueError, r'colours of shape \(.., 3\)', delta_e_2000, [1, 2], [3, 4])
