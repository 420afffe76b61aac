// formats - what the readers and writers of all formats share

#include "pictures/formats.h"

#include "frame/job.h"

namespace tool
{

void library_warnings::add(const std::string &text)
{
    constexpr int most = 3;
    if (++count_ <= most)
        work_.note(path_, text);
}

}  // namespace tool
