// formats - the reader and the writer of each format; pictures/picture.h chooses among them

#ifndef TESKA_TOOL_PICTURES_FORMATS_H
#define TESKA_TOOL_PICTURES_FORMATS_H

#include "pictures/picture.h"

#include <string>

namespace tool
{

std::unique_ptr<picture_reader> open_png(job &work, const input_file &file);
std::unique_ptr<picture_reader> open_tiff(job &work, const input_file &file, const picture_options &said);
std::unique_ptr<picture_reader> open_jpeg(job &work, const input_file &file, const picture_options &said);
std::unique_ptr<picture_reader> open_ppm(job &work, const input_file &file);

std::unique_ptr<picture_writer> make_png(job &work, output_file &file);
std::unique_ptr<picture_writer> make_tiff(job &work, output_file &file, const picture_options &said);
std::unique_ptr<picture_writer> make_jpeg(job &work, output_file &file, const picture_options &said);
std::unique_ptr<picture_writer> make_ppm(job &work, output_file &file);

// What a format's own library warns of: the first three of a file become notes.
class library_warnings
{
public:
    library_warnings(job &work, std::string path) : work_(work), path_(std::move(path)) {}
    void add(const std::string &text);

private:
    job &work_;
    std::string path_;
    int count_ = 0;
};

}  // namespace tool

#endif
