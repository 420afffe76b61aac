// profiles - ICC profiles by name or from pictures, checked before Little CMS sees them
//
//     colour_engine engine;
//     const colour_profile press = engine.open("press.icc");            or "srgb", "linear", "gray", "lab"
//     const transform to_lab = engine.to_lab(press, intent, false);
//     to_lab.run(cmyk16, lab, pixels);                                  doubles L, a, b
//
// Whatever is wrong with a profile is a failure that names the file. Little CMS opens much that is damaged without an
// error, so sizes and the table of tags are checked here.

#ifndef TESKA_TOOL_PROFILES_H
#define TESKA_TOOL_PROFILES_H

#include "frame/files.h"
#include "pictures/picture.h"

#include <lcms2.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tool
{

class job;

// Intent of "perceptual", "relative", "saturation", "absolute".
cmsUInt32Number intent_of(const std::string &name);

// What a picture is to Little CMS, and back; empty for spaces that no picture has (XYZ, Luv, ..). A signature is a
// number: that of a damaged file is no value of Little CMS's enumeration.
struct colour_space {
    colour_kind kind;
    int channels;
};
std::optional<colour_space> space_of(std::uint32_t signature);

// "RGB", "CMYK", "6 inks", or the signature of another space.
std::string space_name(std::uint32_t signature);

class colour_profile
{
public:
    [[nodiscard]] cmsHPROFILE get() const { return handle_.get(); }
    [[nodiscard]] const std::string &shown() const { return shown_; }  // for messages: the path, or the picture's
    [[nodiscard]] const std::string &bytes() const { return bytes_; }  // the same on every run
    [[nodiscard]] bool is_srgb() const { return is_srgb_; }            // the built-in one
    [[nodiscard]] bool is_built_in() const { return is_built_in_; }
    [[nodiscard]] std::int64_t modified() const { return modified_; }  // of its file; 0 without one

    [[nodiscard]] std::string description() const;
    [[nodiscard]] cmsProfileClassSignature device_class() const { return cmsGetDeviceClass(get()); }
    [[nodiscard]] std::uint32_t signature() const { return cmsGetColorSpace(get()); }
    [[nodiscard]] std::optional<colour_space> space() const { return space_of(signature()); }

    // Whether there is a way from its colours to Lab, and back.
    [[nodiscard]] bool is_source() const;
    [[nodiscard]] bool is_target(cmsUInt32Number intent) const;

    // Throws what keeps it from being a source or target of pictures.
    void require_source() const;
    void require_target(cmsUInt32Number intent) const;

private:
    // Neither a device link nor a named-colour profile, and of a space that pictures have.
    void require_pictures() const;

    friend class colour_engine;
    struct closes {
        void operator()(void *profile) const { cmsCloseProfile(profile); }
    };

    std::unique_ptr<void, closes> handle_;
    std::string shown_;
    std::string bytes_;
    bool is_srgb_ = false;
    bool is_built_in_ = false;
    std::int64_t modified_ = 0;
};

// A conversion by Little CMS, evaluated directly: no table, no cache. Any number of threads.
class transform
{
public:
    void run(const void *in, void *out, std::size_t pixels) const
    {
        cmsDoTransform(handle_.get(), in, out, static_cast<cmsUInt32Number>(pixels));
    }
    [[nodiscard]] cmsHTRANSFORM get() const { return handle_.get(); }

private:
    friend class colour_engine;
    struct deletes {
        void operator()(void *transform) const { cmsDeleteTransform(transform); }
    };
    std::unique_ptr<void, deletes> handle_;
};

// A context of Little CMS with its own error text; one for each thread that opens or connects profiles.
class colour_engine
{
public:
    colour_engine();
    colour_engine(const colour_engine &) = delete;
    colour_engine &operator=(const colour_engine &) = delete;
    ~colour_engine();

    // A built-in name, or a file: what has a "/" or "." in it is always a file.
    colour_profile open(job &work, const std::string &name);

    // A profile from inside a picture, or one for what a PNG says of its gamma.
    colour_profile open_embedded(job &work, const std::string &picture, std::string bytes);
    colour_profile from_gamma(const gamma_facts &facts, colour_kind kind);

    // Between device values of 16 bits; Lab as in picture.h.
    transform connect(const colour_profile &from, const colour_profile &to, cmsUInt32Number intent, bool bpc);

    // A device link or an abstract profile by itself.
    transform link(const colour_profile &link, cmsUInt32Number intent);

    // From device values of 16 bits to L, a, b in doubles, for light D50.
    transform to_lab(const colour_profile &from, cmsUInt32Number intent, bool bpc);

    // The other way; colours that cannot be printed become what the profile makes of them.
    transform from_lab(const colour_profile &to, cmsUInt32Number intent, bool bpc);

    [[nodiscard]] cmsContext context() const { return context_; }

    // What Little CMS has said last; then empty.
    std::string take_text();

private:
    colour_profile open_bytes(job &work, const std::string &shown, const std::string &prefix, std::string bytes);
    colour_profile built_in(const std::string &name);
    transform make(const colour_profile &from, cmsUInt32Number in, cmsHPROFILE to, cmsUInt32Number out,
                   cmsUInt32Number intent, bool bpc, const std::string &shown);
    [[noreturn]] void fail(const std::string &shown);

    std::string text_;  // Little CMS keeps its address
    cmsContext context_;
};

// The bytes of a profile with a fixed date in place of the time of its making.
std::string saved_profile(cmsHPROFILE profile, std::int64_t date = 946684800);  // 2000-01-01

}  // namespace tool

#endif
