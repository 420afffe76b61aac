// platform - what the program takes from the operating system: Windows
//
// Paths and arguments are UTF-8 in the program and UTF-16 for the system. A file that is made has a temporary name,
// .NAME.PID.teska-tmp. Until it is published it is deleted when it is closed, by the handler of Ctrl+C too.

#include "frame/platform.h"

// clang-format off
#include <windows.h>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
// clang-format on

#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>

namespace tool
{

namespace
{

std::atomic<bool> progress_shown;

std::wstring wide(const std::string &text)
{
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), size);
    return result;
}

std::string narrow(const std::wstring &text)
{
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), size, nullptr, nullptr);
    return result;
}

HANDLE handle_of(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

std::uint64_t joined(DWORD high, DWORD low) { return (std::uint64_t{high} << 32U) | low; }

// 100 nanoseconds since 1601 as seconds since 1970.
std::int64_t seconds_of(FILETIME time)
{
    return static_cast<std::int64_t>(joined(time.dwHighDateTime, time.dwLowDateTime) / 10000000U) - 11644473600;
}

std::optional<file_facts> facts_of_handle(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION found = {};
    if (GetFileInformationByHandle(file, &found) == 0)
        return std::nullopt;
    const bool folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return file_facts{!folder && GetFileType(file) == FILE_TYPE_DISK,
                      folder,
                      joined(found.nFileSizeHigh, found.nFileSizeLow),
                      found.dwVolumeSerialNumber,
                      joined(found.nFileIndexHigh, found.nFileIndexLow),
                      seconds_of(found.ftLastWriteTime),
                      0};
}

// The temporary names there are, for the handler of Ctrl+C, which runs in a thread of its own.
struct {
    std::mutex lock;
    std::map<std::wstring, HANDLE> files;
} pending;

void delete_pending()
{
    const std::lock_guard<std::mutex> hold(pending.lock);
    for (const auto &[name, file] : pending.files) {
        CloseHandle(file);
        DeleteFileW(name.c_str());
    }
}

BOOL WINAPI end_by_control(DWORD event)
{
    if (progress_shown)
        std::fputs("\r\033[K", stderr);
    delete_pending();
    ExitProcess(event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? 130 : 143);
}

std::string path_in(const std::string &folder, const std::string &name)
{
    return folder.ends_with('/') || folder.ends_with('\\') ? folder + name : folder + "/" + name;
}

OVERLAPPED at_offset(std::uint64_t offset)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

constexpr std::size_t at_once = std::size_t{1} << 28;  // bytes of one call

}  // namespace

std::vector<std::string> program_arguments(int, char **)
{
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(narrow(words.get()[i]));
    return arguments;
}

std::filesystem::path native_path(const std::string &path) { return {wide(path)}; }

std::string text_of(const std::filesystem::path &path) { return narrow(path.wstring()); }

bool errors_reach_terminal() { return _isatty(_fileno(stderr)) != 0; }

void set_progress_shown(bool shown) { progress_shown = shown; }

