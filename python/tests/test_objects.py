"""The life of all objects: open, closed, equal, copied, pickled."""

import copy
import pickle

import numpy as np
import pytest
from conftest import filled, refused

from teska import ByteTable, Clut, Curve, DoubleTable, Hull, Resize, Sharpen, ShortTable, TopSurface, Volume


class Named(ShortTable):
    """A subclass; pickles find it by its name."""


def with_curves(table, rng, count):
    table.set_curves([rng.integers(0, 256, count).astype(table.grid.dtype), None, None])
    return table


def values(rng):
    """Objects that are compared and pickled by their contents, and a call that needs the library."""
    corners = rng.random((40, 3)) * 100
    curves = [Curve([0, 0.4, 1], [0, 0.7, 1], kind) for kind in ('lines', 'cubic', 'bezier')]
    tables = [with_curves(filled(ByteTable, rng), rng, 256), with_curves(filled(ShortTable, rng), rng, 77),
              filled(Named, rng), filled(DoubleTable, rng, lo=-3, hi=4), filled(Clut, rng, 2, 1, (3, 4))]
    bodies = [Hull(corners), Hull(corners, unit=2), Volume(corners)]
    return [*((body, lambda x: x.contains([50, 50, 50])) for body in bodies),
            *((curve, lambda x: x(0.3)) for curve in curves), *((table, lambda x: x.grid) for table in tables)]


def test_values_are_pickled_and_copied_by_their_contents_until_they_are_closed(rng):
    for value, call in values(rng):
        name, shown = type(value).__name__, repr(value)
        value.note = ['mine']
        for again in (*(pickle.loads(pickle.dumps(value, protocol)) for protocol in (2, 5)), copy.deepcopy(value)):
            assert again == value and type(again) is type(value) and (repr(again), again.note) == (shown, ['mine'])
            assert np.array_equal(call(again), call(value)) and again.note is not value.note
        assert copy.copy(value) == value and value != 3
        refused(TypeError, f'^{name}: protocol 2 and up can pickle it$', pickle.dumps, value, 1)
        refused(TypeError, 'unhashable', hash, value)
        with value as same:
            assert same is value
        for use in (call, type(value).__enter__):
            refused(ValueError, f'^{name} is closed$', use, value)
        value.close()
        assert repr(value) == f'{name}(closed)' and call(again) is not None


def test_what_cannot_be_pickled_says_so():
    for thing, call in ((Resize((4, 4), (2, 2)), lambda x: x.feed(np.zeros(4, 'u1'))),
                        (Sharpen((4, 4)), lambda x: x.feed(np.zeros(4, 'u1'))),
                        (TopSurface(lambda rgb: rgb * [90, 50, 50], [[1, 0]] * 3), lambda x: x.edge(1.0))):
        name = type(thing).__name__
        for protocol in (1, 4):
            refused(TypeError, f'^cannot pickle an? (open )?{name}', pickle.dumps, thing, protocol)
        refused(TypeError, f'^cannot (copy|pickle) an? (open )?{name}', copy.copy, thing)
        assert name == 'TopSurface' or repr(thing).endswith('# 0 of 4 lines fed')
        with pytest.raises(ZeroDivisionError):
            with thing:
                1 // 0
        for use in (call, type(thing).__enter__):
            refused(ValueError, f'^{name} is closed$', use, thing)
        assert repr(thing) == f'{name}(closed)'


def test_pickles_of_the_other_byte_order_and_damaged_ones(rng):
    for value, numbers in ((filled(ShortTable, rng, 1, 1, 3), 'u2'), (Curve([0, 1], [2, 3]), 'f8'),
                           (Hull(rng.random((9, 3)) * 100), 'f8')):
        rebuild, (cls, *state), _ = value.__reduce_ex__(4)

        def changed(of_bytes):
            return [of_bytes(part) if isinstance(part, bytes) else {'little': 'big', 'big': 'little'}.get(part, part)
                    if isinstance(part, str) else part for part in state]

        assert rebuild(cls, *changed(lambda part: np.frombuffer(part, numbers).byteswap().tobytes())) == value
        refused(ValueError, f'^{cls.__name__}: damaged pickle', rebuild, cls, *changed(lambda part: part[:-1]))
