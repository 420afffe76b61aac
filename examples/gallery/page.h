// page - the gallery as one HTML file beside its pictures
//
//     output folder/
//         index.html          text and style; needs no network and no script
//         <section>/x.png     the pictures at full resolution
//         records/            also the archive, what came out of it and the record file
//         code/               the code behind each figure, a page for each
//
// A section is a function in a file of its own: it does its work through the example code of the library, writes its
// pictures with `section_folder` and gives back its text. main lists the sections.

#ifndef EXAMPLES_PAGE_H
#define EXAMPLES_PAGE_H

#include "support/picture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace examples
{

struct section {
    std::string id;       // name of its folder and of its place in the page
    std::string title;    // plain text
    std::string summary;  // what was measured, in a line or two for the terminal
    std::string html;     // everything below the title
};

// The numbers beside a picture: from its left or lower edge to the other, at multiples of a step.
struct scale {
    double lo, hi, step;
};

// Where one section puts its pictures.
class section_folder
{
public:
    // Makes the folder. Throws failure when it cannot be made.
    section_folder(const std::filesystem::path &output, std::string id);

    // The same folder, whose figures lead to the code that made them: a file, counted from the root of the checkout,
    // and a part of it (code.h).
    section_folder made_by(const std::string &file, const std::string &part = {}) const;

    // Writes id/name.png and gives back a link to it that shows it. alt is plain text.
    std::string image(const std::string &name, const picture &shown, const std::string &alt) const;

    // The link to the code, for captions of figures that are put together elsewhere.
    std::string code_link() const;

    // Anything as a figure, with the way to its code. content and caption are HTML.
    std::string framed(const std::string &content, const std::string &caption) const;

    // A picture whose pixels are to be seen: shown at whole multiples of them, or at one over a whole number where
    // there is less room. Each pixel of its own takes so many of the file. Axes have numbers where they have a step;
    // over is drawn above it, HTML.
    std::string pixels(const std::string &name, const picture &shown, const std::string &alt,
                       const std::string &caption, int magnification = 1, const scale &across = {},
                       const scale &up = {}, const std::string &over = {}) const;

    // A picture of the page inside a figure, as wide as there is room. caption is HTML.
    std::string figure(const std::string &name, const picture &shown, const std::string &alt,
                       const std::string &caption) const;

    // The place of a file that is not a picture.
    std::filesystem::path file(const std::string &name) const { return folder_ / name; }

    // The address of a picture within the page.
    std::string address(const std::string &name) const { return id_ + "/" + name + ".png"; }

private:
    std::filesystem::path output_;
    std::filesystem::path folder_;
    std::string id_;
    std::string code_;  // address
};

// Writes index.html. Throws failure when it cannot be written whole.
void write_page(const std::filesystem::path &output, const std::vector<section> &sections);

}  // namespace examples

#endif
