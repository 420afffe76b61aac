"""Work given to the workers of a Dask cluster, with a limit for every wait."""

from __future__ import annotations

import asyncio
import logging
import os
import queue
import shutil
import sys
import tempfile
import time
import uuid
from collections import deque
from contextlib import ExitStack, contextmanager, suppress
from typing import TYPE_CHECKING, Any, Callable, Iterator, Sequence

from ._library import TeskaError

if TYPE_CHECKING:
    from distributed import Client

_PATIENCE = 10.0    # seconds for an answer of the scheduler
_START = 60.0       # seconds for the first worker to start
_DRAIN = 15.0       # seconds that running tasks are waited for after a failure
_AHEAD = 4          # tasks for each thread of the workers: one runs, others wait there and at the scheduler


class Killed(Exception):
    """The outcome of a task whose workers died, even when it was run alone."""


class Tasks:
    """Calls of one function for many arguments.

    Not all are sent at once: a worker's death is counted against every task that it holds, and the scheduler gives up
    a task that has been held too often (KilledWorker). Which of several ends its workers shows when each is run alone,
    after all others.

    Parameters:
        client: of dask.distributed
        what: what messages call a task
        function: of a module that workers can import; may be run several times for the same arguments
        calls: number and arguments of each task
        timeout: seconds without a finished task after which outcomes() raises TeskaError
    """

    def __init__(self, client: Client, what: str, function: Callable[..., Any],
                 calls: Sequence[tuple[int, tuple[Any, ...]]], timeout: float) -> None:
        self._client, self._what, self._function, self._timeout = client, what, function, timeout
        self._arguments = dict(calls)
        self._finished: queue.SimpleQueue[Any] = queue.SimpleQueue()
        self._flying: dict[str, tuple[Any, int]] = {}
        self._name = f'teska-{what}-{uuid.uuid4().hex}'
        self._sent = 0
        self._threads, self._asked = 0, -1e9

    def _ask(self, call: Callable[[], Any]) -> Any:
        """A call of the client's that waits no longer than _PATIENCE."""
        return self._client.sync(call, callback_timeout=_PATIENCE)

    def _window(self) -> int:
        """How many tasks may be under way; workers come and go."""
        if time.monotonic() - self._asked > 2:
            with suppress(OSError, asyncio.TimeoutError):
                self._threads = sum(self._ask(lambda: self._client.nthreads()).values())
            self._asked = time.monotonic()
        return _AHEAD * max(1, self._threads)

    def _send(self, number: int) -> None:
        self._sent += 1
        future = self._client.submit(self._function, *self._arguments[number], key=f'{self._name}-{self._sent}',
                                     pure=False)
        self._flying[future.key] = (future, number)
        future.add_done_callback(self._finished.put)

    def _batch(self) -> list[Any]:
        """What has finished since the last call; waits for the first one."""
        end = time.monotonic() + self._timeout
        while True:
            try:
                batch = [self._finished.get(timeout=min(1.0, self._timeout))]
                break
            except queue.Empty:
                if self._client.status not in ('running', 'connecting'):
                    raise TeskaError(f'the connection to the scheduler is lost ({self._client.status})') from None
                if time.monotonic() > end:
                    self._asked = -1e9
                    self._window()
                    raise TeskaError(f'no {self._what} was finished in {self._timeout:g} s; {len(self._flying)} under '
                                     f'way, {self._threads} threads of workers') from None
        with suppress(queue.Empty):
            while True:
                batch.append(self._finished.get_nowait())
        return [future for future in batch if future.key in self._flying]

    def _handle(self, batch: list[Any]) -> Iterator[tuple[int, Any]]:
        """The outcomes of what has finished; KilledWorker for what the scheduler gave up."""
        good = []
        for future in batch:
            status = future.status  # it changes meanwhile
            if status == 'finished':
                good.append(future)
                continue
            number = self._flying.pop(future.key)[1]
            if status == 'lost':  # what it gave was on a worker that has died since
                self._send(number)
            elif status == 'error':
                yield number, future.exception(timeout=_PATIENCE)
            else:
                raise TeskaError(f'the scheduler is lost, or has dropped a {self._what}')
        values: list[Any] = []
        if good:
            with suppress(OSError, asyncio.TimeoutError):
                values = self._ask(lambda: self._client.gather(good, errors='skip'))
        if len(values) != len(good):  # what some gave was lost with their worker
            values = []
        numbers = [self._flying.pop(future.key)[1] for future in good]
        for number in numbers[len(values):]:
            self._send(number)
        yield from zip(numbers, values)

    def outcomes(self) -> Iterator[tuple[int, Any]]:
        """Number and result of each task as they come: what the function gave, the exception it raised, or Killed.
        Raises TeskaError when the scheduler is lost, and when nothing goes on."""
        try:
            yield from self._outcomes()
        except OSError as error:  # of connections; files are the business of the tasks
            raise TeskaError(f'the scheduler is lost ({error})') from error

    def _outcomes(self) -> Iterator[tuple[int, Any]]:
        from distributed import KilledWorker
        waiting, suspects, alone = deque(self._arguments), deque[int](), False
        while waiting or suspects or self._flying:
            while waiting and len(self._flying) < self._window():
                self._send(waiting.popleft())
            if not self._flying:
                alone = True
                self._send(suspects.popleft())
            for number, outcome in self._handle(self._batch()):
                if isinstance(outcome, KilledWorker) and not alone:
                    suspects.append(number)
                else:
                    yield number, Killed(str(outcome)) if isinstance(outcome, KilledWorker) else outcome

    def drain(self) -> None:
        """Waits a while for tasks that are running, and gives up the others."""
        end = time.monotonic() + _DRAIN
        while (left := [future for future, _ in self._flying.values() if not future.done()]) and time.monotonic() < end:
            with suppress(queue.Empty):
                self._finished.get(timeout=0.1)
        with suppress(OSError, asyncio.TimeoutError):
            self._ask(lambda: self._client.cancel(left))

    def retried(self) -> int | None:
        """How many tasks the scheduler took back from lost workers; None where it did not say."""
        try:
            events = self._ask(lambda: self._client.get_events('all'))
        except (OSError, asyncio.TimeoutError):
            return None
        lost = [event for _, event in events if isinstance(event, dict) and event.get('action') == 'remove-worker']
        return sum(str(key).startswith(self._name) for event in lost for key in event.get('processing-tasks', ()))


