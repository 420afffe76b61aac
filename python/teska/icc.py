"""Tables from ICC profiles, through the colour management of Pillow, which is imported by the function only."""

from __future__ import annotations

import io
import os
from typing import Any, Union, cast

import numpy as np

from ._arrays import Array
from .tables import ShortTable

Profile = Union[str, 'os.PathLike[str]', bytes, object]

INTENTS = {'perceptual': 0, 'relative': 1, 'saturation': 2, 'absolute': 3}
_MODES = {'RGB': ('RGB', 3), 'CMYK': ('CMYK', 4), 'GRAY': ('L', 1), 'Lab': ('LAB', 3)}


def _opened(cms: Any, profile: Profile) -> Any:
    if isinstance(profile, cms.ImageCmsProfile):
        return profile
    if isinstance(profile, bytes):
        return cms.ImageCmsProfile(io.BytesIO(profile))
    if isinstance(profile, str) and profile in ('sRGB', 'LAB', 'XYZ'):
        return cms.ImageCmsProfile(cms.createProfile(profile))
    if isinstance(profile, (str, os.PathLike)):
        return cms.getOpenProfile(os.fspath(profile))
    return cms.ImageCmsProfile(profile)


def _mode(profile: Any, name: str) -> tuple[str, int]:
    space = profile.profile.xcolor_space.strip()
    if space not in _MODES:
        raise ValueError(f'icc.table: {name}: a profile for RGB, CMYK, gray or Lab wanted, not {space}')
    return _MODES[space]


def table(src: Profile, dst: Profile, intent: str = 'relative', points: int = 33, *,
          black_point: bool = False) -> ShortTable:
    """A table that converts pixels of one profile to another.

    Parameters:
        src, dst: profiles of Pillow's ImageCms, paths, the profiles' bytes, or 'sRGB'
        intent: perceptual, relative, saturation or absolute
        points: grid points along each input; with four inputs 17 is a good number
        black_point: compensate for the black points

    Pillow converts 8 bits. Grid points between two bytes are interpolated from both, so that no input is rounded;
    results have the precision of a byte. CMYK is 255 for full ink; Lab in bytes is 255 for L* = 100,
    and a* and b* with 128 added.

    Example:
        >>> t = table('sRGB', 'sRGB', points=18)
        >>> t(np.uint8([[10, 200, 255]]))
        array([[ 10, 200, 255]], dtype=uint8)
    """
    from PIL import Image, ImageCms

    if intent not in INTENTS:
        raise ValueError(f'icc.table: intent {intent!r}; one of {", ".join(INTENTS)} wanted')
    source, target = _opened(ImageCms, src), _opened(ImageCms, dst)
    (in_mode, inputs), (out_mode, outputs) = _mode(source, 'src'), _mode(target, 'dst')
    transform = ImageCms.buildTransform(source, target, in_mode, out_mode, INTENTS[intent],
                                        0x2000 if black_point else 0)
    result = ShortTable(inputs, outputs, points)
    exact = result._axis().astype(np.float64) / 257.0
    low = np.minimum(np.floor(exact), 254.0)
    part = exact - low
    steps = np.unique(np.concatenate([low, low + 1])).astype(np.uint8)
    values = _converted(Image, ImageCms, transform, in_mode, steps, inputs, outputs)
    below = np.searchsorted(steps, low.astype(np.uint8))
    for axis in range(inputs):
        weight = part.reshape([-1 if k == axis else 1 for k in range(inputs + 1)]).astype(np.float32)
        values = values.take(below, axis) * (1 - weight) + values.take(below + 1, axis) * weight
    result.grid[...] = np.clip(values * 257.0 + 0.5, 0, 65535).astype(np.uint16)
    return result


def _converted(images: Any, cms: Any, transform: Any, mode: str, steps: Array, inputs: int, outputs: int) -> Any:
    """The conversion of all combinations of the bytes, as floats of shape (steps,) * inputs + (outputs,)."""
    axes = np.meshgrid(*[steps] * inputs, indexing='ij')
    pixels = np.stack([axis.ravel() for axis in axes], axis=-1)
    rows = len(steps)
    array = _turned(np.ascontiguousarray(pixels.reshape(rows, -1, inputs)), mode)
    image = images.frombuffer(mode, (array.shape[1], rows), array.tobytes(), 'raw', mode, 0, 1)
    converted = cms.applyTransform(image, transform)
    values = np.frombuffer(cast(bytes, converted.tobytes()), np.uint8).reshape((rows,) * inputs + (outputs,))
    return _turned(values, converted.mode).astype(np.float32)


def _turned(values: Any, mode: str) -> Any:
    """Pillow reads and writes a and b of Lab with a sign; here 128 is added to them."""
    return values ^ np.array([0, 128, 128], np.uint8) if mode == 'LAB' else values
