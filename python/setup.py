"""The wheel: of Python alone, or with the libraries when TESKA_WHEEL_LIBRARIES names the folder that has them."""

import os
import shutil
import sysconfig
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

try:
    from setuptools.command.bdist_wheel import bdist_wheel
except ImportError:
    from wheel.bdist_wheel import bdist_wheel

LIBRARIES = [f'lib{name}.so.1' for name in ('TESKAShared', 'WEMShared', 'LOPRAShared', 'ZUKShared')]


def libraries():
    """The libraries to be carried; empty for a wheel without them."""
    folder = os.environ.get('TESKA_WHEEL_LIBRARIES')
    if not folder:
        return []
    paths = [Path(folder, name) for name in LIBRARIES]
    missing = [str(path) for path in paths if not path.is_file()]
    if missing:
        raise SystemExit(f'TESKA_WHEEL_LIBRARIES: missing {", ".join(missing)}')
    return paths


class BuildWithLibraries(build_py):
    """Puts the libraries beside the modules; they find each other there, being installed ones."""

    def run(self):
        super().run()
        target = Path(self.build_lib, 'teska', '.libs')
        shutil.rmtree(target, ignore_errors=True)
        for path in libraries():
            target.mkdir(parents=True, exist_ok=True)
            shutil.copy(path, target / path.name)


class DistributionWithLibraries(Distribution):
    """With libraries the package is of this machine's kind."""

    def has_ext_modules(self):
        return bool(libraries())


class WheelOfTheMachine(bdist_wheel):
    """Any Python 3; with libraries this machine's platform only."""

    def get_tag(self):
        if not libraries():
            return 'py3', 'none', 'any'
        return 'py3', 'none', sysconfig.get_platform().replace('-', '_').replace('.', '_')


setup(distclass=DistributionWithLibraries, cmdclass={'build_py': BuildWithLibraries, 'bdist_wheel': WheelOfTheMachine})
