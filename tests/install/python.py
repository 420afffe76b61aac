"""The installed Python package as a new user meets it: a table, a hull, a folder of pictures, tiles.

    python.py FOLDER        FOLDER is made
"""

import os
import subprocess
import sys

import numpy as np

import teska
import teska.distributed


def main():
    folder = sys.argv[1]
    os.makedirs(os.path.join(folder, 'in'))
    negative = teska.ByteTable.from_function(lambda rgb: 255 - rgb, 3, 3)
    pixels = np.random.default_rng(1).integers(0, 256, (100, 150, 3)).astype('uint8')
    assert abs(negative(pixels).astype(int) + pixels - 255).max() <= 1
    assert teska.Hull(np.eye(4)[:, :3]).volume > 0.16
    for name in ('a.ppm', 'b.ppm'):
        with open(os.path.join(folder, 'in', name), 'wb') as file:
            file.write(b'P6 150 100 255 ' + pixels.tobytes())
    pictures = [os.path.join(folder, name) for name in ('in', 'batch', 'plain')]
    options = ['--to', 'linear', '--format', 'tiff', '--quiet']
    subprocess.run(['teska-batch', *pictures[:2], *options], check=True, timeout=120)
    subprocess.run(['teska', 'convert', pictures[0], pictures[2], *options], check=True)
    for name in ('a.tif', 'b.tif'):
        contents = [open(os.path.join(picture, name), 'rb').read() for picture in pictures[1:]]
        assert contents[0] == contents[1], name
    source, target = os.path.join(folder, 'in.npy'), os.path.join(folder, 'out.npy')
    np.save(source, pixels)
    done = teska.distributed.convert(source, target, negative, tile=(64, 64))
    assert done.tiles == 6 and np.array_equal(np.load(target), negative(pixels))
    print('teska for Python', teska.library_version())


if __name__ == '__main__':
    main()
