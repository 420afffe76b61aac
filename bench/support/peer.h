// peer - the same grid in Little CMS, as a device link through which whole lines go

#ifndef BENCH_PEER_H
#define BENCH_PEER_H

#include <cstdint>
#include <vector>

namespace bench
{

enum class Samples {
    bytes,   // 0 .. 255, through a grid of 16-bit values
    words,   // 0 .. 65535, likewise
    floats,  // 0 .. 1, ink amounts 0 .. 100, through a grid of floats
    doubles  // the same in doubles
};

// What a transform may have beside the grid.
struct PeerExtras {
    std::vector<std::uint8_t> in_curve;   // 256 values for every input, or none
    std::vector<std::uint8_t> out_curve;  // and for every output
    bool cache = false;                   // the library's cache of the last pixel
};

// Three channels are RGB, four are CMYK. The transform is optimised as the library likes, on as many points as the grid
// has, and by default without its cache of the last pixel, which would only measure repetitions.
class Peer
{
public:
    // grid: bytes as make_grid gives them. Ends the program when the transform cannot be made.
    Peer(int inputs, int outputs, int points, const std::vector<std::uint8_t> &grid, Samples samples,
         const PeerExtras &extras = {});
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer();

    void convert(const void *in, void *out, int pixels) const;

    // Point by point through the grid alone; all values 0 .. 1, ink amounts too. Not with bytes.
    void evaluate(const float *in, float *out, int points) const;

private:
    int inputs_;
    int outputs_;
    void *transform_;
    void *pipeline_;
};

}  // namespace bench

#endif
