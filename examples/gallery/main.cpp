// gallery - shows what the library does, on real input
//
//     gallery --photo <png> --profile <icc> --out <folder> [--chart <patches>] [--live <folder>]
//
// Exit code 0, or 1 with one line on standard error.

#include "support/failure.h"

#include "error_mess.h"
#include "gallery/page.h"
#include "gallery/sections.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string_view>
#include <vector>

namespace
{

using namespace examples;

constexpr int queue_reports = 2;

gallery_inputs read_arguments(int argc, char **argv)
{
    gallery_inputs inputs;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view option = argv[i];
        if (option == "--photo")
            inputs.photo = argv[i + 1];
        else if (option == "--profile")
            inputs.profile = argv[i + 1];
        else if (option == "--out")
            inputs.output = argv[i + 1];
        else if (option == "--chart")
            inputs.chart = argv[i + 1];
        else if (option == "--live")
            inputs.live = argv[i + 1];
        else
            throw failure("unknown option " + std::string(option));
    }
    if (argc % 2 == 0 || inputs.photo.empty() || inputs.profile.empty() || inputs.output.empty())
        throw failure(
            "usage: gallery --photo <png> --profile <icc> --out <folder> [--chart <patches>] [--live <folder>]");
    return inputs;
}

void make_gallery(const gallery_inputs &inputs)
{
    std::vector<section> sections;
    for (const auto make : {separation_section, live_section, objects_section, gamut_section, cloud_section,
                            topsurface_section, curves_section, lines_section, records_section})
        sections.push_back(make(inputs));
    write_page(inputs.output, sections);
    for (const section &shown : sections)
        std::printf("%s\n%s", shown.title.c_str(), shown.summary.c_str());
}

}  // namespace

int main(int argc, char **argv)
{
    error_set(queue_reports);
    try {
        make_gallery(read_arguments(argc, argv));
        return 0;
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "gallery: %s\n", problem.what());
        return 1;
    }
}
