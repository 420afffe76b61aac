// process - the program teska, started as a user starts it: Windows
//
// What it prints goes to files: a pipe would stay open for what the program's first call of the system starts.

#include "support/folder.h"
#include "support/process.h"

#include "frame/platform.h"

#include <windows.h>

namespace tool_test
{

namespace
{

// A word of a command line, as the system takes it apart again: in quotes, backslashes before a quote doubled.
std::string quoted(const std::string &word)
{
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char character : word) {
        if (character == '"')
            text.append(backslashes + 1, '\\');
        backslashes = character == '\\' ? backslashes + 1 : 0;
        text += character;
    }
    return text.append(backslashes, '\\') + '"';
}

HANDLE file_for_child(const std::string &path)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileW(tool::native_path(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

outcome run_teska(const std::vector<std::string> &arguments)
{
    std::wstring command = L"teska";
    for (const std::string &argument : arguments)
        command += L' ' + tool::native_path(quoted(argument)).native();
    const teska_test::Folder folder;
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = INVALID_HANDLE_VALUE;
    start.hStdOutput = file_for_child(folder.path("out"));
    start.hStdError = file_for_child(folder.path("err"));
    PROCESS_INFORMATION process = {};
    DWORD code = static_cast<DWORD>(-1);
    if (CreateProcessW(tool::native_path(TESKA_PROGRAM).c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                       nullptr, &start, &process) != 0) {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    return {static_cast<int>(code), folder.read("out"), folder.read("err")};
}

}  // namespace tool_test
