// ink_device - colours of a device by the amounts of its inks: by a profile, or the solids and overprints of a chart
//
//     const std::unique_ptr<ink_device> press = ink_device::open(work, engine, "press.icc");
//     const double half_cyan[] = {0.5, 1, 1, 1};        1 is none of an ink, 0 all of it
//     lab_colour colour;
//     if (press->colour(half_cyan, colour)) ..

#ifndef TESKA_TOOL_INK_DEVICE_H
#define TESKA_TOOL_INK_DEVICE_H

#include "delta_e.h"
#include "frame/files.h"

#include <memory>
#include <string>
#include <vector>

namespace tool
{

class colour_engine;
class job;

class ink_device
{
public:
    // Throws a failure when there are less than three inks, or more than eight. The file may be null: the name is then
    // that of a built-in profile. The engine must stay.
    static std::unique_ptr<ink_device> open(job &work, colour_engine &engine, const std::string &name,
                                            const input_file *file);
    virtual ~ink_device() = default;

    [[nodiscard]] const std::vector<std::string> &inks() const { return inks_; }
    [[nodiscard]] int count() const { return static_cast<int>(inks_.size()); }

    // Whether only solids and overprints are known: values 0 and 1.
    [[nodiscard]] virtual bool is_chart() const = 0;

    // False when the colour is not known. One thread at a time.
    virtual bool colour(const double *device, lab_colour &lab) = 0;

protected:
    std::vector<std::string> inks_;
};

// Whether a name is that of a built-in profile, and whether a file is a profile by its mark.
bool is_built_in(const std::string &name);
bool is_profile(const input_file &file);

}  // namespace tool

#endif
