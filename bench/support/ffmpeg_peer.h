// ffmpeg_peer - the same grid of three inputs and outputs in the lut3d filter of FFmpeg

#ifndef BENCH_FFMPEG_PEER_H
#define BENCH_FFMPEG_PEER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench
{

// A filter graph of one thread that takes and gives planes of 16-bit samples: the fastest of the filter's formats, four
// times as fast as bytes.
class FfmpegPeer
{
public:
    // grid: bytes as make_grid gives them for three inputs and three outputs. interpolation: a name that the filter
    // knows, such as "tetrahedral". Ends the program when the graph cannot be made.
    FfmpegPeer(int points, const std::vector<std::uint8_t> &grid, const std::string &interpolation, int width,
               int height);
    FfmpegPeer(const FfmpegPeer &) = delete;
    FfmpegPeer &operator=(const FfmpegPeer &) = delete;
    ~FfmpegPeer();

    // The image as three planes of width * height bytes, made 16 bits wide.
    void load(const std::vector<std::uint8_t> &red, const std::vector<std::uint8_t> &green,
              const std::vector<std::uint8_t> &blue);
    void convert();
    // One plane of the result: 0 red, 1 green, 2 blue.
    [[nodiscard]] std::vector<std::uint8_t> plane(int channel) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace bench

#endif
