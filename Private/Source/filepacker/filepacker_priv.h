// filepacker_priv - what both sources of FilePacker need to know

#ifndef TESKA_FILEPACKER_PRIV_H
#define TESKA_FILEPACKER_PRIV_H

#include <cstddef>

namespace teska::filepacker
{

constexpr int no_mode = -1;
constexpr int create_mode = 0;
constexpr int open_mode = 1;

constexpr std::size_t name_size = 200;     // of an entry, with its zero byte
constexpr std::size_t message_size = 160;  // of what GetError writes, at most

}  // namespace teska::filepacker

#endif
