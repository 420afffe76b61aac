// profiles - ICC profiles by name or from pictures, checked before Little CMS sees them

#include "profiles.h"

#include "frame/failure.h"
#include "frame/job.h"
#include "frame/text.h"

#include <array>
#include <chrono>
#include <utility>

namespace tool
{

namespace
{

constexpr cmsUInt32Number direct = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;

extern "C" void keep_text(cmsContext context, cmsUInt32Number, const char *text)
{
    if (auto *kept = static_cast<std::string *>(cmsGetContextUserData(context)))
        *kept = text;
}

std::uint32_t number_at(const std::string &bytes, std::size_t at)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number * 256 + static_cast<unsigned char>(bytes[at + i]);
    return number;
}

// Size field, signature and the places of all tags.
void require_whole(job &work, const std::string &shown, const std::string &prefix, const std::string &bytes)
{
    constexpr std::size_t header = 128;
    constexpr std::size_t tag_entry = 12;
    if (bytes.size() < header + 4 || bytes.compare(36, 4, "acsp") != 0)
        throw failure(shown, prefix + "no ICC profile");
    const std::uint32_t size = number_at(bytes, 0);
    if (size > bytes.size())
        throw failure(shown, prefix + "damaged: its header says " + std::to_string(size) + " bytes, the file has " +
                                 std::to_string(bytes.size()));
    if (bytes.size() - size > 3)
        work.note(shown, prefix + std::to_string(bytes.size() - size) + " bytes behind the end of the profile");
    const std::uint32_t tags = number_at(bytes, header);
    if (size < header + 4 || tags > (size - header - 4) / tag_entry)
        throw failure(shown, prefix + "damaged: its table of " + std::to_string(tags) + " tags lies outside of it");
    for (std::uint32_t i = 0; i < tags; ++i) {
        const std::size_t entry = header + 4 + i * tag_entry;
        const std::uint32_t offset = number_at(bytes, entry + 4);
        const std::uint32_t length = number_at(bytes, entry + 8);
        if (offset > size || length > size - offset)
            throw failure(shown, prefix + "damaged: its tag \"" + bytes.substr(entry, 4) + "\" lies outside of it");
    }
}

bool has_matrix(cmsHPROFILE profile)
{
    for (const cmsTagSignature tag : {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag,
                                      cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag})
        if (cmsIsTag(profile, tag) == FALSE)
            return false;
    return true;
}

bool has_gray(cmsHPROFILE profile)
{
    return cmsGetColorSpace(profile) == cmsSigGrayData && cmsIsTag(profile, cmsSigGrayTRCTag) != FALSE;
}

cmsUInt32Number format16(cmsHPROFILE profile) { return cmsFormatterForColorspaceOfProfile(profile, 2, FALSE); }

cmsCIExyY d50()
{
    cmsCIExyY white;
    cmsXYZ2xyY(&white, cmsD50_XYZ());
    return white;
}

cmsToneCurve *srgb_curve(cmsContext context)
{
    const std::array<cmsFloat64Number, 5> parameters = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    return cmsBuildParametricToneCurve(context, 4, parameters.data());
}

}  // namespace

cmsUInt32Number intent_of(const std::string &name)
{
    if (name == "perceptual")
        return INTENT_PERCEPTUAL;
    if (name == "saturation")
        return INTENT_SATURATION;
    return name == "absolute" ? INTENT_ABSOLUTE_COLORIMETRIC : INTENT_RELATIVE_COLORIMETRIC;
}

std::optional<colour_space> space_of(std::uint32_t signature)
{
    switch (signature) {
    case cmsSigGrayData:
        return colour_space{colour_kind::gray, 1};
    case cmsSigRgbData:
        return colour_space{colour_kind::rgb, 3};
    case cmsSigLabData:
        return colour_space{colour_kind::lab, 3};
    case cmsSigCmykData:
    case cmsSig4colorData:
        return colour_space{colour_kind::cmyk, 4};
    case cmsSigCmyData:
        return colour_space{colour_kind::inks, 3};
    default:
        break;
    }
    const char first = static_cast<char>(signature >> 24U);
    constexpr std::uint32_t colours = 0x434C52;  // CLR
    if ((signature & 0xFFFFFFU) == colours && ((first >= '1' && first <= '9') || (first >= 'A' && first <= 'F')))
        return colour_space{colour_kind::inks, first <= '9' ? first - '0' : first - 'A' + 10};
    return std::nullopt;
}

std::string space_name(std::uint32_t signature)
{
    if (const std::optional<colour_space> known = space_of(signature))
        return name_of(known->kind, known->channels);
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(signature >> static_cast<unsigned>(shift));
    while (text.ends_with(' '))
        text.pop_back();
    return text;
}

