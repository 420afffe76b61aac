// picture - 8-bit samples, line after line, the channels of a pixel side by side

#ifndef EXAMPLES_PICTURE_H
#define EXAMPLES_PICTURE_H

#include <cstddef>
#include <vector>

namespace examples
{

struct picture {
    int width = 0;
    int height = 0;
    int channels = 0;
    std::vector<unsigned char> samples;

    picture() = default;
    picture(int w, int h, int c)
        : width(w), height(h), channels(c),
          samples(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * static_cast<std::size_t>(c))
    {
    }

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    unsigned char *line(int y) { return samples.data() + line_start(y); }
    const unsigned char *line(int y) const { return samples.data() + line_start(y); }

private:
    std::size_t line_start(int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    }
};

}  // namespace examples

#endif
