// paths - names and paths in UTF-8, and in the form of the host
//
// The host's paths have the prefix "\\?\", which takes the limit of 260 characters away and the host's own reading of
// "." and "..": relative ones are made full first.

#ifndef TESKA_PLATFORM_WIN32_FOLDERS_PATHS_H
#define TESKA_PLATFORM_WIN32_FOLDERS_PATHS_H

#include "Platform/folders.h"
#include "Support/memory.h"

#include <cstddef>

namespace teska::folders
{

using wide_text = heap_block<wchar_t>;

// Zeroed units. An empty owner, with ENOMEM, when memory is short.
wide_text wide_block(std::size_t units) noexcept;

bool begins(const wchar_t *text, const wchar_t *with) noexcept;

// The bytes of a name of the host, with their zero; at most three for each unit.
void narrow(const wchar_t *name, std::size_t count, char *bytes) noexcept;

// The host's path of a name in a folder. An empty owner, with errno, when the host has none or memory is short.
wide_text path_of(const folder &parent, const char *name) noexcept;

}  // namespace teska::folders

#endif
