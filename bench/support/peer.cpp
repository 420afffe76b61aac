#include "support/peer.h"

#include <lcms2.h>

#include <cstdio>
#include <cstdlib>

namespace bench
{

namespace
{

cmsColorSpaceSignature space(int channels) { return channels == 3 ? cmsSigRgbData : cmsSigCmykData; }

bool integers(Samples samples) { return samples == Samples::bytes || samples == Samples::words; }

cmsUInt32Number format(int channels, Samples samples)
{
    if (samples == Samples::bytes)
        return channels == 3 ? TYPE_RGB_8 : TYPE_CMYK_8;
    if (samples == Samples::words)
        return channels == 3 ? TYPE_RGB_16 : TYPE_CMYK_16;
    if (samples == Samples::doubles)
        return channels == 3 ? TYPE_RGB_DBL : TYPE_CMYK_DBL;
    return channels == 3 ? TYPE_RGB_FLT : TYPE_CMYK_FLT;
}

cmsStage *make_stage(int inputs, int outputs, int points, const std::vector<std::uint8_t> &grid, Samples samples)
{
    const auto n = static_cast<cmsUInt32Number>(inputs);
    const auto m = static_cast<cmsUInt32Number>(outputs);
    const auto r = static_cast<cmsUInt32Number>(points);
    if (integers(samples)) {
        std::vector<cmsUInt16Number> wide;
        for (const std::uint8_t value : grid)
            wide.push_back(static_cast<cmsUInt16Number>(value * 257));
        return cmsStageAllocCLut16bit(nullptr, r, n, m, wide.data());
    }
    std::vector<cmsFloat32Number> wide;
    for (const std::uint8_t value : grid)
        wide.push_back(static_cast<cmsFloat32Number>(value) / 255.0F);
    return cmsStageAllocCLutFloat(nullptr, r, n, m, wide.data());
}

// The same curve for all channels; nothing without values.
void insert_curves(cmsPipeline *pipeline, cmsStageLoc place, int channels, const std::vector<std::uint8_t> &values)
{
    if (values.empty())
        return;
    std::vector<cmsUInt16Number> wide;
    for (const std::uint8_t value : values)
        wide.push_back(static_cast<cmsUInt16Number>(value * 257));
    cmsToneCurve *curve = cmsBuildTabulatedToneCurve16(nullptr, 256, wide.data());
    const std::vector<cmsToneCurve *> curves(static_cast<std::size_t>(channels), curve);
    cmsPipelineInsertStage(pipeline, place,
                           cmsStageAllocToneCurves(nullptr, static_cast<cmsUInt32Number>(channels),
                                                   const_cast<cmsToneCurve **>(curves.data())));
    cmsFreeToneCurve(curve);
}

cmsHPROFILE make_link(int inputs, int outputs, cmsPipeline *pipeline, Samples samples)
{
    cmsHPROFILE link = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(link, 4.3);
    cmsSetDeviceClass(link, cmsSigLinkClass);
    cmsSetColorSpace(link, space(inputs));
    cmsSetPCS(link, space(outputs));
    cmsWriteTag(link, integers(samples) ? cmsSigAToB0Tag : cmsSigDToB0Tag, pipeline);
    return link;
}

}  // namespace

Peer::Peer(int inputs, int outputs, int points, const std::vector<std::uint8_t> &grid, Samples samples,
           const PeerExtras &extras)
    : inputs_(inputs), outputs_(outputs),
      pipeline_(cmsPipelineAlloc(nullptr, static_cast<cmsUInt32Number>(inputs), static_cast<cmsUInt32Number>(outputs)))
{
    auto *pipeline = static_cast<cmsPipeline *>(pipeline_);
    cmsPipelineInsertStage(pipeline, cmsAT_BEGIN, make_stage(inputs, outputs, points, grid, samples));
    insert_curves(pipeline, cmsAT_BEGIN, inputs, extras.in_curve);
    insert_curves(pipeline, cmsAT_END, outputs, extras.out_curve);
    cmsHPROFILE link = make_link(inputs, outputs, pipeline, samples);
    // Words go faster without curves that the library would make of the grid.
    const int curves =
        samples == Samples::words ? 0 : cmsFLAGS_CLUT_PRE_LINEARIZATION | cmsFLAGS_CLUT_POST_LINEARIZATION;
    const int flags = cmsFLAGS_GRIDPOINTS(points) | curves;
    transform_ =
        cmsCreateMultiprofileTransform(&link, 1, format(inputs, samples), format(outputs, samples), INTENT_PERCEPTUAL,
                                       static_cast<cmsUInt32Number>(extras.cache ? flags : flags | cmsFLAGS_NOCACHE));
    cmsCloseProfile(link);
    if (transform_ == nullptr) {
        std::fprintf(stderr, "peer: no transform for %d to %d channels\n", inputs, outputs);
        std::exit(1);
    }
}

Peer::~Peer()
{
    cmsDeleteTransform(transform_);
    cmsPipelineFree(static_cast<cmsPipeline *>(pipeline_));
}

void Peer::convert(const void *in, void *out, int pixels) const
{
    cmsDoTransform(transform_, in, out, static_cast<cmsUInt32Number>(pixels));
}

void Peer::evaluate(const float *in, float *out, int points) const
{
    for (int p = 0; p < points; ++p, in += inputs_, out += outputs_)
        cmsPipelineEvalFloat(in, out, static_cast<cmsPipeline *>(pipeline_));
}

}  // namespace bench