def cores() -> int:
    """How many cores this process may use."""
    return len(os.sched_getaffinity(0)) if hasattr(os, 'sched_getaffinity') else os.cpu_count() or 1


@contextmanager
def local_client(most: int) -> Iterator[Client]:
    """A cluster of this machine's cores, a process for each, but not more than `most`."""
    import dask
    from distributed import Client, LocalCluster
    main = getattr(sys.modules['__main__'], '__file__', None)
    if main is not None and not os.path.exists(main):
        raise ValueError(f'convert: the program is {main}; workers start it anew and need a file, '
                         "with its work under if __name__ == '__main__'")
    folder = tempfile.mkdtemp(prefix='teska-')
    with ExitStack() as stack:
        stack.callback(shutil.rmtree, folder, ignore_errors=True)
        # A local cluster looks some seconds after the death of a worker whether it is there again, and gives it up for
        # good when it is not: on a busy machine, or when it has died once more.
        stack.enter_context(dask.config.set({'distributed.deploy.lost-worker-timeout': '1 day'}))
        # Maps of files would count against a limit of memory.
        cluster = LocalCluster(n_workers=0, threads_per_worker=1, processes=True, memory_limit=0,
                               dashboard_address=':0', local_directory=folder, silence_logs=logging.CRITICAL)
        stack.callback(_quietly, cluster.close, timeout=_DRAIN)
        client = Client(cluster, timeout=3 * _PATIENCE)
        stack.callback(_quietly, client.close, timeout=_PATIENCE)
        # Workers that cannot start are started again without end; so this wait has a limit, and the cluster none.
        cluster.scale(min(cores(), most))
        try:
            client.wait_for_workers(1, timeout=_START)
        except (OSError, asyncio.TimeoutError):
            raise TeskaError(f'no worker has started in {_START:g} s; they run the program anew: its work has to be '
                             "under if __name__ == '__main__'") from None
        yield client


@contextmanager
def client_in_threads(threads: int) -> Iterator[Client]:
    """A cluster in this process: for tasks that start programs."""
    from distributed import Client, LocalCluster
    with ExitStack() as stack:
        cluster = LocalCluster(n_workers=1, threads_per_worker=threads, processes=False, memory_limit=0,
                               dashboard_address=':0', silence_logs=logging.CRITICAL)
        stack.callback(_quietly, cluster.close, timeout=_DRAIN)
        client = Client(cluster, timeout=3 * _PATIENCE)
        stack.callback(_quietly, client.close, timeout=_PATIENCE)
        yield client


@contextmanager
def client_of(address: str) -> Iterator[Client]:
    """The client of a scheduler that runs somewhere."""
    from distributed import Client
    client = Client(address, timeout=_PATIENCE)
    try:
        yield client
    finally:
        _quietly(client.close, timeout=_PATIENCE)


def _quietly(close: Callable[..., object], **options: object) -> None:
    with suppress(Exception):
        close(**options)
