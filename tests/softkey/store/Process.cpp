#include "softkey/store/Process.h"

#include <utility>

#include "base/Wide.h"

namespace kzr::softkey::test {
namespace {

struct Pipe {
    HANDLE reading = nullptr, writing = nullptr;
    // Our own end stays with us.
    explicit Pipe(bool childWrites)
    {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        CreatePipe(&reading, &writing, &inherited, 0);
        SetHandleInformation(childWrites ? reading : writing, HANDLE_FLAG_INHERIT, 0);
    }
};

std::wstring Quoted(const std::wstring& argument)
{
    std::wstring quoted = L"\"";
    std::size_t slashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') quoted.append(slashes + 1, L'\\');
        slashes = c == L'\\' ? slashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(slashes, L'\\') + L"\"";
}

}  // namespace

Process::Process(const std::wstring& program, const std::vector<std::string>& arguments,
                 const std::string& input, bool more)
{
    InitializeCriticalSection(&m_lock);
    const Pipe in(false), out(true), error(true);
    std::wstring line = Quoted(program);
    for (const std::string& argument : arguments) line += L" " + Quoted(ToWide(argument));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.reading;
    startup.hStdOutput = out.writing;
    startup.hStdError = error.writing;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &process)) {
        m_process = process.hProcess;
        CloseHandle(process.hThread);
    }
    for (const HANDLE handle : {out.writing, error.writing}) CloseHandle(handle);
    m_outputPipe = out.reading;
    m_errorPipe = error.reading;
    m_inputPipe = in.writing;
    m_inputEnd = in.reading;
    Write(input);
    if (!more) EndInput();
    const auto read = [this](HANDLE pipe, std::string& to) {
        char buffer[4096];
        DWORD got = 0;
        while (ReadFile(pipe, buffer, sizeof buffer, &got, nullptr) && got > 0) {
            EnterCriticalSection(&m_lock);
            to.append(buffer, got);
            if (&to == &m_output) m_size = to.size();
            LeaveCriticalSection(&m_lock);
        }
    };
    m_outputReader = std::thread([this, read] { read(m_outputPipe, m_output); });
    m_errorReader = std::thread([this, read] { read(m_errorPipe, m_errors); });
}

// Small enough to fit into the pipe.
void Process::Write(const std::string& input)
{
    DWORD written = 0;
    if (!input.empty())
        WriteFile(m_inputPipe, input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
}

bool Process::HasReadAll() const
{
    DWORD left = 1;
    return PeekNamedPipe(m_inputEnd, nullptr, 0, nullptr, &left, nullptr) && left == 0;
}

void Process::EndInput()
{
    for (HANDLE* const pipe : {&m_inputPipe, &m_inputEnd}) {
        if (*pipe) CloseHandle(std::exchange(*pipe, nullptr));
    }
}

Process::~Process()
{
    Kill();
    EndInput();
    CloseHandle(m_outputPipe);
    CloseHandle(m_errorPipe);
    if (m_process) CloseHandle(m_process);
    DeleteCriticalSection(&m_lock);
}

bool Process::WaitForOutput(std::size_t size)
{
    const ULONGLONG started = GetTickCount64();
    while (GetTickCount64() - started < 30000) {
        EnterCriticalSection(&m_lock);
        const bool there = m_size >= size;
        LeaveCriticalSection(&m_lock);
        if (there) return true;
        if (WaitForSingleObject(m_process, 2) == WAIT_OBJECT_0) return false;
    }
    return false;
}

void Process::Kill()
{
    if (m_process) TerminateProcess(m_process, 97);
    Join();
}

DWORD Process::Wait()
{
    if (WaitForSingleObject(m_process, 60000) != WAIT_OBJECT_0) TerminateProcess(m_process, 98);
    Join();
    DWORD code = ~0u;
    GetExitCodeProcess(m_process, &code);
    return code;
}

void Process::Join()
{
    if (m_process) WaitForSingleObject(m_process, 10000);
    if (m_outputReader.joinable()) m_outputReader.join();
    if (m_errorReader.joinable()) m_errorReader.join();
}

std::wstring ThisProgram()
{
    wchar_t path[1024] = {};
    GetModuleFileNameW(nullptr, path, 1024);
    return path;
}

}  // namespace kzr::softkey::test
