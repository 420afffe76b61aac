// runs - a run of pixels through a conversion, in any layout, against a model that converts a pixel alone

#ifndef TESKA_TESTS_RUNS_H
#define TESKA_TESTS_RUNS_H

#include "support/levels.h"
#include "support/samples.h"

namespace teska_test
{

struct Run {
    int inputs, outputs, pixels, in_step, out_step;
    bool over_inputs = false;  // outputs over the inputs, where there are as many and their step is not 0
    bool crossed = false;      // the outputs in the other order
    bool advances = false;     // the pointers to the outputs go on in the caller's array
};

// Samples are what any() gives, and repetitions. model(p, pixel) is what pixel p becomes, empty where it stays as it
// was; convert(in, in_step, out, out_step, pixels) is called at every level. An output may be left out. All that a call
// may touch is compared.
template <class In, class Out>
void check_run(const Run &run, Generator &random, auto any, auto model, auto convert)
{
    const int room = std::max(run.pixels, 1), repeated = random.below(8) - 3;
    Samples<In> in(run.inputs, room, run.in_step);
    Samples<Out> apart(run.outputs, room, run.out_step, Out{99}), *out = &apart;
    std::swap(in.at.front(), in.at[static_cast<std::size_t>(random.below(run.inputs))]);
    for (int p = 0; p < room; ++p) {
        const bool again = p > 0 && random.below(4) < repeated;
        for (In *first : in.at)
            first[p * in.step] = again ? first[(p - 1) * in.step] : any();
    }
    if constexpr (std::is_same_v<In, Out>)
        out = run.over_inputs && run.outputs <= run.inputs && in.step != 0 ? &in : out;
    std::vector<Out *> to(out->at.begin(), out->at.begin() + run.outputs);
    if (run.crossed)
        std::reverse(to.begin(), to.end());
    if (random.below(3) == 0)
        to[static_cast<std::size_t>(random.below(run.outputs))] = nullptr;
    const std::vector<Out> before = out->buffer;
    std::vector<Out> expected = before;
    std::vector<Out *> after = to;
    for (int p = 0; p < run.pixels; ++p) {
        const std::vector<Out> pixel = model(p, in.point(p));
        for (std::size_t c = 0; c < to.size() && !pixel.empty(); ++c)
            if (to[c] != nullptr)
                expected.data()[to[c] - out->buffer.data() + p * out->step] = pixel[c];
    }
    for (Out *&at : after)
        at += at != nullptr && run.advances ? std::max(run.pixels, 0) * out->step : 0;
    at_every_level([&](teska::simd_level) {
        std::copy(before.begin(), before.end(), out->buffer.begin());
        std::vector<In *> from = in.at;
        std::vector<Out *> results = to;
        EXPECT_EQ(convert(from.data(), in.step, results.data(), out->step, run.pixels), 1);
        ASSERT_EQ(out->buffer, expected) << run.inputs << " to " << run.outputs << ", " << run.pixels
                                         << " pixels, steps " << in.step << " and " << out->step << ", bytes "
                                         << sizeof(In) << " to " << sizeof(Out);
        ASSERT_EQ(results, after);
        ASSERT_EQ(from, in.at);
    });
}

// A single point through a conversion.
template <class T>
std::vector<T> converted(auto *table, const std::vector<T> &point, int outputs, auto convert, auto... mask)
{
    Samples<T> in(point), out(std::vector<T>(static_cast<std::size_t>(outputs)));
    EXPECT_EQ(convert(table, in.at.data(), 1, out.at.data(), 1, 1, mask...), 1);
    return out.buffer;
}

// Bytes as 16-bit samples and back.
template <class Sample>
std::vector<unsigned short> widened(const std::vector<Sample> &samples)
{
    std::vector<unsigned short> words;
    for (const Sample sample : samples)
        words.push_back(static_cast<unsigned short>(sizeof(Sample) == 1 ? 257 * sample : sample));
    return words;
}

template <class Sample>
std::vector<Sample> narrowed(const std::vector<unsigned short> &words)
{
    std::vector<Sample> samples;
    for (const unsigned short word : words)
        samples.push_back(static_cast<Sample>(sizeof(Sample) == 1 ? (word + 128) / 257 : word));
    return samples;
}

}  // namespace teska_test

#endif
