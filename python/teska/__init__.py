"""Building blocks for colour management, printing and imaging.

    >>> import teska
    >>> table = teska.ByteTable.from_function(lambda rgb: 255 - rgb, 3, 3)
    >>> table(np.zeros((480, 640, 3), 'uint8')).max()
    255

Tables convert pixels: ByteTable, ShortTable, DoubleTable, Clut. Bodies in colour space: Hull, Volume, TopSurface.
Curves: Curve. Images: resize, sharpen, flood, and line by line Resize, Sharpen. Files: Archive, Records. Numbers:
fit_line, minimise, solve, random_numbers, delta_e_2000. Modules of their own, imported when asked for: teska.plot
(matplotlib), teska.icc (Pillow), teska.distributed (Dask).
"""

from ._library import TeskaError, TeskaFileError, TeskaMemoryError, library_version
from .curves import Curve
from .files import Archive, Records
from .geometry import Hull, TopSurface, Volume
from .image import Resize, Sharpen, flood, resize, sharpen
from .numeric import delta_e_2000, fit_line, minimise, random_numbers, solve
from .tables import ByteTable, Clut, DoubleTable, Lut3d, ShortTable

__version__ = '1.0.0'

__all__ = ['Archive', 'ByteTable', 'Clut', 'Curve', 'DoubleTable', 'Hull', 'Lut3d', 'Records', 'Resize', 'Sharpen',
           'ShortTable', 'TeskaError', 'TeskaFileError', 'TeskaMemoryError', 'TopSurface', 'Volume', 'delta_e_2000',
           'fit_line', 'flood', 'library_version', 'minimise', 'random_numbers', 'resize', 'sharpen', 'solve']
