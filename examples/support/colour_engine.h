// colour_engine - profiles and transforms of Little CMS, owned and with their errors as text

#ifndef EXAMPLES_COLOUR_ENGINE_H
#define EXAMPLES_COLOUR_ENGINE_H

#include "support/foreign.h"
#include "support/picture.h"

#include <lcms2.h>

#include <filesystem>
#include <string>

namespace examples
{

using profile = foreign<void, cmsCloseProfile>;

// A conversion between two profiles, pixel by pixel.
class transform
{
public:
    transform(cmsHTRANSFORM handle, int outputs) : handle_(handle), outputs_(outputs) {}

    void run(const void *in, void *out, int pixels) const
    {
        cmsDoTransform(handle_.get(), in, out, static_cast<cmsUInt32Number>(pixels));
    }

    explicit operator bool() const { return handle_ != nullptr; }

    // A whole picture, line by line. Both pictures have the same width and height.
    void run(const picture &in, picture &out) const;
    picture run(const picture &in) const;

private:
    foreign<void, cmsDeleteTransform> handle_;
    int outputs_;  // channels
};

// How a transform works: through every stage of both profiles for every pixel, or through a table of its own that
// Little CMS builds beforehand, which is what a program gets that asks for nothing special.
enum class evaluation { direct, optimised };

struct ends {
    const profile &from;
    cmsUInt32Number from_format;
    const profile &to;
    cmsUInt32Number to_format;
    cmsUInt32Number intent;
};

// A context of Little CMS. Every failure is a `failure` with Little CMS' own words in its text.
class colour_engine
{
public:
    colour_engine();

    profile srgb();
    profile lab();

    // A printer profile for four inks; anything else is refused.
    profile open_press(const std::filesystem::path &file);

    transform connect(const ends &link, evaluation how);

private:
    // Little CMS keeps the address of this text.
    std::unique_ptr<std::string> message_;
    foreign<_cmsContext_struct, cmsDeleteContext> context_;
};

// The description inside a profile.
std::string description(const profile &of);

}  // namespace examples

#endif
