// ocio_peer - the same grid of three inputs and outputs in OpenColorIO, interpolated over tetrahedra

#ifndef BENCH_OCIO_PEER_H
#define BENCH_OCIO_PEER_H

#include <cstdint>
#include <memory>
#include <vector>

namespace bench
{

class OcioPeer
{
public:
    enum class Depth { bytes, words, floats };

    // grid: bytes as make_grid gives them for three inputs and three outputs.
    OcioPeer(int points, const std::vector<std::uint8_t> &grid, Depth depth);
    OcioPeer(const OcioPeer &) = delete;
    OcioPeer &operator=(const OcioPeer &) = delete;
    ~OcioPeer();

    // Interleaved pixels; floats are 0 .. 1.
    void convert(const void *in, void *out, int pixels) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace bench

#endif
