#include "support/ocio_peer.h"

#include <OpenColorIO/OpenColorIO.h>

namespace bench
{

namespace ocio = OCIO_NAMESPACE;

struct OcioPeer::State {
    ocio::ConstCPUProcessorRcPtr processor;
    ocio::BitDepth depth;
};

OcioPeer::OcioPeer(int points, const std::vector<std::uint8_t> &grid, Depth depth) : state_(std::make_unique<State>())
{
    const auto table = ocio::Lut3DTransform::Create(static_cast<unsigned long>(points));
    table->setInterpolation(ocio::INTERP_TETRAHEDRAL);
    const std::uint8_t *vertex = grid.data();
    const auto size = static_cast<unsigned long>(points);
    for (unsigned long r = 0; r < size; ++r)
        for (unsigned long g = 0; g < size; ++g)
            for (unsigned long b = 0; b < size; ++b, vertex += 3)
                table->setValue(r, g, b, static_cast<float>(vertex[0]) / 255.0F, static_cast<float>(vertex[1]) / 255.0F,
                                static_cast<float>(vertex[2]) / 255.0F);
    state_->depth = depth == Depth::bytes   ? ocio::BIT_DEPTH_UINT8
                    : depth == Depth::words ? ocio::BIT_DEPTH_UINT16
                                            : ocio::BIT_DEPTH_F32;
    state_->processor = ocio::Config::CreateRaw()->getProcessor(table)->getOptimizedCPUProcessor(
        state_->depth, state_->depth, ocio::OPTIMIZATION_DEFAULT);
}

OcioPeer::~OcioPeer() = default;

void OcioPeer::convert(const void *in, void *out, int pixels) const
{
    constexpr auto automatic = ocio::AutoStride;
    const ocio::PackedImageDesc source(const_cast<void *>(in), pixels, 1, ocio::CHANNEL_ORDERING_RGB, state_->depth,
                                       automatic, automatic, automatic);
    ocio::PackedImageDesc target(out, pixels, 1, ocio::CHANNEL_ORDERING_RGB, state_->depth, automatic, automatic,
                                 automatic);
    state_->processor->apply(source, target);
}

}  // namespace bench
