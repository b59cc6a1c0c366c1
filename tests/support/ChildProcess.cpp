#include "support/ChildProcess.h"

#include <cstdio>
#include <map>
#include <string_view>
#include <thread>

namespace kzr::test {
namespace {

constexpr std::string_view kOption = "--child=";

std::map<std::string, int (*)()>& Parts()
{
    static std::map<std::string, int (*)()> parts;
    return parts;
}

std::wstring ThisProgram()
{
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    return path;
}

std::string ReadToEnd(HANDLE pipe)
{
    std::string bytes;
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(pipe, buffer, sizeof(buffer), &read, nullptr) && read > 0) bytes.append(buffer, read);
    return bytes;
}

}  // namespace

bool RegisterChild(const char* name, int (*part)()) { return Parts().emplace(name, part).second; }

bool RanAsChild(int argc, char** argv, int& code)
{
    if (argc != 2 || !std::string_view(argv[1]).starts_with(kOption)) return false;
    const auto part = Parts().find(std::string(std::string_view(argv[1]).substr(kOption.size())));
    code = part == Parts().end() ? 99 : part->second();
    return true;
}

ChildResult RunChild(const std::string& part, const std::wstring& program, DWORD milliseconds)
{
    return RunProgram(program.empty() ? ThisProgram() : program,
                      L"--child=" + std::wstring(part.begin(), part.end()), milliseconds);
}

ChildResult RunProgram(const std::wstring& program, const std::wstring& arguments, DWORD milliseconds)
{
    ChildResult ended;
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE reading = nullptr, writing = nullptr;
    if (!CreatePipe(&reading, &writing, &inherited, 0)) return ended;
    SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0);

    std::wstring line = L"\"" + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writing;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    ended.started = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                   &startup, &process);
    CloseHandle(writing);
    if (ended.started) {
        std::thread reader([&] { ended.output = ReadToEnd(reading); });
        if (WaitForSingleObject(process.hProcess, milliseconds) != WAIT_OBJECT_0)
            TerminateProcess(process.hProcess, 98);
        WaitForSingleObject(process.hProcess, 10000);
        reader.join();
        GetExitCodeProcess(process.hProcess, &ended.code);
        ended.processId = process.dwProcessId;
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    CloseHandle(reading);
    return ended;
}

}  // namespace kzr::test
