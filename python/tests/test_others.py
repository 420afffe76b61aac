"""With other packages: Pillow, xarray, dask, matplotlib."""

import numpy as np
import pytest
from conftest import filled, refused

import teska
from teska import ByteTable, Hull, ShortTable


def test_pillow_images(rng):
    Image = pytest.importorskip('PIL.Image')
    rgb = Image.fromarray(rng.integers(0, 256, (20, 30, 3)).astype('u1'))
    rgb.info['icc_profile'] = b'of the input'
    for cls in (ByteTable, ShortTable):
        inked = filled(cls, rng, 3, 4)(rgb)
        assert inked.mode == 'CMYK' and inked.size == (30, 20) and 'icc_profile' not in inked.info
        table = filled(cls, rng, 3, 3)
        assert np.array_equal(np.asarray(table(rgb)), table(np.asarray(rgb)))
        assert table(rgb, icc_profile=b'new').info['icc_profile'] == b'new'
        clear = rgb.convert('RGBA')
        clear.putalpha(Image.fromarray(rng.integers(0, 256, (20, 30)).astype('u1')))
        result = table(clear)
        assert result.mode == 'RGBA' and result.getchannel('A').tobytes() == clear.getchannel('A').tobytes()
        assert np.array_equal(np.asarray(result)[..., :3], table(np.asarray(rgb)))
        gray = filled(cls, rng, 1, 1)(rgb.convert('L'))
        assert gray.mode == 'L' and filled(cls, rng, 4, 1)(inked).mode == 'L'
        for mode in ('P', '1', 'LA', 'I;16', 'F'):
            refused(TypeError, rf"not {mode}; image.convert\('RGB'\)", table, Image.new(mode, (3, 3)))
        refused(ValueError, 'an image of mode L has 1 colours', table, rgb.convert('L'))
        refused(TypeError, 'out does not go with an image', table, rgb, out=np.zeros((20, 30, 3), 'u1'))
        refused(TypeError, 'icc_profile goes with an image', table, np.asarray(rgb), icc_profile=b'')


def test_a_table_from_profiles():
    cms = pytest.importorskip('PIL.ImageCms')
    Image = pytest.importorskip('PIL.Image')
    from teska import icc
    srgb = cms.createProfile('sRGB')
    table = icc.table(srgb, cms.createProfile('LAB'), points=33)
    pixels = np.random.default_rng(2).integers(0, 256, (50, 40, 3)).astype('u1')
    image = Image.fromarray(pixels)
    direct = cms.applyTransform(image, cms.buildTransform(srgb, cms.createProfile('LAB'), 'RGB', 'LAB', 1))
    lab = np.frombuffer(direct.tobytes(), 'u1').reshape(50, 40, 3) ^ np.uint8([0, 128, 128])
    difference = lab.astype(int) - table(pixels)
    assert np.abs(difference).mean() < 0.5 and np.abs(difference).max() <= 6
    data = cms.ImageCmsProfile(srgb).tobytes()
    assert np.array_equal(icc.table(data, 'sRGB', points=18)(pixels), icc.table('sRGB', 'sRGB', points=18)(pixels))
    refused(ValueError, "intent 'best'", icc.table, 'sRGB', 'sRGB', 'best')


def test_xarray_and_dask(rng):
    xr, da = pytest.importorskip('xarray'), pytest.importorskip('dask.array')
    table = filled(ByteTable, rng)
    pixels = rng.integers(0, 256, (40, 50, 3)).astype('u1')
    array = xr.DataArray(pixels, dims=('y', 'x', 'c'))
    result = xr.apply_ufunc(table, array, input_core_dims=[['c']], output_core_dims=[['k']])
    assert result.dims == ('y', 'x', 'k') and np.array_equal(result, table(pixels))
    assert np.array_equal(table(array), table(pixels))
    tiles = da.from_array(pixels, chunks=(16, 16, 3))
    result = tiles.map_blocks(table, dtype='u1', chunks=(*tiles.chunks[:2], (4,)))
    assert np.array_equal(result.compute(scheduler='threads'), table(pixels))
    cut = tiles.rechunk((16, 16, 1)).map_blocks(table, dtype='u1', meta=np.zeros((0, 0, 0), 'u1'))
    refused(ValueError, 'ByteTable of 3 inputs: last axis is 1 of', cut.compute, scheduler='synchronous')


def test_pickles_travel_to_other_processes(rng):
    import multiprocessing
    table = filled(ShortTable, rng, 3, 3)
    pixels = rng.integers(0, 65536, (5, 3)).astype('u2')
    with multiprocessing.get_context('spawn').Pool(1) as pool:
        assert np.array_equal(pool.apply(table, (pixels,)), table(pixels))


def test_plots_draw_on_the_axes_they_return(rng):
    plt = pytest.importorskip('matplotlib.pyplot')
    import teska.plot as plot
    hull = Hull(rng.normal(0, 40, (50, 3)) + [50, 0, 0])
    curve = teska.Curve([0, 1, 2], [0, 3, 4])
    figure, axes = plt.subplots()
    assert plot.slices(hull, [40, 60], ax=axes) is axes and len(axes.lines) == 2
    for line in axes.lines:  # every corner of a section is on the hull
        x, y = line.get_data()
        level = float(line.get_label().split('=')[1])
        corners = np.stack([np.full(len(x), level), x, y], axis=1)
        assert hull.contains(corners * 0.999 + hull.vertices.mean(axis=0) * 0.001).all()
    assert len(plot.curve(curve, inverse=True).lines) == 4
    for table in (filled(ByteTable, rng), filled(teska.Clut, rng), filled(teska.DoubleTable, rng)):
        assert len(plot.table(table).lines) == 4
    image = rng.integers(0, 256, (30, 30, 3)).astype('u1')
    assert sum(patch.get_data().values.sum() for patch in plot.histogram(image).patches) == 2700
    solid = plot.hull(hull)
    assert len(solid.collections) == 1 and plot.hull(hull, ax=solid, colours='red') is solid
    figure.canvas.draw(), solid.figure.canvas.draw()
    plt.close('all')
