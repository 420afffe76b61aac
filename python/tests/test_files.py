"""Archives and record files."""

import os
import pickle

import pytest

from teska import Archive, Records, TeskaFileError


def test_an_archive_gives_back_what_was_written(tmp_path):
    path, source = tmp_path / 'a.fp', tmp_path / 'grün.bin'
    content = {'a.txt': b'text', 'folder/b': bytes(range(256)) * 50, 'empty': b'', 'grün': b'x'}
    source.write_bytes(b'from a file')
    with Archive(path, 'x', 'proofs') as archive:
        for name, entry in content.items():
            archive.write(name.replace('/', '\\'), memoryview(entry))
        archive.add(source, 'added')
        with pytest.raises(ValueError, match="there is an entry 'a.txt' already"):
            archive.write('a.txt', b'again')
        with pytest.raises(FileNotFoundError):
            archive.add(tmp_path / 'missing')
        for name in ('', 'n' * 200, '@end', 'a\0b'):
            with pytest.raises(ValueError, match='cannot be the name of an entry'):
                archive.write(name, b'')
        with pytest.raises(ValueError, match='opened to write'):
            archive.read('a.txt')
        assert repr(archive).endswith("'x')  # 5 entries")
    content['added'] = b'from a file'
    with Archive(path) as archive:
        assert archive.description == 'proofs' and archive.names() == list(archive) == list(content)
        for name in [*content, *reversed(content)]:
            assert archive.read(name) == archive[name] == content[name]
        assert 'folder\\b' in archive and 'other' not in archive and 3 not in archive
        with pytest.raises(KeyError, match='other'):
            archive.read('other')
        with pytest.raises(ValueError, match='opened to read'):
            archive.write('new', b'')
        with pytest.raises(TypeError, match='cannot pickle an open Archive'):
            pickle.dumps(archive)
    with pytest.raises(ValueError, match='Archive is closed'):
        archive.names()


def test_archives_that_are_none(tmp_path):
    path = tmp_path / 'other'
    with pytest.raises(FileNotFoundError):
        Archive(path)
    path.write_bytes(b'something else')
    with pytest.raises(TeskaFileError, match='Not a FilePacker archive') as caught:
        Archive(path)
    assert isinstance(caught.value, OSError) and caught.value.filename == str(path)
    with pytest.raises(FileExistsError):
        Archive(path, 'x')
    assert path.read_bytes() == b'something else'
    with Archive(path, 'w') as archive:
        archive.write('a', b'1')
    whole = path.read_bytes()
    path.write_bytes(whole[:-1])
    with pytest.raises(TeskaFileError):
        Archive(path).names()
    with pytest.raises(ValueError, match="mode 'a'"):
        Archive(path, 'a')


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
        for call, name in ((lambda: records['x'], 'x'), (lambda: records['patches']['y'], 'y')):
            with pytest.raises(KeyError, match=name):
                call()
        with pytest.raises(TypeError, match='cannot pickle an open Records'):
            pickle.dumps(records)
        with pytest.raises(TypeError, match='text wanted, not float'):
            records['patches']['cyan'] = 0.5
        for item, value in (('a=b', ''), ('', 'x'), ('a', 'x\ny')):
            with pytest.raises(ValueError, match='cannot be an item'):
                records['patches'][item] = value
        with pytest.raises(ValueError, match='at most 256 bytes, not 257'):
            records['patches']['a'] = 'x' * 257
        with pytest.raises(ValueError, match='cannot be a topic'):
            records['a]b'] = {}
    with pytest.raises(ValueError, match='Records is closed'):
        records['patches']


def test_record_files_that_are_none(tmp_path):
    path = tmp_path / 'r.rec'
    with pytest.raises(FileNotFoundError):
        Records(path, 'r')
    path.write_text('[cut')
    with pytest.raises(TeskaFileError, match='no record file'):
        Records(path)
    with pytest.raises(FileExistsError):
        Records(path, 'x')
    assert path.read_text() == '[cut'
    with pytest.raises(TeskaFileError, match='cannot be made'):
        Records(tmp_path / 'no' / 'folder', 'w')
    assert sorted(os.listdir(tmp_path)) == ['r.rec']
