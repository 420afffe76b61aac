"""The loaded library: where it was found, its functions, and its errors as exceptions."""

from __future__ import annotations

import os
import re
from pathlib import Path
from typing import Any, Callable, Iterator

import cffi

from . import _declarations

SONAME = 'libTESKAShared.so.1'
COMPANIONS = ('libWEMShared.so.1', 'libLOPRAShared.so.1', 'libZUKShared.so.1')  # each needs those before it
WANTED = 1  # the major version of the declarations

# What every program uses is declared at once, the rest when the first of its functions is asked for: the parser of
# declarations takes longer than everything else of an import.
_FIRST = ('teska_version.h', 'error_mess.h', 'md_tetrab.h', 'md_tetras.h', 'md_tetrad.h', 'clut_table.h',
          'convert_rows.h')


class TeskaError(Exception):
    """What the library reports when a call fails.

    Attributes:
        text: the library's own line, or lines, nothing added
    """

    def __init__(self, text: str) -> None:
        super().__init__(text)
        self.text = text

    def __str__(self) -> str:
        return self.text

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.text,)


class TeskaMemoryError(TeskaError, MemoryError):
    """The library found no memory."""


class TeskaFileError(TeskaError, OSError):
    """A file that the library could not read or write.

    Attributes:
        filename: the file
        errno: the number of the system's error where it is known, else None
    """

    def __init__(self, text: str, filename: str | None = None, errno: int | None = None) -> None:
        super().__init__(text)
        self.filename = filename
        self.errno = errno  # type: ignore[assignment]

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.text, self.filename, self.errno)


_NO_MEMORY = re.compile(r'insuff|malloc|no(t enough| more|) *(memory|resources|mem\b)|out of mem|allocation failed',
                        re.IGNORECASE)
_FRAME = re.compile(r"^ERROR : '(.*?)'?$", re.DOTALL)


class _Library:
    """The functions of the library by their names."""

    def __init__(self) -> None:
        self.ffi = cffi.FFI()
        text = _declarations.TEXT
        constants, *parts = re.split(r'^/\* (\S+) \*/\n', text, flags=re.MULTILINE)
        self._parts = dict(zip(parts[::2], parts[1::2]))
        self._declare(constants, [name for name in self._parts if name in _FIRST])
        self.path, self._functions = self._load()

    def _declare(self, constants: str, names: list[str]) -> None:
        self.ffi.cdef(constants + ''.join(self._parts.pop(name) for name in names))

    def __getattr__(self, name: str) -> Any:
        try:
            value = getattr(self._functions, name)
        except AttributeError:
            self.declare_all()
            value = getattr(self._functions, name)
        setattr(self, name, value)
        return value

    def declare_all(self) -> None:
        """Declares what is left, in the order of the headers' needs."""
        if self._parts:
            self._declare('', list(self._parts))

    @staticmethod
    def _places() -> Iterator[str]:
        if given := os.environ.get('TESKA_LIBRARY'):
            yield given
            return
        yield str(Path(__file__).parent / '.libs' / SONAME)
        yield SONAME

    def _load(self) -> tuple[str, Any]:
        tried = []
        for place in self._places():
            try:
                self._load_companions(Path(place).parent)
                functions = self.ffi.dlopen(place)
            except OSError as error:
                tried.append(f'{place} ({error})' if os.environ.get('TESKA_LIBRARY') else place)
                continue
            self._check_version(functions, place)
            return place, functions
        raise ImportError('teska: the library was not found; tried ' + ', '.join(tried) +
                          '; install it, or name the file in TESKA_LIBRARY')

    def _load_companions(self, folder: Path) -> None:
        """Loads what lies beside the library: the loader looks for its needs by their names, and so finds these."""
        if folder != Path('.'):
            self._companions = [self.ffi.dlopen(str(folder / name)) for name in COMPANIONS
                                if (folder / name).is_file()]

    def _check_version(self, functions: Any, place: str) -> None:
        version = self.ffi.string(functions.teska_version()).decode()
        if int(version.split('.')[0]) != WANTED:
            short = '.'.join(version.split('.')[:2])
            raise ImportError(f'teska: library {short} found, {WANTED}.x wanted ({place})')


lib: Any = _Library()
ffi: Any = lib.ffi
NULL: Any = ffi.NULL


def library_version() -> str:
    """The version of the library that was loaded.

    Example:
        >>> library_version().split('.')[0]
        '1'
    """
    return str(ffi.string(lib.teska_version()).decode())


def _lines() -> list[str]:
    """The lines that this thread's last calls reported, without their frame."""
    lines = []
    while (line := lib.error_get()) != NULL:
        lines.append(_FRAME.sub(r'\1', ffi.string(line).decode('utf-8', 'replace')))
    return lines


def collected(function: Callable[..., Any], *arguments: Any) -> tuple[Any, list[str]]:
    """Calls a function of the library; returns its result and the lines that it reported in this thread."""
    before = lib.error_set_thread(2)
    if before == lib.TESKA_ERROR_NO_MEMORY:
        raise TeskaMemoryError('error_set_thread: insufficient memory')
    try:
        return function(*arguments), _lines()
    finally:
        lib.error_set_thread(before)


def error(lines: list[str], otherwise: str) -> TeskaError:
    """The exception of a failed call."""
    text = '\n'.join(lines) or otherwise
    return (TeskaMemoryError if _NO_MEMORY.search(text) else TeskaError)(text)


def made(function: Callable[..., Any], kill: Callable[..., Any], *arguments: Any) -> Any:
    """A record of the library that is killed with its last user; raises when it was not made."""
    record, lines = collected(function, *arguments)
    if record == NULL:
        raise error(lines, 'the library gives no reason')
    return ffi.gc(record, kill)


class Raised:
    """Keeps the exception of a callback until the library has returned.

    No exception may pass through the library. Once one is kept, further calls of the callback give `stop` at once.
    """

    def __init__(self) -> None:
        self.error: BaseException | None = None

    def guard(self, function: Callable[..., Any], stop: Any) -> Callable[..., Any]:
        """The callback that never raises."""

        def guarded(*arguments: Any) -> Any:
            if self.error is not None:
                return stop
            try:
                return function(*arguments)
            except BaseException as error:  # KeyboardInterrupt too
                self.error = error
                return stop

        return guarded

    def again(self) -> None:
        """Raises what was kept, with its traceback."""
        if self.error is not None:
            error, self.error = self.error, None
            raise error


class Block:
    """Memory of a record as numpy sees it. The record lives as long as the last view."""

    def __init__(self, record: Any, address: int, shape: tuple[int, ...], strides: tuple[int, ...],
                 typestr: str) -> None:
        self.record = record
        self.__array_interface__ = {'version': 3, 'data': (address, False), 'shape': shape, 'strides': strides,
                                    'typestr': typestr}


def address_of(pointer: Any) -> int:
    """A pointer as a number."""
    return int(ffi.cast('uintptr_t', pointer))
