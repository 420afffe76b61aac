"""Archives and record files."""

import os
import pickle

import pytest
from conftest import refused

from teska import Archive, Records, TeskaFileError


def test_an_archive_gives_back_what_was_written(tmp_path):
    path, source = tmp_path / 'a.fp', tmp_path / 'grün.bin'
    content = {'a.txt': b'text', 'folder/b': bytes(range(256)) * 50, 'empty': b'', 'grün': b'x'}
    source.write_bytes(b'from a file')
    with Archive(path, 'x', 'proofs') as archive:
        for name, entry in content.items():
            archive.write(name.replace('/', '\\'), memoryview(entry))
        archive.add(source, 'added')
        refused(ValueError, "there is an entry 'a.txt' already", archive.write, 'a.txt', b'again')
        refused(FileNotFoundError, 'missing', archive.add, tmp_path / 'missing')
        for name in ('', 'n' * 200, '@end', 'a\0b'):
            refused(ValueError, 'cannot be the name of an entry', archive.write, name, b'')
        refused(ValueError, 'opened to write', archive.read, 'a.txt')
        assert repr(archive).endswith("'x')  # 5 entries")
    content['added'] = b'from a file'
    with Archive(path) as archive:
        assert archive.description == 'proofs' and archive.names() == list(archive) == list(content)
        for name in [*content, *reversed(content)]:
            assert archive.read(name) == archive[name] == content[name]
        assert 'folder\\b' in archive and 'other' not in archive and 3 not in archive
        refused(KeyError, 'other', archive.read, 'other')
        refused(ValueError, 'opened to read', archive.write, 'new', b'')
        refused(TypeError, 'cannot pickle an open Archive', pickle.dumps, archive)
    refused(ValueError, 'Archive is closed', archive.names)


def test_archives_that_are_none(tmp_path):
    path = tmp_path / 'other'
    refused(FileNotFoundError, 'other', Archive, path)
    path.write_bytes(b'something else')
    error = refused(TeskaFileError, 'Not a FilePacker archive', Archive, path)
    assert isinstance(error, OSError) and error.filename == str(path)
    refused(FileExistsError, 'other', Archive, path, 'x')
    assert path.read_bytes() == b'something else'
    with Archive(path, 'w') as archive:
        archive.write('a', b'1')
    whole = path.read_bytes()
    path.write_bytes(whole[:-1])
    refused(TeskaFileError, '', lambda: Archive(path).names())
    refused(ValueError, "mode 'a'", Archive, path, 'a')


def test_records_are_mappings_that_are_flushed_without_an_exception(tmp_path):
    path = tmp_path / 'inks.rec'
    with Records(path) as records:
        records['patches'] = {'cyan': '0.25', 'grün': 'ä'}
        records['Patches']['cyan'] = '0.5'
        records['empty'] = {}
    assert path.read_bytes().decode() == '[patches]\ncyan = 0.5\ngrün = ä\n[empty]\n'
    with pytest.raises(ZeroDivisionError):
        with Records(path) as records:
            records['patches']['cyan'] = 'lost'
            1 // 0
    with Records(path, 'r') as records:
        assert {name: dict(topic) for name, topic in records.items()} == {'patches': {'cyan': '0.5', 'grün': 'ä'},
                                                                         'empty': {}}
        assert len(records) == 2 and len(records['patches']) == 2 and 'PATCHES' in records and 'x' not in records
        refused(KeyError, 'x', records.__getitem__, 'x')
        patches = records['patches']
        refused(KeyError, 'y', patches.__getitem__, 'y')
        refused(TypeError, 'cannot pickle an open Records', pickle.dumps, records)
        refused(TypeError, 'text wanted, not float', patches.__setitem__, 'cyan', 0.5)
        for item, value in (('a=b', ''), ('', 'x'), ('a', 'x\ny')):
            refused(ValueError, 'cannot be an item', patches.__setitem__, item, value)
        refused(ValueError, 'at most 256 bytes, not 257', patches.__setitem__, 'a', 'x' * 257)
        refused(ValueError, 'cannot be a topic', records.__setitem__, 'a]b', {})
    refused(ValueError, 'Records is closed', records.__getitem__, 'patches')


def test_record_files_that_are_none(tmp_path):
    path = tmp_path / 'r.rec'
    refused(FileNotFoundError, 'r.rec', Records, path, 'r')
    path.write_text('[cut')
    refused(TeskaFileError, 'no record file', Records, path)
    refused(FileExistsError, 'r.rec', Records, path, 'x')
    assert path.read_text() == '[cut'
    refused(TeskaFileError, 'cannot be made', Records, tmp_path / 'no' / 'folder', 'w')
    assert sorted(os.listdir(tmp_path)) == ['r.rec']
