// page - the gallery as one HTML file beside its pictures
//
//     output folder/
//         index.html          text and style; needs no network and no script
//         <section>/x.png     the pictures at full resolution
//         records/            also the archive, what came out of it and the record file
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

// Where one section puts its pictures.
class section_folder
{
public:
    // Makes the folder. Throws failure when it cannot be made.
    section_folder(const std::filesystem::path &output, std::string id);

    // Writes id/name.png and gives back a link to it that shows it. alt is plain text.
    std::string image(const std::string &name, const picture &shown, const std::string &alt) const;

    // The same inside a figure. caption is HTML.
    std::string figure(const std::string &name, const picture &shown, const std::string &alt,
                       const std::string &caption) const;

    // The place of a file that is not a picture.
    std::filesystem::path file(const std::string &name) const { return folder_ / name; }

    // The address of a picture within the page.
    std::string address(const std::string &name) const { return id_ + "/" + name + ".png"; }

private:
    std::filesystem::path folder_;
    std::string id_;
};

// Writes index.html. Throws failure when it cannot be written whole.
void write_page(const std::filesystem::path &output, const std::vector<section> &sections);

}  // namespace examples

#endif
