"""Hulls, volumes and the light side of a gamut."""

import numpy as np
import pytest
from conftest import refused

from teska import Hull, TeskaError, TopSurface, Volume
from teska._library import ffi, lib


def ball(rng, count=400):
    """Points in a ball of radius 50 around (50, 0, 0)."""
    points = rng.normal(size=(count, 3))
    return points / np.linalg.norm(points, axis=1)[:, None] * 50 * rng.random((count, 1)) ** 0.3 + [50, 0, 0]


def sampled_nearest(triangles, point):
    """The least distance to dense samples of the triangles: never below the true one."""
    u, v = np.meshgrid(np.linspace(0, 1, 60), np.linspace(0, 1, 60))
    u, v = np.where(u + v > 1, 1 - u, u).ravel(), np.where(u + v > 1, 1 - v, v).ravel()
    weights = np.stack([1 - u - v, u, v], axis=1)
    return np.linalg.norm(np.einsum('sk,fkc->fsc', weights, triangles) - point, axis=2).min()


def test_a_hull_is_that_of_the_library_and_closed(rng):
    points = ball(rng)
    hull = Hull(points)
    record = lib.convex_hull_new()
    lib.convex_hull_add_points(record, ffi.new('double[]', points.ravel().tolist()), len(points))
    lib.convex_hull_construct(record)
    assert lib.convex_hull_get_volume(record) == hull.volume and lib.convex_hull_get_area(record) == hull.area
    assert len(hull.faces) == lib.convex_hull_get_nr_faces(record) == 2 * len(hull.vertices) - 4
    inside = [lib.convex_hull_inside(record, ffi.new('double[]', p)) for p in (points * 1.05).tolist()]
    assert hull.contains(points * 1.05).tolist() == [bool(k) for k in inside] and not all(inside)
    lib.convex_hull_kill(record)
    corners = hull.vertices[hull.faces]
    normals = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    assert (np.einsum('fc,fc->f', normals, corners[:, 0] - points.mean(axis=0)) > 0).all()  # outward
    assert hull.faces.dtype == np.int32 and np.array_equal(np.asarray(hull), hull.vertices)


def test_nearest_points_are_the_nearest(rng):
    for body in (Hull(ball(rng, 60)), Volume(ball(rng, 60))):
        triangles = body.triangles if isinstance(body, Volume) else body.vertices[body.faces]
        points = np.vstack([ball(rng, 20) * 1.5, [[50, 0, 0], [np.nan, 0, 0]]])
        found, distance = body.nearest(points)
        inside = body.contains(points)
        assert inside[-2] and not inside[-1] and np.isnan(distance[-1]) and np.isnan(found[-1]).all()
        assert np.array_equal(found[inside], points[inside]) and (distance[inside] == 0).all()
        for point, near, far in zip(points[:-2][~inside[:-2]], found[:-2][~inside[:-2]], distance[:-2][~inside[:-2]]):
            assert np.isclose(np.linalg.norm(point - near), far)
            assert far - 1e-9 <= sampled_nearest(triangles, point) <= far + 1.5
            assert sampled_nearest(triangles, near) < 1.0
        one, d = body.nearest(points[0])
        assert one.shape == (3,) and d.shape == () and np.array_equal(one, found[0])
        assert body.contains(points[0]).shape == () and body.nearest(np.zeros((0, 3)))[0].shape == (0, 3)


def test_small_and_large_coordinates_have_hulls_too(rng):
    points = ball(rng)
    usual = Hull(points)
    for scale in (0.01, 655.36):
        other = Hull(points * scale)
        assert len(other.vertices) > 0.9 * len(usual.vertices)
        assert np.isclose(other.volume, usual.volume * scale**3, rtol=0.01)


def test_flat_points_have_no_body():
    flat = [(x, y, 0) for x in (0, 50, 100) for y in (0, 50, 100)]
    for cls in (Hull, Volume):
        refused(TeskaError, f'^{cls.__name__}: the points span no volume$', cls, flat)
        refused(ValueError, f'{cls.__name__}: points of 3 coordinates wanted, last axis is 2 of', cls, np.zeros((5, 2)))
        refused(TypeError, f'{cls.__name__}: masked points', cls, np.ma.masked_greater(np.array(flat), 60))


def test_a_volume_is_filled_without_gap(rng):
    points = ball(rng, 100)
    body = Volume(points)
    assert np.isclose(body.volume, Hull(points).volume, rtol=1e-3)
    inside = points[:50] * 0.5 + [25, 0, 0]
    index, weights = body.locate(inside)
    assert (index >= 0).all() and np.allclose(np.einsum('nk,nkc->nc', weights, body.tetrahedra[index]), inside)
    index, weights = body.locate([500, 0, 0])
    assert index == -1 and np.isnan(weights).all()


def press(device):
    """Three inks that take light away, one after the other."""
    left = np.array([1.0, 1.0, 1.0])
    for k, amount in enumerate(1 - device[:3]):
        left[k] *= 1 - 0.9 * amount
    r, g, b = left
    return [30 * r + 59 * g + 11 * b, 80 * r - 75 * g - 5 * b, 40 * r + 50 * g - 90 * b]


def test_the_light_side_of_a_gamut(rng):
    top = TopSurface(press, [[1, 0.5, 0]] * 3, steps=61)
    assert top.parts.shape == (3, 3) and (top.parts == -1).sum() == 6 and top.triangles.shape[1:] == (3, 3)
    colours = rng.random((5, 4, 3)) * [40, 20, 20] + [40, -10, -10]
    for smaller in (False, True):
        norm, penalty = top.normalise(colours, smaller=smaller)
        assert norm.shape == colours.shape and penalty.shape == (5, 4)
        fine = penalty == 0
        assert fine.any() and np.allclose(top.colours(norm, smaller=smaller)[fine], colours[fine])
    angle, height = top.edge(1.0)
    assert 0 < angle < np.pi / 2 and height > 0


def test_what_a_device_raises_comes_through():
    for stop in (ZeroDivisionError, KeyboardInterrupt):
        def device(values):
            raise stop('mine')

        with pytest.raises(stop, match='mine') as caught:
            TopSurface(device, [[1, 0]] * 3)
        assert any(entry.name == 'device' for entry in caught.traceback)
    wrong = r'the device gave the shape \(2,\), \(3,\) wanted'
    refused(ValueError, wrong, TopSurface, lambda values: [1, 2], [[1, 0]] * 3)
    refused(TeskaError, 'Invalid Parameters', TopSurface, press, [[1, 0]] * 3, vertical=7)
