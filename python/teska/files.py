"""Files: archives of entries with names, and record files."""

from __future__ import annotations

import os
from collections.abc import Iterator, Mapping
from types import TracebackType
from typing import Any, Union

from ._library import NULL, TeskaFileError, collected, error, ffi, lib
from ._object import Handle

Path = Union[str, 'os.PathLike[str]']

_NO_MEMORY, _END = 6, 9


class _File(Handle):
    """A handle of an open file."""

    def close(self) -> None:
        """Closes the file; what was not flushed is lost. May be called again."""
        if self._record is not None:
            ffi.release(self._record)
            self._record = None

    def __reduce_ex__(self, protocol: Any) -> tuple[Any, ...]:
        raise TypeError(f'cannot pickle an open {self._label}')


class Archive(_File):
    """An archive: entries with names, one after another in a file.

    Parameters:
        path: the file
        mode: 'r' to read; 'x' to create, FileExistsError where there is one; 'w' to create or replace
        description: text of at most 199 bytes, stored in a new archive

    An entry is in the file when the call that adds it returns. Used by one thread at a time.

    Example:
        >>> import tempfile, os
        >>> path = os.path.join(tempfile.mkdtemp(), 'proofs.fp')
        >>> with Archive(path, 'x', 'proofs of May') as archive:
        ...     archive.write('readme.txt', b'seen')
        >>> with Archive(path) as archive:
        ...     archive.names(), archive.read('readme.txt'), archive.description
        (['readme.txt'], b'seen', 'proofs of May')
    """

    _label = 'Archive'

    def __init__(self, path: Path, mode: str = 'r', description: str = '') -> None:
        self._record: Any = None
        self.path, self.mode = os.fspath(path), mode
        if mode not in ('r', 'x', 'w'):
            raise ValueError(f"Archive: mode {mode!r}; 'r', 'x' or 'w' wanted")
        name, text = os.fsencode(self.path), description.encode()
        if b'\0' in name or b'\0' in text:
            raise ValueError('Archive: a zero byte in the path or the description')
        if len(text) > 199:
            raise ValueError(f'Archive: a description of at most 199 bytes wanted, not {len(text)}')
        if mode == 'x':
            # Only the one who makes the file may go on.
            os.close(os.open(self.path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o666))
        elif mode == 'r':
            os.stat(self.path)
        self._names: list[str] | None = [] if mode != 'r' else None
        self._next = 0
        self._record = self._opened(name, text)

    def _opened(self, name: bytes, text: bytes) -> Any:
        code = ffi.new('int *')
        if self.mode == 'r':
            record, lines = collected(lib.archive_open, name, code)
        else:
            record, lines = collected(lib.archive_create, name, text, code)
        if record == NULL:
            if code[0] == _NO_MEMORY:
                raise error(lines, 'archive_open: insufficient memory')
            why = {2: 'Cannot open file', 3: 'Cannot create archive', 5: 'Not a FilePacker archive'}
            raise TeskaFileError(f"{why.get(code[0], lines[0] if lines else 'failed')}: {self.path}", self.path)
        return ffi.gc(record, lib.archive_kill)

    def _open(self, writing: bool | None = None) -> Any:
        record = super()._open()
        if writing is not None and writing != (self.mode != 'r'):
            raise ValueError(f"Archive: opened to {'write' if self.mode != 'r' else 'read'} (mode {self.mode!r})")
        return record

    def _failure(self, code: int) -> Exception:
        text = ffi.new('char[]', lib.ARCHIVE_TEXT_SIZE)
        lib.archive_get_error(self._record, text)
        line = ffi.string(text).decode('utf-8', 'replace')
        return error([line], line) if code == _NO_MEMORY else TeskaFileError(line, self.path)

    @property
    def description(self) -> str:
        """The archive's description."""
        text = ffi.new('char[]', lib.ARCHIVE_NAME_SIZE)
        lib.archive_get_description(self._open(), text)
        return str(ffi.string(text).decode('utf-8', 'replace'))

    # ---- Writing

    def _new_name(self, name: str) -> bytes:
        stored = name.replace('\\', '/')
        encoded = stored.encode('utf-8', 'surrogateescape')
        if not 1 <= len(encoded) <= 199 or b'\0' in encoded or encoded[:4].upper() == b'@END':
            raise ValueError(f'Archive: {name!r} cannot be the name of an entry: '
                             '1 to 199 bytes, not beginning with @END')
        names = self._names or []
        if stored in names:
            raise ValueError(f'Archive: there is an entry {stored!r} already')
        return encoded

    def _added(self, name: bytes, code: int) -> None:
        if code != 0:
            raise self._failure(code)
        if self._names is not None:
            self._names.append(name.decode('utf-8', 'surrogateescape'))

    def write(self, name: str, content: bytes | bytearray | memoryview) -> None:
        """Adds an entry of bytes. ValueError for a name that is there already."""
        record, encoded = self._open(True), self._new_name(name)
        block = bytes(content)
        if len(block) > 2**31 - 1:
            raise ValueError('Archive: an entry has at most 2147483647 bytes')
        self._added(encoded, lib.archive_add(record, encoded, block, len(block)))

    def add(self, path: Path, name: str | None = None) -> None:
        """Adds a file; its name is that of the path where none is given."""
        record, source = self._open(True), os.fspath(path)
        encoded = self._new_name(source if name is None else name)
        os.stat(source)
        self._added(encoded, lib.archive_add_file(record, os.fsencode(source), encoded))

    # ---- Reading

    def _entries(self) -> Iterator[tuple[str, bytes]]:
        """From where the last reading ended, to the end."""
        content, length = ffi.new('char **'), ffi.new('int *')
        name = ffi.new('char[]', lib.ARCHIVE_NAME_SIZE)
        while (code := lib.archive_next(self._open(False), content, length, name)) != _END:
            if code != 0:
                raise self._failure(code)
            self._next += 1
            yield (ffi.string(name).decode('utf-8', 'surrogateescape'), bytes(ffi.buffer(content[0], length[0])))

    def _rewind(self) -> None:
        if self._next:
            self._open(False)
            self._record = self._opened(os.fsencode(self.path), b'')
            self._next = 0

    def names(self) -> list[str]:
        """The names of all entries, in their order."""
        self._open()
        if self._names is None:
            self._rewind()
            self._names = [name for name, _ in self._entries()]
        return list(self._names)

    def read(self, name: str) -> bytes:
        """The content of an entry; KeyError when there is none of that name. Entries in their order are read in one
        pass, others by a new search from the beginning."""
        self._open(False)
        stored = name.replace('\\', '/')
        names = self.names()
        if stored not in names:
            raise KeyError(name)
        if names.index(stored) < self._next:
            self._rewind()
        for found, content in self._entries():
            if found == stored:
                return content
        raise KeyError(name)

    def __iter__(self) -> Iterator[str]:
        return iter(self.names())

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and name.replace('\\', '/') in self.names()

    def __getitem__(self, name: str) -> bytes:
        return self.read(name)

    def __repr__(self) -> str:
        if self._record is None:
            return f'Archive({self.path!r})  # closed'
        count = '' if self._names is None else f'  # {len(self._names)} entries'
        return f'Archive({self.path!r}, {self.mode!r}){count}'


