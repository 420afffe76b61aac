"""Pictures by matplotlib, which is imported by the functions only. Each returns the Axes and shows nothing."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Sequence, cast

import numpy as np
from numpy.typing import ArrayLike, NDArray

if TYPE_CHECKING:
    from matplotlib.axes import Axes

    from .curves import Curve
    from .geometry import Hull
    from .tables import Table

Floats = NDArray[np.float64]


def _axes(ax: Axes | None, solid: bool = False) -> Any:
    if ax is not None:
        return ax
    import matplotlib.pyplot as plt
    return plt.figure().add_subplot(projection='3d' if solid else None)


def srgb_of_lab(lab: ArrayLike) -> Floats:
    """Lab colours (.., 3), D50, as sRGB of 0 .. 1, cut; for pictures."""
    array = np.asarray(lab, np.float64)
    fy = (array[..., 0] + 16) / 116
    f = np.stack([fy + array[..., 1] / 500, fy, fy - array[..., 2] / 200], axis=-1)
    xyz = np.where(f > 6 / 29, f**3, 3 * (6 / 29) ** 2 * (f - 4 / 29)) * [0.9642, 1.0, 0.8249]
    linear = xyz @ np.array([[3.1339, -0.9788, 0.0719], [-1.6169, 1.9161, -0.2290], [-0.4906, 0.0335, 1.4052]])
    linear = np.clip(linear, 0.0, 1.0)
    return cast(Floats, np.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055))


def hull(h: Hull, ax: Axes | None = None, colours: str = 'srgb') -> Axes:
    """A hull in Lab: a and b lie, L stands. `colours`: 'srgb', every face in its own colour, or a colour's name.

    Example:
        >>> import matplotlib; matplotlib.use('Agg')
        >>> from teska import Hull
        >>> ax = hull(Hull([(0, 0, 0), (100, 0, 0), (50, 60, 0), (50, 0, 60)]))
        >>> ax.get_zlabel()
        'L*'
    """
    axes = _axes(ax, solid=True)
    from mpl_toolkits.mplot3d.art3d import Poly3DCollection
    corners = h.vertices[h.faces]
    paint = srgb_of_lab(corners.mean(axis=1)) if colours == 'srgb' else colours
    axes.add_collection3d(Poly3DCollection(corners[..., [1, 2, 0]], facecolors=paint, edgecolors='0.4',
                                           linewidths=0.3))
    low, high = h.vertices.min(axis=0), h.vertices.max(axis=0)
    axes.set(xlim=(low[1], high[1]), ylim=(low[2], high[2]), zlim=(low[0], high[0]), xlabel='a*', ylabel='b*',
             zlabel='L*')
    return cast('Axes', axes)


def slices(h: Hull, levels: Sequence[float] | None = None, ax: Axes | None = None) -> Axes:
    """Sections of a hull in Lab at constant lightness; None: at nine even steps."""
    axes = _axes(ax)
    low, high = h.vertices[:, 0].min(), h.vertices[:, 0].max()
    for level in np.linspace(low, high, 11)[1:-1] if levels is None else levels:
        outline = _section(h.vertices[h.faces], float(level))
        if len(outline):
            colour = srgb_of_lab(np.array([min(level, 75.0), 0.0, 0.0]))
            closed = np.vstack([outline, outline[:1]])
            axes.plot(closed[:, 0], closed[:, 1], color=colour, label=f'L* = {level:.0f}')
    axes.set(xlabel='a*', ylabel='b*', aspect='equal')
    axes.legend(fontsize='small')
    return cast('Axes', axes)


def _section(corners: Floats, level: float) -> Floats:
    """The corners (n, 2) of the convex section at a lightness, in order."""
    found = []
    for i, j in ((0, 1), (1, 2), (2, 0)):
        a, b = corners[:, i], corners[:, j]
        crossing = (a[:, 0] < level) != (b[:, 0] < level)
        t = (level - a[crossing, 0]) / (b[crossing, 0] - a[crossing, 0])
        found.append(a[crossing, 1:] + t[:, None] * (b[crossing, 1:] - a[crossing, 1:]))
    points = np.concatenate(found)
    if not len(points):
        return cast(Floats, points)
    middle = points - points.mean(axis=0)
    return cast(Floats, points[np.argsort(np.arctan2(middle[:, 1], middle[:, 0]))])


def curve(c: Curve, ax: Axes | None = None, inverse: bool = False) -> Axes:
    """A curve with its points, and its inverse where asked."""
    axes = _axes(ax)
    for one, name in [(c, 'curve')] + ([(c.inverse(), 'inverse')] if inverse else []):
        points = one.points
        x = np.linspace(points[:, 0].min(), points[:, 0].max(), 257)
        line, = axes.plot(x, one(x), label=name)
        axes.plot(points[:, 0], points[:, 1], 'o', color=line.get_color(), markersize=3)
    axes.set(xlabel='x', ylabel='y')
    axes.legend()
    return cast('Axes', axes)


def table(t: Table, ax: Axes | None = None) -> Axes:
    """The outputs of a table along its diagonal, where all inputs are alike."""
    axes = _axes(ax)
    top = {'u1': 255, 'u2': 65535}.get(t._dtype)
    if top is not None:
        x = np.linspace(0, top, 256).astype(t._dtype)
    else:
        x = np.linspace(getattr(t, 'lo', 0.0), getattr(t, 'hi', 1.0), 256)
    result = cast(Any, t)(np.repeat(x[:, None], t.inputs, axis=1))
    for k in range(t.outputs):
        axes.plot(x, result[:, k], label=f'output {k}')
    axes.set(xlabel='all inputs', ylabel='output')
    axes.legend()
    return cast('Axes', axes)


def histogram(image: ArrayLike, ax: Axes | None = None, bins: int = 256, axis: int = -1) -> Axes:
    """How often each value comes, for each channel of an image of integers."""
    axes = _axes(ax)
    array: NDArray[Any] = np.asarray(image)
    planes = [array] if array.ndim < 3 else list(np.moveaxis(array, axis, 0))
    top = np.iinfo(array.dtype).max if array.dtype.kind == 'u' else array.max()
    for k, plane in enumerate(planes):
        counts, edges = np.histogram(plane, bins, (0, float(top) + 1))
        axes.stairs(counts, edges, label=f'channel {k}')
    axes.set(xlabel='value', ylabel='pixels')
    axes.legend()
    return cast('Axes', axes)
