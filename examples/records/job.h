// job - a folder of pictures packed, unpacked, damaged on purpose, and described in a record file
//
//     pictures --(FilePacker)--> pictures.fp --(FilePacker)--> unpacked/
//                                     |
//                              one bit turned --(FilePacker)--> damaged/
//
// Digests of all files are taken on every side: they must agree, except for the damaged picture, where they must not.

#ifndef EXAMPLES_RECORDS_JOB_H
#define EXAMPLES_RECORDS_JOB_H

#include "records/archive.h"
#include "records/figures.h"

namespace examples
{

struct damage {
    std::string name;    // of the picture
    std::size_t at;      // place of the damaged byte in the archive
    std::string before;  // digests
    std::string after;
    int bits;  // by which they differ
};

struct records_results {
    packed_archive packed;
    std::vector<std::string> unpacked;  // digests, in the order of the entries
    damage turned;
    std::vector<named_figures> figures;  // of each picture: bytes, bits per pixel, mean level of its samples
    std::vector<named_figures> listed;   // the same from the record file
    std::string record;                  // text of the record file
};

// Packs every picture that lies in a folder of root, `output` itself left out, and puts the archive, the unpacked files
// and the record file into `output`. Throws failure when anything comes back otherwise than it was.
records_results run_records(const std::filesystem::path &root, const std::filesystem::path &output);

}  // namespace examples

#endif