class Topic(Mapping[str, str]):
    """The items of a topic: names and texts. Setting an item changes the record file in memory."""

    def __init__(self, records: Records, name: str) -> None:
        self._records = records
        self._name = name

    def __getitem__(self, item: str) -> str:
        value = ffi.new('char[]', lib.ZUK_VALUE_SIZE)
        if lib.zuk_search(self._records._open(), self._records._encode(self._name), self._records._encode(item),
                          value) != 0:
            raise KeyError(item)
        return str(ffi.string(value).decode('utf-8', 'surrogateescape'))

    def __setitem__(self, item: str, value: str) -> None:
        if not isinstance(value, str):
            raise TypeError(f'Records: text wanted, not {type(value).__name__}; str(value) or repr(value)')
        encode = self._records._encode
        if len(encode(value)) > 256:
            raise ValueError(f'Records: a value has at most 256 bytes, not {len(encode(value))}')
        if lib.zuk_add_item(self._records._open(), encode(self._name), encode(item), encode(value), b'') != 0:
            raise ValueError(f'Records: {item!r} = {value!r} cannot be an item of {self._name!r}')

    def __iter__(self) -> Iterator[str]:
        state = ffi.new('int *')
        topic = self._records._encode(self._name)
        while (name := lib.zuk_list_item(self._records._open(), topic, state)) != NULL:
            yield ffi.string(name).decode('utf-8', 'surrogateescape')

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def update(self, items: Mapping[str, str]) -> None:
        """Sets several items."""
        for name, value in items.items():
            self[name] = value

    def __repr__(self) -> str:
        return f'Topic({self._name!r}, {dict(self)!r})'