std::string colour_profile::description() const
{
    std::array<char, 512> text{};
    cmsGetProfileInfoASCII(get(), cmsInfoDescription, "en", "US", text.data(), text.size() - 1);
    return text.data();
}

bool colour_profile::is_source() const
{
    for (const cmsTagSignature tag : {cmsSigAToB0Tag, cmsSigDToB0Tag, cmsSigAToB1Tag, cmsSigDToB1Tag})
        if (cmsIsTag(get(), tag) != FALSE)
            return true;
    return has_matrix(get()) || has_gray(get());
}

bool colour_profile::is_target(cmsUInt32Number intent) const
{
    if (is_built_in_)
        return true;
    if (device_class() == cmsSigColorSpaceClass && signature() == cmsSigLabData)
        return false;
    constexpr std::array<cmsTagSignature, 4> integer = {cmsSigBToA0Tag, cmsSigBToA1Tag, cmsSigBToA2Tag, cmsSigBToA1Tag};
    constexpr std::array<cmsTagSignature, 4> real = {cmsSigBToD0Tag, cmsSigBToD1Tag, cmsSigBToD2Tag, cmsSigBToD3Tag};
    for (const cmsTagSignature tag : {cmsSigBToA0Tag, integer[intent % 4], real[intent % 4]})
        if (cmsIsTag(get(), tag) != FALSE)
            return true;
    return has_matrix(get()) || has_gray(get());
}

void colour_profile::require_pictures() const
{
    if (device_class() == cmsSigNamedColorClass)
        throw failure(shown_, "a named-colour profile cannot convert pictures");
    if (device_class() == cmsSigLinkClass)
        throw failure(shown_, "a device link stands alone", "use --link");
    if (!space())
        throw failure(shown_, "is for " + space_name(signature()) + ", which no picture has");
}

void colour_profile::require_source() const
{
    require_pictures();
    if (!is_source())
        throw failure(shown_, "cannot be a source (it has no table from its colours to Lab)");
}

void colour_profile::require_target(cmsUInt32Number intent) const
{
    require_pictures();
    if (!is_target(intent))
        throw failure(shown_, "cannot be a target (it has no table from Lab to its colours)");
}

colour_engine::colour_engine() : context_(cmsCreateContext(nullptr, &text_))
{
    if (context_ == nullptr)
        throw std::bad_alloc();
    cmsSetLogErrorHandlerTHR(context_, keep_text);
}

colour_engine::~colour_engine() { cmsDeleteContext(context_); }

std::string colour_engine::take_text() { return std::exchange(text_, ""); }

void colour_engine::fail(const std::string &shown)
{
    const std::string text = take_text();
    throw failure(shown, "Little CMS: " + (text.empty() ? "cannot use it" : text));
}

colour_profile colour_engine::open(job &work, const std::string &name)
{
    if (name.find_first_of("/.\\") == std::string::npos) {
        colour_profile made = built_in(name);
        if (made.get() != nullptr)
            return made;
        if (!facts_of(name))
            throw failure(name, "no such profile", "srgb, linear, gray, lab or a file");
    }
    const input_file file(name);
    colour_profile opened = open_bytes(work, name, "", read_file(name, largest_profile));
    opened.modified_ = file.facts().modified;
    return opened;
}

colour_profile colour_engine::open_embedded(job &work, const std::string &picture, std::string bytes)
{
    return open_bytes(work, picture, "its profile: ", std::move(bytes));
}

colour_profile colour_engine::open_bytes(job &work, const std::string &shown, const std::string &prefix,
                                         std::string bytes)
{
    require_whole(work, shown, prefix, bytes);
    colour_profile opened;
    opened.shown_ = shown;
    opened.bytes_ = std::move(bytes);
    opened.handle_.reset(
        cmsOpenProfileFromMemTHR(context_, opened.bytes_.data(), static_cast<cmsUInt32Number>(opened.bytes_.size())));
    if (!opened.handle_)
        fail(shown);
    return opened;
}

