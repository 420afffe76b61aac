// remove - whole trees removed, for callers and for what a copy has to take back

#ifndef TESKA_SOURCE_RSYS_REMOVE_H
#define TESKA_SOURCE_RSYS_REMOVE_H

#include "Platform/folders.h"
#include "Source/rsys/path_text.h"

#include "rsys.h"

namespace teska::rsys
{

enum class removal { gone, stopped, missing, some_left, no_memory };

// What a removal is done with.
struct removing {
    rsys_progress_fn progress = nullptr;
    void *context = nullptr;
    bool own = false;  // a tree that the process has just made: read-only folders are opened to it first
};

// Removes a name of a folder and all below it. The path is that of the name, for the progress. errno tells the first
// reason of what is left.
removal remove_tree(const folders::folder &parent, const char *name, path_text &path, const removing &how) noexcept;

}  // namespace teska::rsys

#endif
