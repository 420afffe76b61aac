"""What the tests share."""

import os
import sys
from pathlib import Path

import numpy as np
import pytest

os.environ.setdefault('MPLBACKEND', 'Agg')
sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from teska import ByteTable, ShortTable  # noqa: E402


@pytest.fixture
def rng():
    """Random numbers, the same every time."""
    return np.random.default_rng(17)


def filled(cls, rng, inputs=3, outputs=4, points=5, **options):
    """A table of random values."""
    table = cls(inputs, outputs, points, **options)
    if table.grid.dtype.kind == 'f':
        table.grid[...] = rng.random(table.grid.shape)
    else:
        table.grid[...] = rng.integers(0, np.iinfo(table.grid.dtype).max + 1, table.grid.shape)
    return table


def refused(error, text, call, *arguments, **options):
    """The error of a call that has to fail with it; text is a pattern for what it says."""
    with pytest.raises(error, match=text) as caught:
        call(*arguments, **options)
    return caught.value


@pytest.fixture
def byte_table(rng):
    """3 to 4, bytes."""
    return filled(ByteTable, rng)


@pytest.fixture
def short_table(rng):
    """3 to 4, 16 bits."""
    return filled(ShortTable, rng)
