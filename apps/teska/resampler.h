// resampler - a page brought to another size while its lines pass by
//
//     resampler by(path, {.width = 640, .height = 480, .window = {0, 0, 640, 480}, ..}, [&](void *line) { .. });
//     for (..) by.feed(line);                            calls back with every line of the target, in their order
//
// By the kernels of izat.h, or by picking samples.

#ifndef TESKA_TOOL_RESAMPLER_H
#define TESKA_TOOL_RESAMPLER_H

#include "izat.h"

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool
{

inline constexpr int most_resampled = 16;  // samples of a pixel

struct resampling {
    std::uint32_t width;  // of the source
    std::uint32_t height;
    std::array<double, 4> window;  // left, top, width and height of what is shown; whole numbers when picking
    std::uint32_t target_width;
    std::uint32_t target_height;
    int samples;         // of a pixel, 1 .. 16
    int depth;           // 8 or 16
    std::string kernel;  // area, triangle, catmull, mitchell, lanczos3, nearest
};

class resampler
{
public:
    // file  for messages; what the library refuses is a failure
    // take  gets a line of the target, which it may change
    resampler(const std::string &file, const resampling &how, std::function<void(void *line)> take);
    resampler(const resampler &) = delete;
    resampler &operator=(const resampler &) = delete;

    // The next line of the source. Throws what `take` has thrown.
    void feed(const void *line);

private:
    static void take_line(void *context, int);
    template <class Sample, class Averages, class Picks>
    void feed_samples(const void *line, Averages averages, Picks picks);

    struct kills {
        void operator()(izat *record) const { izat_kill(record); }
        void operator()(izoom *record) const { izoom_kill(record); }
    };

    int depth_;
    std::function<void(void *line)> take_;
    std::vector<std::uint16_t> line_;
    std::exception_ptr problem_;
    std::unique_ptr<izat, kills> averaging_;
    std::unique_ptr<izoom, kills> picking_;
};

}  // namespace tool

#endif
