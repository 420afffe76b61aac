// samples - points in one buffer, with a pointer to the first sample of every channel, as a conversion takes them

#ifndef TESKA_TESTS_SAMPLES_H
#define TESKA_TESTS_SAMPLES_H

#include <cstdlib>
#include <utility>
#include <vector>

namespace teska_test
{

template <class T>
struct Samples {
    // Interleaved when the step is the number of channels, else one channel behind the other; a negative step begins
    // at the end.
    Samples(int channels, int count, int distance, T content = T())
        : step(distance),
          buffer(static_cast<std::size_t>((distance == channels ? 1 : std::abs(distance) + 1) * channels * count),
                 content)
    {
        T *first = buffer.data() + (step < 0 && count > 0 ? (count - 1) * -step : 0);
        for (int c = 0; c < channels; ++c)
            at.push_back(buffer.empty() ? first : first + c * (step == channels ? 1 : (std::abs(step) + 1) * count));
    }

    // A single point.
    explicit Samples(std::vector<T> point) : step(static_cast<int>(point.size())), buffer(std::move(point))
    {
        for (T &sample : buffer)
            at.push_back(&sample);
    }

    std::vector<T> point(int p) const
    {
        std::vector<T> samples;
        for (const T *channel : at)
            samples.push_back(channel[p * step]);
        return samples;
    }

    int step;
    std::vector<T> buffer;
    std::vector<T *> at;
};

// A line through that one of three functions which takes so many components.
int feed(int components, auto *record, auto *const *in, auto **out, auto mono, auto rgb, auto cmyk)
{
    return components == 1   ? mono(record, in[0], out)
           : components == 3 ? rgb(record, in[0], in[1], in[2], out, out + 1, out + 2)
                             : cmyk(record, in[0], in[1], in[2], in[3], out, out + 1, out + 2, out + 3);
}

}  // namespace teska_test

#endif