colour_profile colour_engine::built_in(const std::string &name)
{
    colour_profile made;
    made.is_built_in_ = true;
    made.is_srgb_ = name == "srgb";
    const auto curve_owner = [](cmsToneCurve *curve) {
        return std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>(curve, cmsFreeToneCurve);
    };
    if (name == "srgb") {
        made.handle_.reset(cmsCreate_sRGBProfileTHR(context_));
    } else if (name == "linear") {
        const auto curve = curve_owner(cmsBuildGamma(context_, 1));
        cmsToneCurve *curves[3] = {curve.get(), curve.get(), curve.get()};
        const cmsCIExyY white = {0.3127, 0.3290, 1};
        const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
        made.handle_.reset(cmsCreateRGBProfileTHR(context_, &white, &primaries, curves));
    } else if (name == "gray") {
        const auto curve = curve_owner(srgb_curve(context_));
        const cmsCIExyY white = d50();
        made.handle_.reset(cmsCreateGrayProfileTHR(context_, &white, curve.get()));
    } else if (name == "lab") {
        made.handle_.reset(cmsCreateLab4ProfileTHR(context_, nullptr));
    } else {
        return made;
    }
    made.shown_ = name;
    if (!made.handle_)
        fail(name);
    made.bytes_ = saved_profile(made.get());
    return made;
}

colour_profile colour_engine::from_gamma(const gamma_facts &facts, colour_kind kind)
{
    colour_profile made;
    const std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)> curve(cmsBuildGamma(context_, 1 / facts.gamma),
                                                                           cmsFreeToneCurve);
    cmsCIExyY white = {0.3127, 0.3290, 1};
    cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    if (const auto &w = facts.white) {
        white = {(*w)[0], (*w)[1], 1};
        primaries = {{(*w)[2], (*w)[3], 1}, {(*w)[4], (*w)[5], 1}, {(*w)[6], (*w)[7], 1}};
    }
    if (kind == colour_kind::gray) {
        const cmsCIExyY neutral = d50();
        made.handle_.reset(curve ? cmsCreateGrayProfileTHR(context_, &neutral, curve.get()) : nullptr);
    } else {
        cmsToneCurve *curves[3] = {curve.get(), curve.get(), curve.get()};
        made.handle_.reset(curve ? cmsCreateRGBProfileTHR(context_, &white, &primaries, curves) : nullptr);
    }
    made.shown_ = "gAMA and cHRM";
    if (!made.handle_)
        fail(made.shown_);
    made.bytes_ = saved_profile(made.get());
    return made;
}

transform colour_engine::make(const colour_profile &from, cmsUInt32Number in, cmsHPROFILE to, cmsUInt32Number out,
                              cmsUInt32Number intent, bool bpc, const std::string &shown)
{
    transform made;
    take_text();
    made.handle_.reset(cmsCreateTransformTHR(context_, from.get(), in, to, out, intent,
                                             direct | (bpc ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0U)));
    if (!made.handle_)
        fail(shown);
    return made;
}

transform colour_engine::connect(const colour_profile &from, const colour_profile &to, cmsUInt32Number intent, bool bpc)
{
    return make(from, format16(from.get()), to.get(), format16(to.get()), intent, bpc,
                to.is_built_in() ? from.shown() : to.shown());
}

transform colour_engine::link(const colour_profile &link, cmsUInt32Number intent)
{
    return make(link, format16(link.get()), nullptr, cmsFormatterForPCSOfProfile(link.get(), 2, FALSE), intent, false,
                link.shown());
}

transform colour_engine::to_lab(const colour_profile &from, cmsUInt32Number intent, bool bpc)
{
    const colour_profile lab = built_in("lab");
    return make(from, format16(from.get()), lab.get(), TYPE_Lab_DBL, intent, bpc, from.shown());
}

transform colour_engine::from_lab(const colour_profile &to, cmsUInt32Number intent, bool bpc)
{
    const colour_profile lab = built_in("lab");
    return make(lab, TYPE_Lab_DBL, to.get(), format16(to.get()), intent, bpc, to.shown());
}

std::string saved_profile(cmsHPROFILE profile, std::int64_t date)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::string bytes(size, '\0');
    if (size < 128 || cmsSaveProfileToMem(profile, bytes.data(), &size) == FALSE)
        throw failure("", "Little CMS cannot save a profile");
    // Year, month, day, hour, minute, second: big-endian words from byte 24 on.
    const std::chrono::sys_seconds time{std::chrono::seconds(date)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss clock(time - day);
    const std::array<unsigned, 6> fields = {static_cast<unsigned>(static_cast<int>(calendar.year())),
                                            static_cast<unsigned>(calendar.month()),
                                            static_cast<unsigned>(calendar.day()),
                                            static_cast<unsigned>(clock.hours().count()),
                                            static_cast<unsigned>(clock.minutes().count()),
                                            static_cast<unsigned>(clock.seconds().count())};
    for (std::size_t i = 0; i < fields.size(); ++i) {
        bytes[24 + 2 * i] = static_cast<char>(fields[i] / 256);
        bytes[25 + 2 * i] = static_cast<char>(fields[i] % 256);
    }
    return bytes;
}

}  // namespace tool
