"""The package as a whole: declarations, loading, doctests, types."""

import doctest
import importlib
import importlib.util
import inspect
import os
import pkgutil
import re
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

import numpy as np
import pytest

import teska
from teska import _declarations, _library

ROOT = Path(__file__).resolve().parents[2]
MODULES = sorted(module.name for module in pkgutil.iter_modules(teska.__path__))


def python(code, **environment):
    """Runs code in a new Python; the result has its output."""
    variables = {**os.environ, 'PYTHONPATH': str(ROOT / 'python'), **environment}
    return subprocess.run([sys.executable, '-c', code], capture_output=True, text=True, env=variables, timeout=60)


@pytest.mark.skipif(not (ROOT / 'include').is_dir(), reason='not in a checkout')
def test_declarations_are_those_of_the_headers():
    check = subprocess.run([sys.executable, ROOT / 'tools' / 'python_declarations.py', '--check',
                            ROOT / 'python' / 'teska' / '_declarations.py'], capture_output=True, text=True)
    assert check.returncode == 0, check.stdout + check.stderr


def test_the_version_is_that_of_the_headers():
    declared = [re.search(rf'#define TESKA_VERSION_{part} (\d+)', _declarations.TEXT).group(1)
                for part in ('MAJOR', 'MINOR', 'PATCH')]
    assert '.'.join(declared) == teska.__version__ and int(declared[0]) == _library.WANTED


def test_every_function_that_is_declared_is_in_the_library():
    _library.lib.declare_all()
    names = re.findall(r'^[\w *]+?\b(\w+)\([^;]*;$', re.sub(r'^typedef.*$', '', _declarations.TEXT, flags=re.M), re.M)
    assert len(names) > 150
    missing = [name for name in names if not hasattr(_library.lib, name)]
    assert missing == []


def test_a_library_that_is_not_there_or_not_the_right_one():
    failed = python('import teska', TESKA_LIBRARY='/no/lib.so')
    assert 'ImportError: teska: the library was not found; tried /no/lib.so (' in failed.stderr
    class Functions:
        teska_version = staticmethod(lambda: _library.ffi.from_buffer(b'2.0.1\0'))
    with pytest.raises(ImportError, match=r'^teska: library 2.0 found, 1.x wanted \(/usr/lib/x.so\)$'):
        _library.lib._check_version(Functions, '/usr/lib/x.so')


def test_an_import_needs_numpy_and_cffi_only_and_little_time():
    run = python("import sys, teska; print(*[m for m in ('PIL', 'matplotlib', 'dask', 'xarray') if m in sys.modules])")
    assert run.stdout.strip() == '' and run.returncode == 0
    run = python('import time; begin = time.process_time(); import teska; print(time.process_time() - begin)')
    assert float(run.stdout) < 0.5  # 0.2 s on an idle machine


@pytest.mark.skipif(not (ROOT / 'python' / 'setup.py').is_file(), reason='not in a checkout')
def test_wheels_with_and_without_the_library(tmp_path):
    """Libraries that are none will do: nothing is compiled and nothing loaded."""
    for needed in ('setuptools', 'wheel'):
        if importlib.util.find_spec(needed) is None:
            pytest.skip(f'no {needed}')
    source, folder = tmp_path / 'source', tmp_path / 'libraries'
    shutil.copytree(ROOT / 'python', source, ignore=shutil.ignore_patterns('tests', '*cache*', 'build', '*.egg-info'))
    folder.mkdir()
    names = [f'lib{name}.so.1' for name in ('TESKAShared', 'WEMShared', 'LOPRAShared', 'ZUKShared')]

    def wheel(**environment):
        command = [sys.executable, 'setup.py', '-q', 'bdist_wheel', '-d', tmp_path]
        return subprocess.run(command, cwd=source, capture_output=True, text=True, env={
            **{key: value for key, value in os.environ.items() if key != 'TESKA_WHEEL_LIBRARIES'}, **environment})

    assert wheel().returncode == 0
    plain, = tmp_path.glob('teska-*-py3-none-any.whl')
    missing = wheel(TESKA_WHEEL_LIBRARIES=str(folder))
    assert missing.returncode != 0 and 'libTESKAShared.so.1' in missing.stdout + missing.stderr
    for name in names:
        (folder / name).write_bytes(name.encode())
    assert wheel(TESKA_WHEEL_LIBRARIES=str(folder)).returncode == 0
    full, = set(tmp_path.glob('teska-*.whl')) - {plain}
    assert re.search(r'-py3-none-(linux|manylinux)\w+\.whl$', full.name)
    with zipfile.ZipFile(plain) as first, zipfile.ZipFile(full) as second:
        modules = {name for name in first.namelist() if name.startswith('teska/')}
        assert {'teska/py.typed', 'teska/_declarations.py'} <= modules
        assert {name for name in second.namelist() if name.startswith('teska/')} == modules | {
            f'teska/.libs/{name}' for name in names}


@pytest.mark.parametrize('name', ['__init__', *MODULES])
def test_examples_of_docstrings(name):
    module = teska if name == '__init__' else importlib.import_module(f'teska.{name}')
    for needed in {'plot': ['matplotlib'], 'icc': ['PIL'], 'distributed': ['distributed']}.get(name, []):
        pytest.importorskip(needed)
    result = doctest.testmod(module, extraglobs={'np': np})
    assert result.failed == 0
    examples = doctest.DocTestFinder().find(module)
    prompts = [example for test in examples for example in test.examples]
    assert name.startswith('_') or not prompts or prompts[-1].want


def test_public_names_have_docstrings_and_types_without_any():
    for name in teska.__all__:
        value = getattr(teska, name)
        assert inspect.getdoc(value), name
        members = [value] if inspect.isfunction(value) else [
            member for key, member in vars(value).items() if not key.startswith('_') or key == '__init__']
        for member in members:
            function = member.fget if isinstance(member, property) else getattr(member, '__func__', member)
            if inspect.isfunction(function):
                assert function.__name__ == '__init__' or inspect.getdoc(function), (name, function.__name__)
                for hint in function.__annotations__.values():
                    assert not re.search(r'(?<!\[)\bAny\b', str(hint)), (name, function.__name__, hint)


def test_types_are_those_of_mypy_strict(tmp_path):
    pytest.importorskip('mypy')
    run = subprocess.run([sys.executable, '-m', 'mypy', '--cache-dir', os.environ.get('MYPY_CACHE_DIR', tmp_path),
                          '--config-file', ROOT / 'python' / 'pyproject.toml'], cwd=ROOT / 'python',
                         capture_output=True, text=True)
    assert run.returncode == 0, run.stdout
