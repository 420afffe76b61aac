// handles - handles, and what the host says about what they lead to

#include "Platform/win32/folders/handles.h"

#include "Platform/win32/folders/errors.h"
#include "Platform/win32/folders/links.h"
#include "Support/memory.h"

#include <cstring>
#include <string_view>

namespace teska::folders
{

namespace
{

constexpr unsigned readable = 0444;
constexpr std::int64_t ticks_a_second = 10000000;
constexpr std::int64_t seconds_from_1601_to_1970 = 11644473600;

moment moment_of(std::int64_t ticks) noexcept
{
    return {ticks / ticks_a_second - seconds_from_1601_to_1970, static_cast<int>(ticks % ticks_a_second * 100)};
}

std::int64_t ticks_of(const moment &time) noexcept
{
    return (time.seconds + seconds_from_1601_to_1970) * ticks_a_second + time.nanoseconds / 100;
}

// The path of what is open on its volume, as part of a block.
bool path_by_handle(HANDLE handle, heap_block<char> &block, std::wstring_view &path) noexcept
{
    constexpr DWORD room = sizeof(FILE_NAME_INFO) + sizeof(wchar_t) * 32767;
    block = zeroed_block<char>(room);
    if (!block)
        return fail(ENOMEM);
    const auto *info = reinterpret_cast<const FILE_NAME_INFO *>(block.get());
    if (!GetFileInformationByHandleEx(handle, FileNameInfo, block.get(), room))
        return refused();
    path = {info->FileName, info->FileNameLength / sizeof(wchar_t)};
    return true;
}

}  // namespace

HANDLE open_handle(const wchar_t *path, DWORD access, DWORD share, DWORD flags) noexcept
{
    return CreateFileW(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr);
}

status status_of(DWORD attributes, DWORD tag, std::int64_t size, std::int64_t changed) noexcept
{
    status state;
    const bool reparse = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (reparse && is_link_tag(tag))
        state.what = kind::link;
    else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        state.what = kind::folder;
    else if ((attributes & FILE_ATTRIBUTE_DEVICE) == 0 && !(reparse && is_device_tag(tag)))
        state.what = kind::file;
    state.hidden = (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    state.size = state.what == kind::file ? size : 0;
    state.changed = moment_of(changed);
    state.permission = readable | ((attributes & FILE_ATTRIBUTE_READONLY) != 0 ? 0 : writable);
    return state;
}

bool status_by_handle(HANDLE handle, status &state) noexcept
{
    BY_HANDLE_FILE_INFORMATION info;
    if (!GetFileInformationByHandle(handle, &info))
        return refused();
    const DWORD attributes = info.dwFileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_REPARSE_POINT);
    state = status_of(attributes, 0, joined(info.nFileSizeHigh, info.nFileSizeLow),
                      joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime));
    if (GetFileType(handle) != FILE_TYPE_DISK)
        state.what = kind::other;
    return true;
}

bool identity_by_handle(HANDLE handle, identity &id) noexcept
{
    FILE_ID_INFO info = {};
    if (GetFileInformationByHandleEx(handle, FileIdInfo, &info, sizeof info)) {
        id.device = info.VolumeSerialNumber;
        std::memcpy(&id.number, info.FileId.Identifier, sizeof id.number);
        std::memcpy(&id.number_high, info.FileId.Identifier + sizeof id.number, sizeof id.number_high);
        return true;
    }
    BY_HANDLE_FILE_INFORMATION older;
    if (!GetFileInformationByHandle(handle, &older))
        return refused();
    id = {older.dwVolumeSerialNumber, static_cast<std::uint64_t>(joined(older.nFileIndexHigh, older.nFileIndexLow)), 0};
    return true;
}

bool lies_in(HANDLE above, HANDLE handle) noexcept
{
    heap_block<char> blocks[2];
    std::wstring_view folder;
    std::wstring_view path;
    BY_HANDLE_FILE_INFORMATION volumes[2];
    if (!path_by_handle(above, blocks[0], folder) || !path_by_handle(handle, blocks[1], path))
        return false;
    if (!GetFileInformationByHandle(above, &volumes[0]) || !GetFileInformationByHandle(handle, &volumes[1]))
        return refused();
    // A root has its separator.
    const std::wstring_view begin = path.substr(0, path.rfind(L'\\') + (folder.ends_with(L'\\') ? 1 : 0));
    const bool same = CompareStringOrdinal(begin.data(), static_cast<int>(begin.size()), folder.data(),
                                           static_cast<int>(folder.size()), TRUE) == CSTR_EQUAL;
    return (same && volumes[0].dwVolumeSerialNumber == volumes[1].dwVolumeSerialNumber) || fail(ENOENT);
}

bool set_basic(HANDLE handle, const moment &changed, DWORD attributes) noexcept
{
    FILE_BASIC_INFO info = {};
    info.LastWriteTime.QuadPart = ticks_of(changed);
    info.FileAttributes = attributes;
    return SetFileInformationByHandle(handle, FileBasicInfo, &info, sizeof info) || refused();
}

}  // namespace teska::folders
