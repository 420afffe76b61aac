#include "files/reparse_points.h"

#include "support/test.h"

#include <winioctl.h>

// Where the program keeps the addresses of the host's calls.
extern "C" {
extern decltype(&CreateFileW) __imp_CreateFileW;
extern decltype(&GetFileAttributesW) __imp_GetFileAttributesW;
extern decltype(&GetFileAttributesExW) __imp_GetFileAttributesExW;
extern decltype(&GetFileInformationByHandleEx) __imp_GetFileInformationByHandleEx;
extern decltype(&SetFileInformationByHandle) __imp_SetFileInformationByHandle;
extern decltype(&DeviceIoControl) __imp_DeviceIoControl;
extern decltype(&CreateSymbolicLinkW) __imp_CreateSymbolicLinkW;
extern decltype(&CreateDirectoryW) __imp_CreateDirectoryW;
extern decltype(&RemoveDirectoryW) __imp_RemoveDirectoryW;
extern decltype(&DeleteFileW) __imp_DeleteFileW;
extern decltype(&MoveFileExW) __imp_MoveFileExW;
}

namespace teska_test
{

namespace
{

Links *now = nullptr;
std::set<HANDLE> elsewhere;  // opened on the other volume
std::vector<std::function<void()>> exchanges;

// A call of the host, and what is called in its place.
template <class F>
struct Call {
    Call(F &import, F feigned) : host(import), other(feigned)
    {
        exchanges.emplace_back([this, &import] {
            DWORD before = 0;
            VirtualProtect(&import, sizeof import, PAGE_READWRITE, &before);
            std::swap(import, other);
        });
    }
    F host, other;
};

const auto open = __imp_CreateFileW;
const auto attributes_of = __imp_GetFileAttributesW;

bool refuse(DWORD error)
{
    SetLastError(error);
    return false;
}

bool passes(const char *call = "")
{
    const DWORD error = now->refusal(call);
    return error == 0 || refuse(error);
}

std::uint64_t number_of(HANDLE handle)
{
    BY_HANDLE_FILE_INFORMATION info = {};
    return GetFileInformationByHandle(handle, &info) ? std::uint64_t{info.nFileIndexHigh} << 32 | info.nFileIndexLow
                                                     : 0;
}

std::uint64_t number_at(const std::wstring &path)
{
    constexpr DWORD itself = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
    const HANDLE handle = open(path.c_str(), 0, 7, nullptr, OPEN_EXISTING, itself, nullptr);
    const std::uint64_t number = handle != INVALID_HANDLE_VALUE ? number_of(handle) : 0;
    CloseHandle(handle);
    return number;
}

const Bytes *find(std::uint64_t number)
{
    const auto at = now->table.find(number);
    return at != now->table.end() ? &at->second : nullptr;
}

template <class T>
T field(const Bytes &data, std::size_t at)
{
    T value = {};
    if (at + sizeof value <= data.size())
        std::memcpy(&value, &data[at], sizeof value);
    return value;
}

DWORD tag_of(const Bytes &data) { return field<DWORD>(data, 0); }

std::wstring substitute_of(const Bytes &data)
{
    const std::size_t names = tag_of(data) == IO_REPARSE_TAG_SYMLINK ? 20 : 16;
    std::wstring text(field<WORD>(data, 10) / 2, L' ');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = field<wchar_t>(data, names + field<WORD>(data, 8) + 2 * i);
    return text;
}

std::wstring full(const std::wstring &path)
{
    wchar_t text[2000] = {};
    if (!path.starts_with(L"\\\\?\\"))
        GetFullPathNameW(path.c_str(), 2000, text, nullptr);
    return *text != 0 ? std::wstring(L"\\\\?\\") + text : path;
}

// ---- Paths through the links

constexpr DWORD folder_access = FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
const std::wstring volume_name = L"\\??\\Volume{1}";

std::wstring target(const Bytes &data, const std::wstring &folder)
{
    const std::wstring text = substitute_of(data);
    if (tag_of(data) == IO_REPARSE_TAG_SYMLINK && field<DWORD>(data, 16) == 1)
        return full((folder + L"\\" + text).substr(4));
    if (text.starts_with(volume_name))
        return now->volume + text.substr(volume_name.size());
    return L"\\\\?\\" + text.substr(4);
}

// `last`: through the last part too.
bool lead(std::wstring &path, bool last, int turns = 0)
{
    path = full(path);
    const std::wstring top = full(std::filesystem::path(testing::TempDir()).wstring());  // no links above it
    const std::size_t begin = path.starts_with(top) ? top.size() : 7;
    for (std::size_t end = path.find(L'\\', begin); end != path.npos || last; end = path.find(L'\\', end + 1)) {
        const Bytes *data = find(number_at(path.substr(0, end)));
        const DWORD tag = data != nullptr ? tag_of(*data) : 0;
        if (tag == IO_REPARSE_TAG_MOUNT_POINT || tag == IO_REPARSE_TAG_SYMLINK) {
            std::wstring next = target(*data, path.substr(0, path.rfind(L'\\', end - 1)));
            while (next.ends_with(L'\\'))
                next.pop_back();
            path = end == path.npos ? next : next + path.substr(end);
            return turns < 20 ? lead(path, last, turns + 1) : refuse(ERROR_CANT_RESOLVE_FILENAME);
        }
        if (tag == IO_REPARSE_TAG_AF_UNIX)
            return refuse(ERROR_CANT_ACCESS_FILE);
        if (end == path.npos)
            break;
    }
    return true;
}

// A call on a path.
template <class R, class F>
R at(const wchar_t *path, bool last, R refused, F call, const char *name = "")
{
    std::wstring led = path;
    return passes(name) && lead(led, last) ? static_cast<R>(call(led.c_str())) : refused;
}

DWORD mark(DWORD attributes, const Bytes *data)
{
    return attributes != INVALID_FILE_ATTRIBUTES && data != nullptr ? attributes | FILE_ATTRIBUTE_REPARSE_POINT
                                                                    : attributes;
}

template <class F>
BOOL removed(const wchar_t *led, F call)
{
    const std::uint64_t number = number_at(led);
    return call() && (now->table.erase(number), true);
}

// ---- What is called instead

const Call<decltype(&CreateFileW)> create_file{
    __imp_CreateFileW,
    [](const wchar_t *path, DWORD access, DWORD share, SECURITY_ATTRIBUTES *security, DWORD how, DWORD flags,
       HANDLE like) -> HANDLE {
        const bool last = (flags & FILE_FLAG_OPEN_REPARSE_POINT) == 0;
        return at(
            path, last, INVALID_HANDLE_VALUE,
            [=](const wchar_t *led) {
                const HANDLE handle = open(led, access, share, security, how, flags, like);
                elsewhere.erase(handle);
                if (!now->volume.empty() && std::wstring(led).starts_with(now->volume))
                    elsewhere.insert(handle);
                return handle;
            },
            access == folder_access ? "open to list" : "");
    }};

const Call<decltype(&GetFileAttributesW)> attributes{
    __imp_GetFileAttributesW, [](const wchar_t *path) -> DWORD {
        return at(path, false, INVALID_FILE_ATTRIBUTES,
                  [](const wchar_t *led) { return mark(attributes_of(led), find(number_at(led))); });
    }};

const Call<decltype(&GetFileAttributesExW)> attributes_ex{
    __imp_GetFileAttributesExW, [](const wchar_t *path, GET_FILEEX_INFO_LEVELS level, void *out) -> BOOL {
        return at(path, false, FALSE, [=](const wchar_t *led) {
            auto *info = static_cast<WIN32_FILE_ATTRIBUTE_DATA *>(out);
            const bool told = attributes_ex.host(led, level, out);
            if (told)
                info->dwFileAttributes = mark(info->dwFileAttributes, find(number_at(led)));
            return told;
        });
    }};

const Call<decltype(&GetFileInformationByHandleEx)> information{
    __imp_GetFileInformationByHandleEx,
    [](HANDLE handle, FILE_INFO_BY_HANDLE_CLASS what, void *out, DWORD size) -> BOOL {
        const bool lists = what == FileIdBothDirectoryInfo;
        if (!passes(lists ? "list" : "") || !information.host(handle, what, out, size))
            return FALSE;
        const Bytes *data = find(number_of(handle));
        if (what == FileIdInfo && elsewhere.contains(handle))
            static_cast<FILE_ID_INFO *>(out)->VolumeSerialNumber ^= 1;
        auto *tagged = static_cast<FILE_ATTRIBUTE_TAG_INFO *>(out);
        if (what == FileAttributeTagInfo && data != nullptr)
            *tagged = {mark(tagged->FileAttributes, data), tag_of(*data)};
        for (auto *place = static_cast<char *>(out); lists;) {
            auto *one = reinterpret_cast<FILE_ID_BOTH_DIR_INFO *>(place);
            if (const Bytes *found = find(static_cast<std::uint64_t>(one->FileId.QuadPart))) {
                one->FileAttributes = mark(one->FileAttributes, found);
                one->EaSize = tag_of(*found);
            }
            if (one->NextEntryOffset == 0)
                break;
            place += one->NextEntryOffset;
        }
        return TRUE;
    }};

const Call<decltype(&SetFileInformationByHandle)> set_information{
    __imp_SetFileInformationByHandle, [](HANDLE handle, FILE_INFO_BY_HANDLE_CLASS what, void *in, DWORD size) -> BOOL {
        const std::uint64_t number = number_of(handle);
        const bool set = passes() && set_information.host(handle, what, in, size);
        if (set && (what == FileDispositionInfo || what > FileIdInfo))
            now->table.erase(number);
        return set;
    }};

// Junctions only; their data are looked at as the host does.
const Call<decltype(&DeviceIoControl)> control{
    __imp_DeviceIoControl,
    [](HANDLE handle, DWORD code, void *in, DWORD in_size, void *out, DWORD out_size, DWORD *size,
       OVERLAPPED *) -> BOOL {
        const Bytes *data = find(number_of(handle));
        if (!passes())
            return FALSE;
        if (code == FSCTL_SET_REPARSE_POINT) {
            const Bytes given(static_cast<unsigned char *>(in), static_cast<unsigned char *>(in) + in_size);
            const bool fits = in_size == field<WORD>(given, 4) + 8U &&
                              field<WORD>(given, 10) + field<WORD>(given, 14) + 12U + 8U == in_size;
            if (!fits || tag_of(given) != IO_REPARSE_TAG_MOUNT_POINT || substitute_of(given)[0] != L'\\')
                return refuse(ERROR_INVALID_REPARSE_DATA);
            now->table[number_of(handle)] = given;
            return TRUE;
        }
        if (data == nullptr)
            return refuse(ERROR_NOT_A_REPARSE_POINT);
        EXPECT_GE(out_size, data->size());
        *size = static_cast<DWORD>(data->size());
        std::memcpy(out, data->data(), data->size());
        return TRUE;
    }};

const Call<decltype(&CreateSymbolicLinkW)> create_link{
    __imp_CreateSymbolicLinkW, [](const wchar_t *path, const wchar_t *to, DWORD flags) -> BOOLEAN {
        const std::wstring text = to;
        const bool share = text.starts_with(L"\\\\");
        const bool prefixed = text.starts_with(L"\\\\?\\");
        const bool relative = !share && text.substr(1, 1) != L":";
        const std::wstring root = relative ? L"" : share && !prefixed ? L"\\??\\UNC\\" : L"\\??\\";
        const std::wstring substitute = root + text.substr(prefixed ? 4 : share ? 2 : 0);
        return at(path, false, BOOLEAN{FALSE}, [&](const wchar_t *led) {
            if ((flags & 2) != 0 && !passes("unprivileged"))
                return false;
            if ((flags & 1) != 0 ? !CreateDirectoryW(led, nullptr)
                                 : !CloseHandle(open(led, 0, 7, nullptr, CREATE_NEW, 0, nullptr)))
                return false;
            now->table[number_at(led)] = Links::symbolic_link(substitute, text, relative);
            return true;
        });
    }};

const Call<decltype(&CreateDirectoryW)> create_folder{
    __imp_CreateDirectoryW, [](const wchar_t *path, SECURITY_ATTRIBUTES *security) -> BOOL {
        return at(path, false, FALSE, [=](const wchar_t *led) { return create_folder.host(led, security); });
    }};

const Call<decltype(&RemoveDirectoryW)> remove_folder{
    __imp_RemoveDirectoryW, [](const wchar_t *path) -> BOOL {
        return at(path, false, FALSE,
                  [](const wchar_t *led) { return removed(led, [=] { return remove_folder.host(led); }); });
    }};

const Call<decltype(&DeleteFileW)> remove_file{__imp_DeleteFileW, [](const wchar_t *path) -> BOOL {
                                                   return at(path, false, FALSE, [](const wchar_t *led) {
                                                       return removed(led, [=] { return remove_file.host(led); });
                                                   });
                                               }};

// No folder replaces or is replaced, and no link to one.
const Call<decltype(&MoveFileExW)> move{
    __imp_MoveFileExW, [](const wchar_t *from, const wchar_t *to, DWORD flags) -> BOOL {
        std::wstring end = to;
        return at(from, false, FALSE, [&](const wchar_t *led) -> BOOL {
            if (!lead(end, false))
                return FALSE;
            const DWORD taken = attributes_of(end.c_str());
            if (taken == INVALID_FILE_ATTRIBUTES || (flags & MOVEFILE_REPLACE_EXISTING) == 0)
                return move.host(led, end.c_str(), flags);
            if (((taken | attributes_of(led)) & FILE_ATTRIBUTE_DIRECTORY) != 0)
                return refuse(ERROR_ACCESS_DENIED);
            return removed(end.c_str(), [&] { return move.host(led, end.c_str(), flags); });
        });
    }};

Bytes reparse(DWORD tag, const std::wstring &substitute, const std::wstring &print, const Bytes &flags, bool ends)
{
    const std::wstring end(ends ? 1 : 0, L'\0');
    const std::wstring names = substitute + end + print + end;
    const auto bytes = [](std::size_t units) { return static_cast<WORD>(2 * units); };
    const WORD head[] = {static_cast<WORD>(tag),
                         static_cast<WORD>(tag >> 16),
                         static_cast<WORD>(8 + flags.size() + bytes(names.size())),
                         0,
                         0,
                         bytes(substitute.size()),
                         bytes(substitute.size() + end.size()),
                         bytes(print.size())};
    Bytes data(sizeof head + flags.size() + bytes(names.size()));
    std::memcpy(data.data(), head, sizeof head);
    std::copy(flags.begin(), flags.end(), data.begin() + sizeof head);
    std::memcpy(data.data() + sizeof head + flags.size(), names.data(), bytes(names.size()));
    return data;
}

}  // namespace

Links::Links()
{
    now = this;
    for (const auto &exchange : exchanges)
        exchange();
}

Links::~Links()
{
    for (const auto &exchange : exchanges)
        exchange();
}

Bytes Links::symbolic_link(const std::wstring &substitute, const std::wstring &print, bool relative)
{
    return reparse(IO_REPARSE_TAG_SYMLINK, substitute, print, {relative, 0, 0, 0}, false);
}

Bytes Links::junction(const std::wstring &substitute, const std::wstring &print)
{
    return reparse(IO_REPARSE_TAG_MOUNT_POINT, substitute, print, {}, true);
}

void Links::set(const std::string &path, const Bytes &data, bool folder)
{
    const std::wstring wide = full(std::filesystem::path(path).wstring());
    if (folder)
        CreateDirectoryW(wide.c_str(), nullptr);
    else
        CloseHandle(CreateFileW(wide.c_str(), 0, 7, nullptr, OPEN_ALWAYS, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    table[number_at(wide)] = data;
}

Bytes Links::data(const std::string &path) const
{
    const Bytes *found = find(number_at(full(std::filesystem::path(path).wstring())));
    return found != nullptr ? *found : Bytes();
}

std::wstring Links::substitute(const std::string &path) const { return substitute_of(data(path)); }

std::string Links::target(const std::string &path) const { return std::filesystem::path(substitute(path)).string(); }

void Links::make(const std::string &to, const std::string &path, bool folder)
{
    const std::wstring target = std::filesystem::path(to).make_preferred().wstring();
    const std::wstring link = std::filesystem::path(path).wstring();
    EXPECT_TRUE(CreateSymbolicLinkW(link.c_str(), target.c_str(), folder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0));
}

}  // namespace teska_test
