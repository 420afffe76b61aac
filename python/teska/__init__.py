"""TESKA: building blocks for colour management, printing and imaging."""

from ._library import TeskaError, TeskaFileError, TeskaMemoryError, library_version
from .tables import ByteTable, Clut, DoubleTable, ShortTable
