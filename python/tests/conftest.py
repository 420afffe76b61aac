"""What the tests share."""

import contextlib
import faulthandler
import logging
import os
import signal
import sys
from pathlib import Path

import numpy as np
import pytest

os.environ.setdefault('MPLBACKEND', 'Agg')
sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from teska import ByteTable, ShortTable  # noqa: E402


LIMIT = 90  # seconds for a test with other processes; on an idle machine it takes two


@pytest.fixture
def limited():
    """Ends a test that hangs; where even that hangs, the whole run."""
    def end(*_):
        raise TimeoutError(f'the test takes more than {LIMIT} s')
    before = signal.signal(signal.SIGALRM, end)
    signal.alarm(LIMIT)
    faulthandler.dump_traceback_later(LIMIT + 60, exit=True)
    yield
    signal.alarm(0)
    signal.signal(signal.SIGALRM, before)
    faulthandler.cancel_dump_traceback_later()


@pytest.fixture(scope='session')
def client(tmp_path_factory):
    """Of a cluster of two workers. A task that has ended two workers is given up, a worker never."""
    import dask
    import distributed
    with dask.config.set({'distributed.scheduler.allowed-failures': 1,
                          'distributed.deploy.lost-worker-timeout': '1 day'}):
        cluster = distributed.LocalCluster(
            n_workers=2, threads_per_worker=1, dashboard_address=':0', memory_limit=0, silence_logs=logging.CRITICAL,
            local_directory=str(tmp_path_factory.mktemp('workers')))
        connected = distributed.Client(cluster, timeout=60)
        yield connected
        for close in (connected.close, cluster.close):
            with contextlib.suppress(Exception):
                close(timeout=10)


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
