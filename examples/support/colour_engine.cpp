// colour_engine - profiles and transforms of Little CMS, owned and with their errors as text

#include "support/colour_engine.h"

#include "support/failure.h"

#include <array>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace examples
{

namespace
{

void keep_message(cmsContext context, cmsUInt32Number, const char *text)
{
    if (auto *message = static_cast<std::string *>(cmsGetContextUserData(context)))
        *message = text;
}

}  // namespace

void transform::run(const picture &in, picture &out) const
{
    for (int y = 0; y < in.height; ++y)
        run(in.line(y), out.line(y), in.width);
}

picture transform::run(const picture &in) const
{
    picture out(in.width, in.height, outputs_);
    run(in, out);
    return out;
}

colour_engine::colour_engine()
    : message_(std::make_unique<std::string>()), context_(cmsCreateContext(nullptr, message_.get()))
{
    if (!context_)
        throw failure("Little CMS cannot be started");
    cmsSetLogErrorHandlerTHR(context_.get(), keep_message);
}

profile colour_engine::srgb()
{
    profile made(cmsCreate_sRGBProfileTHR(context_.get()));
    if (!made)
        throw failure("Little CMS cannot make its sRGB profile: " + *message_);
    return made;
}

profile colour_engine::lab()
{
    profile made(cmsCreateLab4ProfileTHR(context_.get(), nullptr));
    if (!made)
        throw failure("Little CMS cannot make its Lab profile: " + *message_);
    return made;
}

profile colour_engine::open_press(const std::filesystem::path &file)
{
    if (!std::ifstream(file))
        throw failure("cannot read the profile " + file.string() + ": " + std::generic_category().message(errno));
    profile opened(cmsOpenProfileFromFileTHR(context_.get(), file.c_str(), "r"));
    if (!opened)
        throw failure(file.string() + " is not a colour profile: " + *message_);
    if (cmsGetColorSpace(opened.get()) != cmsSigCmykData || cmsGetDeviceClass(opened.get()) != cmsSigOutputClass)
        throw failure(file.string() + " is not a profile of a CMYK press");
    return opened;
}

transform colour_engine::connect(const ends &link, evaluation how)
{
    const cmsUInt32Number flags = how == evaluation::direct ? cmsFLAGS_NOOPTIMIZE : 0;
    transform made(cmsCreateTransformTHR(context_.get(), link.from.get(), link.from_format, link.to.get(),
                                         link.to_format, link.intent, flags),
                   T_CHANNELS(link.to_format));
    if (!made)
        throw failure("Little CMS cannot connect the profiles: " + *message_);
    return made;
}

std::string description(const profile &of)
{
    std::array<char, 256> text{};
    cmsGetProfileInfoASCII(of.get(), cmsInfoDescription, "en", "US", text.data(), text.size());
    return text.data();
}

}  // namespace examples
