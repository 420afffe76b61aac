"""Images of Pillow through tables. The package is not imported: whoever has an image has it."""

from __future__ import annotations

import sys
from typing import TYPE_CHECKING, Any, Protocol

import numpy as np

if TYPE_CHECKING:
    from .tables import ByteTable


class Image(Protocol):
    """What is used of an image of Pillow."""

    @property
    def mode(self) -> str: ...

    @property
    def size(self) -> tuple[int, int]: ...

    def convert(self, mode: str) -> Image: ...

    def getchannel(self, channel: str) -> Image: ...


_CHANNELS = {'L': 1, 'RGB': 3, 'CMYK': 4, 'RGBA': 3}
_MODES = {1: 'L', 3: 'RGB', 4: 'CMYK'}


def convert_image(table: ByteTable, image: Image, icc_profile: bytes | None, threads: int | None) -> Image:
    """An image of the right mode. Alpha is kept; info and profile of the input are not."""
    label, module = type(table).__name__, sys.modules['PIL.Image']
    if image.mode not in _CHANNELS:
        wanted = {1: 'L', 3: 'RGB', 4: 'CMYK'}.get(table.inputs, 'RGB')
        raise TypeError(f'{label}: an image of mode L, RGB, RGBA or CMYK wanted, not {image.mode}; '
                        f'image.convert({wanted!r})')
    if _CHANNELS[image.mode] != table.inputs:
        raise ValueError(f'{label} of {table.inputs} inputs: an image of mode {image.mode} has '
                         f'{_CHANNELS[image.mode]} colours')
    if table.outputs not in _MODES or (image.mode == 'RGBA' and table.outputs == 4):
        raise ValueError(f'{label} of {table.outputs} outputs: no mode of an image has them'
                         f"{' and alpha' if image.mode == 'RGBA' else ''}; numpy.asarray(image) can be converted")
    array: Any = np.asarray(image)
    pixels = array[..., :3] if image.mode == 'RGBA' else array.reshape(*array.shape[:2], table.inputs)
    result: Any = table(pixels, threads=threads)
    converted: Any = module.fromarray(result[..., 0] if table.outputs == 1 else result, _MODES[table.outputs])
    if image.mode == 'RGBA':
        converted = _with_alpha(converted, array[..., 3], module)
    if icc_profile is not None:
        converted.info['icc_profile'] = icc_profile
    return converted  # type: ignore[no-any-return]


def _with_alpha(colours: Any, alpha: Any, module: Any) -> Any:
    channel = module.fromarray(np.ascontiguousarray(alpha), 'L')
    mode = 'RGBA' if colours.mode == 'RGB' else 'LA'
    result = module.merge(mode, (*colours.split(), channel))
    return result
