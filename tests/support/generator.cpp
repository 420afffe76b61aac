#include "support/generator.h"

namespace teska_test
{

std::uint64_t Generator::next()
{
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31);
}

void Digest::add(const void *bytes, std::size_t count)
{
    const auto *at = static_cast<const unsigned char *>(bytes);
    for (std::size_t i = 0; i < count; ++i)
        value_ = (value_ ^ at[i]) * 0x100000001b3U;
}

}  // namespace teska_test