class Records(_File, Mapping[str, Topic]):
    """A record file: topics with items, texts under names. Changes are made in memory; flush() writes them.

    Parameters:
        path: the file
        mode: 'a' to open it, or to create it where there is none; 'r' to open it, FileNotFoundError where there is
            none; 'x' to create it, FileExistsError where there is one; 'w' to create or replace it. A new file is made
            at once

    As a context manager it is flushed at the end, unless by an exception, and closed. Topics compare without case.
    Nothing can be removed. Used by one thread at a time.

    Example:
        >>> import tempfile, os
        >>> path = os.path.join(tempfile.mkdtemp(), 'inks.rec')
        >>> with Records(path) as r:
        ...     r['patches'] = {'cyan': '0.25'}
        ...     r['patches']['magenta'] = '0.5'
        >>> print(open(path).read(), end='')
        [patches]
        cyan = 0.25
        magenta = 0.5
    """

    _label = 'Records'

    def __init__(self, path: Path, mode: str = 'a') -> None:
        self._record: Any = None
        self.path, self.mode = os.fspath(path), mode
        if mode not in ('a', 'r', 'x', 'w'):
            raise ValueError(f"Records: mode {mode!r}; 'a', 'r', 'x' or 'w' wanted")
        exists = os.path.exists(self.path)
        if mode == 'x':
            os.close(os.open(self.path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o666))
        elif mode == 'r' or (mode == 'a' and exists):
            os.stat(self.path)
        database = lib.zuk_open()
        if database == NULL:
            raise error(['zuk_open: insufficient memory'], '')
        database = ffi.gc(database, lib.zuk_close)
        name = os.fsencode(self.path)
        load = mode == 'r' or (mode == 'a' and exists)
        self._file = (lib.zuk_push_rfile if load else lib.zuk_create_rfile)(database, name)
        if self._file == NULL:
            raise TeskaFileError(f"{self.path}: {'no record file, or not readable' if load else 'cannot be made'}",
                                 self.path)
        self._names = self._topics_of(name) if load else []
        self._record = database

    @staticmethod
    def _topics_of(path: bytes) -> list[str]:
        names: list[str] = []
        with open(path, 'rb') as file:
            text = file.read().replace(b'\r\n', b'\n').replace(b'\r', b'\n')
        for line in text.split(b'\n'):
            line = line.lstrip(b' \t')
            if line.startswith(b'[') and b']' in line:
                name = line[1:line.index(b']')].rstrip(b' \t').decode('utf-8', 'surrogateescape')
                if name.lower() not in (known.lower() for known in names):
                    names.append(name)
        return names

    @staticmethod
    def _encode(text: str) -> bytes:
        if not isinstance(text, str):
            raise KeyError(text)
        encoded = text.encode('utf-8', 'surrogateescape')
        if b'\0' in encoded:
            raise ValueError('Records: a zero byte')
        return encoded

    def __getitem__(self, topic: str) -> Topic:
        self._open()
        for name in self._names:
            if isinstance(topic, str) and name.lower() == topic.lower():
                return Topic(self, name)
        raise KeyError(topic)

    def __setitem__(self, topic: str, items: Mapping[str, str]) -> None:
        self.add(topic).update(items)

    def add(self, topic: str) -> Topic:
        """Adds a topic at the end; one that is there stays as it is."""
        encoded = self._encode(topic)
        if lib.zuk_add_topic(self._open(), self._file, encoded, b'') != 0:
            raise ValueError(f'Records: {topic!r} cannot be a topic')
        if topic not in self:
            self._names.append(topic)
        return self[topic]

    def __iter__(self) -> Iterator[str]:
        self._open()
        return iter(list(self._names))

    def __len__(self) -> int:
        self._open()
        return len(self._names)

    def flush(self) -> None:
        """Writes what was changed: the file is the old one or the new one whatever happens. TeskaFileError when it
        cannot be written; the changes stay in memory."""
        if lib.zuk_flush(self._open()) != 0:
            raise TeskaFileError(f'{self.path}: cannot be written', self.path)

    def __exit__(self, kind: type[BaseException] | None, value: BaseException | None,
                 trace: TracebackType | None) -> None:
        try:
            if kind is None and self._record is not None:
                self.flush()
        finally:
            self.close()

    def __repr__(self) -> str:
        if self._record is None:
            return f'Records({self.path!r})  # closed'
        return f'Records({self.path!r})  # {len(self._names)} topics'
