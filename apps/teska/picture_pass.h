// picture_pass - a picture brought from one file into another when its colours keep their space
//
//     picture_pass pass(work, in_, out_, pictures_);
//     pass.run([&](page_pass &page) {
//         page.target.width = 800;                        what will be different; extras and depth are set already
//         page.begin();                                   refuses what the format cannot hold
//         ..                                              read from page.reader, page.write(samples, depth, lines)
//     });
//     work.result["kernel"] = "area";                     size, format and the like are there already
//
// The profile stays, or what a PNG says in its place; a format without such words gets a profile that says the same.

#ifndef TESKA_TOOL_PICTURE_PASS_H
#define TESKA_TOOL_PICTURE_PASS_H

#include "pictures/alpha.h"
#include "pictures/picture.h"

#include <functional>
#include <string>
#include <vector>

namespace tool
{

class job;

// A page under way.
class page_pass
{
public:
    page_pass(picture_reader &source, picture_writer &writer, std::string out, file_format format,
              const picture_options &said);

    picture_reader &reader;
    const page_facts &source;
    page_facts target;
    extra_plan extras;              // what --alpha says
    bool stays_associated = false;  // colours are associated with alpha and stay so: nothing divides or multiplies them

    void begin();

    // Lines of the target, with its samples; 16-bit ones are narrowed when it has 8.
    void write(const void *samples, int depth, std::uint32_t lines);

private:
    picture_writer &writer_;
    std::string out_;
    file_format format_;
    std::vector<std::uint8_t> narrow_;
};

class picture_pass
{
public:
    picture_pass(job &work, std::string in, std::string out, const picture_options &said)
        : work_(work), in_(std::move(in)), out_(std::move(out)), said_(said)
    {
    }

    // Calls `convert` for every page, publishes, and tells what was written in the job's result.
    void run(const std::function<void(page_pass &page)> &convert);

    // Of the first page written, after run().
    [[nodiscard]] const page_facts &first() const { return first_; }

private:
    void tell(file_format format, double seconds);

    job &work_;
    std::string in_;
    std::string out_;
    const picture_options &said_;
    page_facts first_;
    std::uint64_t pixels_ = 0;
    std::vector<std::string> dropped_;
};

}  // namespace tool

#endif