void prepare_output()
{
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

void catch_signals() { SetConsoleCtrlHandler(end_by_control, TRUE); }

std::optional<file_facts> facts_of(const std::string &path)
{
    const HANDLE file = CreateFileW(wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return std::nullopt;
    const std::optional<file_facts> facts = facts_of_handle(file);
    CloseHandle(file);
    return facts;
}

std::string without_links(const std::string &path)
{
    std::error_code error;
    const std::filesystem::path at = native_path(path);
    if (!std::filesystem::is_symlink(std::filesystem::symlink_status(at, error)))
        return path;
    const std::filesystem::path target = std::filesystem::read_symlink(at, error);
    return error ? path : text_of(at.parent_path() / target);
}

host_file::~host_file() { close(); }

bool host_file::open(const std::string &path)
{
    close();
    const HANDLE file = CreateFileW(wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    handle_ = file == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<std::intptr_t>(file);
    return handle_ != -1;
}

bool host_file::make(const std::string &folder, const std::string &name)
{
    close();
    folder_ = folder;
    name_ = name;
    give_temporary_name();
    // Others may open the file while it is held here (name_for_others): the C library shares no right to delete.
    const HANDLE file = CreateFileW(wide(temporary_).c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    handle_ = file == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<std::intptr_t>(file);
    if (handle_ == -1) {
        temporary_.clear();
        return false;
    }
    const std::lock_guard<std::mutex> hold(pending.lock);
    pending.files.emplace(wide(temporary_), file);
    return true;
}

bool host_file::make_scratch()
{
    close();
    wchar_t folder[MAX_PATH + 1];
    wchar_t name[MAX_PATH + 1];
    if (GetTempPathW(MAX_PATH, folder) == 0 || GetTempFileNameW(folder, L"tsk", 0, name) == 0)
        return false;
    const HANDLE file = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    handle_ = file == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<std::intptr_t>(file);
    return handle_ != -1;
}

bool host_file::give_temporary_name()
{
    temporary_ =
        path_in(folder_, "." + name_.substr(0, 200) + "." + std::to_string(GetCurrentProcessId()) + ".teska-tmp");
    return true;
}

std::optional<file_facts> host_file::facts() const
{
    return handle_ == -1 ? std::nullopt : facts_of_handle(handle_of(handle_));
}

std::size_t host_file::read_at(std::uint64_t offset, void *data, std::size_t size) const
{
    std::size_t done = 0;
    while (done < size) {
        OVERLAPPED place = at_offset(offset + done);
        DWORD got = 0;
        const auto wanted = static_cast<DWORD>(size - done < at_once ? size - done : at_once);
        if (ReadFile(handle_of(handle_), static_cast<char *>(data) + done, wanted, &got, &place) == 0 || got == 0)
            break;
        done += got;
    }
    return done;
}

bool host_file::write_at(std::uint64_t offset, const void *data, std::size_t size)
{
    for (std::size_t done = 0; done < size;) {
        OVERLAPPED place = at_offset(offset + done);
        DWORD put = 0;
        const auto wanted = static_cast<DWORD>(size - done < at_once ? size - done : at_once);
        if (WriteFile(handle_of(handle_), static_cast<const char *>(data) + done, wanted, &put, &place) == 0)
            return false;
        done += put;
    }
    return true;
}

bool host_file::cut(std::uint64_t size)
{
    FILE_END_OF_FILE_INFO info = {};
    info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    return SetFileInformationByHandle(handle_of(handle_), FileEndOfFileInfo, &info, sizeof info) != 0;
}

std::string host_file::name_for_others() const { return temporary_; }

host_file::outcome host_file::publish(bool replace)
{
    const std::string target = path_in(folder_, name_);
    if (FlushFileBuffers(handle_of(handle_)) == 0)
        return outcome::refused;
    const std::lock_guard<std::mutex> hold(pending.lock);
    pending.files.erase(wide(temporary_));
    CloseHandle(handle_of(handle_));
    handle_ = -1;
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0U);
    if (MoveFileExW(wide(temporary_).c_str(), wide(target).c_str(), flags) == 0) {
        const DWORD why = GetLastError();
        DeleteFileW(wide(temporary_).c_str());
        temporary_.clear();
        SetLastError(why);
        return why == ERROR_ALREADY_EXISTS || why == ERROR_FILE_EXISTS ? outcome::exists : outcome::refused;
    }
    temporary_.clear();
    return outcome::done;
}

void host_file::close()
{
    const std::lock_guard<std::mutex> hold(pending.lock);
    if (handle_ != -1)
        CloseHandle(handle_of(handle_));
    if (!temporary_.empty()) {
        pending.files.erase(wide(temporary_));
        DeleteFileW(wide(temporary_).c_str());
    }
    temporary_.clear();
    handle_ = -1;
}

std::string last_error()
{
    const DWORD why = GetLastError();
    if (why == ERROR_FILE_NOT_FOUND || why == ERROR_PATH_NOT_FOUND)
        return "No such file or directory";
    wchar_t text[256];
    const DWORD size = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, why,
                                      MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), text, 256, nullptr);
    std::string shown = narrow(std::wstring(text, size));
    while (shown.ends_with('\n') || shown.ends_with('\r') || shown.ends_with('.'))
        shown.pop_back();
    return shown.empty() ? "error " + std::to_string(why) : shown;
}

}  // namespace tool
