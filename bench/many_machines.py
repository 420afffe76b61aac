#!/usr/bin/env python3
"""What the scheduler costs a tile, and what workers gain: the figures of docs/guides/many_machines.md.

    bench/many_machines.py FOLDER [SIDE]

FOLDER takes a picture of SIDE x SIDE pixels (8192: 192 MiB, and 256 MiB of result). Each figure is the best of three.
"""

import os
import sys
import time

import numpy as np

import teska
from teska import distributed


def best(run):
    return min(run() for _ in range(3))


def seconds(client, source, target, table, tile):
    """Without the start of the cluster."""
    begun = time.perf_counter()
    distributed.convert(source, target, table, client=client, tile=tile, overwrite=True)
    return time.perf_counter() - begun


def alone(source, target, table, tile):
    """The same tiles in this process, one after another."""
    picture = distributed._stores.source(source, None, None)
    plan = distributed._planned(picture, target, table, tile)
    begun = time.perf_counter()
    if os.path.exists(target):
        os.unlink(target)
    distributed._stores.create(plan.picture, None)
    for index in range(len(plan)):
        distributed.convert_tile(table, picture, plan, *plan.box(index))
    return time.perf_counter() - begun


def idle_tasks(client, count):
    """As many tasks that do nothing, sent at once."""
    begun = time.perf_counter()
    client.gather(client.map(os.path.basename, [f'{time.time()} {k}' for k in range(count)], pure=False))
    return time.perf_counter() - begun


def main():
    from dask.distributed import Client, LocalCluster
    folder, side = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 8192
    source, small, target = (os.path.join(folder, name) for name in ('in.npy', 'small.npy', 'out.npy'))
    rng = np.random.default_rng(1)
    np.save(source, np.resize(rng.integers(0, 256, (1024, side, 3)).astype('u1'), (side, side, 3)))
    np.save(small, np.zeros((320, 400, 3), 'u1'))
    table = teska.ShortTable(3, 4, 33)
    table.grid[...] = rng.integers(0, 65536, table.grid.shape)
    pixels, tiles = np.load(source), 500
    begun = time.perf_counter()
    table(pixels)
    print(f'conversion alone: {side * side / (time.perf_counter() - begun) / 1e6:.0f} Mpx/s')
    for edge in (1024, 2048):
        print(f'one process, tiles of {edge}: {best(lambda: alone(source, target, table, (edge, edge))):.2f} s')
    for workers in (1, 2, 4):
        with LocalCluster(n_workers=workers, threads_per_worker=1, memory_limit=0, dashboard_address=':0',
                          local_directory=folder) as cluster, Client(cluster) as client:
            client.wait_for_workers(workers)
            cost = best(lambda: seconds(client, small, target, table, (16, 16))) / tiles
            times = [best(lambda: seconds(client, source, target, table, (edge, edge))) for edge in (1024, 2048)]
            plain = best(lambda: idle_tasks(client, tiles)) / tiles
            print(f'{workers} workers: {1000 * cost:.2f} ms a tile of 16 x 16 ({1000 * plain:.2f} ms a task that does '
                  f'nothing), {times[0]:.2f} s in tiles of 1024, '
                  f'{times[1]:.2f} s in tiles of 2048')


if __name__ == '__main__':
    main()
