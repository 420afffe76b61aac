// links - which paths are links, and which are other reparse points

#ifndef TESKA_PLATFORM_WIN32_FOLDERS_LINKS_H
#define TESKA_PLATFORM_WIN32_FOLDERS_LINKS_H

#include <windows.h>

namespace teska::folders
{

// Tags of links have a bit for it. Where a layer under the host gives links without a tag, they are taken for links
// too.
bool is_link_tag(DWORD tag) noexcept;
// Whether a file with this tag is a socket, a pipe or a device.
bool is_device_tag(DWORD tag) noexcept;

// The tag of a path with these attributes, 0 when it cannot be looked at. The attribute of reparse points is taken from
// a root, whatever is mounted there.
DWORD tag_of(const wchar_t *path, DWORD &attributes) noexcept;

bool is_link(const wchar_t *path, DWORD attributes) noexcept;
bool is_link(const wchar_t *path) noexcept;

// Whether a volume is mounted at what is open.
bool holds_volume(HANDLE handle) noexcept;

// Puts one link in the place of another of the same folder. The host does it for files alone, and a link to a folder
// counts as a folder: so the old one is moved aside first, and a process that is killed then leaves it there.
bool replace_link(const wchar_t *from, const wchar_t *to) noexcept;

}  // namespace teska::folders

#endif
