// pictures - small pictures of every kind for tests, and what is in a file

#ifndef TESKA_TOOL_TESTS_PICTURES_H
#define TESKA_TOOL_TESTS_PICTURES_H

#include "frame/job.h"
#include "pictures/picture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tool_test
{

// A page with all its samples, 16-bit samples as they are and bytes as bytes.
struct whole_page {
    tool::page_facts facts;
    std::vector<std::uint16_t> samples;  // line by line, pixel by pixel
};

// A page of random samples that change slowly, the same on every run.
whole_page random_page(tool::colour_kind kind, int colours, int depth, std::uint32_t width, std::uint32_t height,
                       std::vector<tool::extra_kind> extras = {});

void write_pages(const std::string &path, const std::vector<whole_page> &pages, const tool::picture_options &said = {});

std::vector<whole_page> read_pages(const std::string &path, const tool::picture_options &said = {});

// The first page.
whole_page read_page(const std::string &path, const tool::picture_options &said = {});

// A TIFF by hand: little or big endian, one strip at byte 8, then the entries {tag, type, count, value}.
std::string plain_tiff(bool big_endian, const std::vector<std::vector<std::uint32_t>> &entries,
                       const std::string &data);

// The press profile that the system has, empty when there is none.
std::string press_profile();

}  // namespace tool_test

#endif
