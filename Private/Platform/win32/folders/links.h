// links - which paths are links

#ifndef TESKA_PLATFORM_WIN32_FOLDERS_LINKS_H
#define TESKA_PLATFORM_WIN32_FOLDERS_LINKS_H

#include <windows.h>

namespace teska::folders
{

// Tags of links have a bit for it. Where a layer under the host gives links without a tag, they are taken for links
// too.
bool is_link_tag(DWORD tag) noexcept;

// Whether a path with these attributes is a link; one that cannot be looked at counts as one.
bool is_link(const wchar_t *path, DWORD attributes) noexcept;
bool is_link(const wchar_t *path) noexcept;

}  // namespace teska::folders

#endif
