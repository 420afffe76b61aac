// lines - generated image lines, the same in every run

#ifndef BENCH_LINES_H
#define BENCH_LINES_H

#include <cstdint>
#include <vector>

namespace bench
{

constexpr int line_pixels = 4096;

enum class Texture {
    random,   // every byte by itself: the worst case for caches and branches
    smooth,   // gradients between random colours, 64 pixels apart: like a photograph
    graphics  // areas of one colour, 1 to 256 pixels wide
};

const char *name(Texture texture);

// line_pixels pixels, interleaved.
std::vector<std::uint8_t> make_line(Texture texture, int channels);

// A grid of smooth contents: `outputs` bytes per vertex, input 0 varying slowest.
std::vector<std::uint8_t> make_grid(int points, int inputs, int outputs);

}  // namespace bench

#endif
