"""The life of an object that holds a record of the library: open, closed, pickled."""

from __future__ import annotations

from abc import abstractmethod
from types import TracebackType
from typing import Any, Callable, TypeVar

import numpy as np
from numpy.typing import NDArray

Self = TypeVar('Self', bound='Handle')


class Handle:
    """Holds a record of the library until it is closed; as a context manager until the end of the block."""

    __slots__ = ()
    _record: Any

    @property
    def _label(self) -> str:
        """What messages call the object."""
        return type(self).__name__

    def close(self) -> None:
        """Gives the object up: what needs the library raises ValueError from now on, arrays that it gave stay valid.
        May be called again."""
        self._record = None

    def __enter__(self: Self) -> Self:
        self._open()
        return self

    def __exit__(self, kind: type[BaseException] | None, value: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def _open(self) -> Any:
        """The record; ValueError "X is closed" without one."""
        if self._record is None:
            raise ValueError(f'{self._label} is closed')
        return self._record


class Value(Handle):
    """A handle that is compared and pickled by its contents."""

    __slots__ = ('_record', '__dict__', '__weakref__')
    __hash__ = None  # type: ignore[assignment]

    @abstractmethod
    def _pickled(self) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        """The function that makes the object again, and its arguments after the class."""

    def __reduce_ex__(self, protocol: Any) -> tuple[Any, ...]:
        if int(protocol) < 2:
            raise TypeError(f'{self._label}: protocol 2 and up can pickle it')
        rebuild, contents = self._pickled()
        return rebuild, (type(self), *contents), self.__dict__ or None


def floats_of(data: bytes, order: str) -> NDArray[np.float64]:
    """The numbers of a pickle that was made in that byte order, sys.byteorder there."""
    return np.frombuffer(data, '<f8' if order == 'little' else '>f8').astype(float)
