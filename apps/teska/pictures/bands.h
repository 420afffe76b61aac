// bands - a picture worked on by several threads, band by band, with the same bytes for every number of them
//
// Each band of lines is read, worked on and written. Reading is in order and one band at a time, so is writing; in
// between bands are worked on side by side. A thread has a slot of buffers of its own. What the first failing band
// throws ends everything and is thrown again.

#ifndef TESKA_TOOL_PICTURES_BANDS_H
#define TESKA_TOOL_PICTURES_BANDS_H

#include <cstdint>
#include <functional>

namespace tool
{

struct band_steps {
    std::function<void(int slot, std::uint32_t band)> read;
    std::function<void(int slot, std::uint32_t band)> work;
    std::function<void(int slot, std::uint32_t band)> write;
};

// Slots are 0 .. threads - 1.
void for_bands(int threads, std::uint32_t bands, const band_steps &steps);

// Calls job(i) for 0 <= i < count on several threads, in any order.
void for_each(int threads, std::uint32_t count, const std::function<void(std::uint32_t)> &job);

}  // namespace tool

#endif
