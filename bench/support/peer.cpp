#include "support/peer.h"

#include <lcms2.h>

#include <cstdio>
#include <cstdlib>

namespace bench
{

namespace
{

cmsColorSpaceSignature space(int channels) { return channels == 3 ? cmsSigRgbData : cmsSigCmykData; }

cmsUInt32Number format(int channels, Samples samples)
{
    if (samples == Samples::bytes)
        return channels == 3 ? TYPE_RGB_8 : TYPE_CMYK_8;
    return channels == 3 ? TYPE_RGB_FLT : TYPE_CMYK_FLT;
}

cmsHPROFILE make_link(int inputs, int outputs, int points, const std::vector<std::uint8_t> &grid)
{
    std::vector<cmsUInt16Number> wide;
    for (const std::uint8_t value : grid)
        wide.push_back(static_cast<cmsUInt16Number>(value * 257));

    cmsHPROFILE link = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(link, 4.3);
    cmsSetDeviceClass(link, cmsSigLinkClass);
    cmsSetColorSpace(link, space(inputs));
    cmsSetPCS(link, space(outputs));
    cmsPipeline *pipeline =
        cmsPipelineAlloc(nullptr, static_cast<cmsUInt32Number>(inputs), static_cast<cmsUInt32Number>(outputs));
    cmsPipelineInsertStage(pipeline, cmsAT_BEGIN,
                           cmsStageAllocCLut16bit(nullptr, static_cast<cmsUInt32Number>(points),
                                                  static_cast<cmsUInt32Number>(inputs),
                                                  static_cast<cmsUInt32Number>(outputs), wide.data()));
    cmsWriteTag(link, cmsSigAToB0Tag, pipeline);
    cmsPipelineFree(pipeline);
    return link;
}

}  // namespace

Peer::Peer(int inputs, int outputs, int points, const std::vector<std::uint8_t> &grid, Samples samples)
{
    cmsHPROFILE link = make_link(inputs, outputs, points, grid);
    transform_ = cmsCreateMultiprofileTransform(&link, 1, format(inputs, samples), format(outputs, samples),
                                                INTENT_PERCEPTUAL, cmsFLAGS_NOCACHE | cmsFLAGS_GRIDPOINTS(points));
    cmsCloseProfile(link);
    if (transform_ == nullptr) {
        std::fprintf(stderr, "peer: no transform for %d to %d channels\n", inputs, outputs);
        std::exit(1);
    }
}

Peer::~Peer() { cmsDeleteTransform(transform_); }

void Peer::convert(const void *in, void *out, int pixels) const
{
    cmsDoTransform(transform_, in, out, static_cast<cmsUInt32Number>(pixels));
}

}  // namespace bench
