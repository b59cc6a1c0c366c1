// A process with its three streams, to talk to and to kill.
#pragma once

#include <windows.h>

#include <string>
#include <thread>
#include <vector>

namespace kzr::softkey::test {

class Process {
  public:
    // The arguments become one command line, each quoted as programs read them; `input` is all that it can
    // read, unless there is to be more. Both UTF-8.
    Process(const std::wstring& program, const std::vector<std::string>& arguments,
            const std::string& input = "", bool more = false);
    // Kills it if it still runs.
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    bool Started() const { return m_process != nullptr; }
    // With `more`, further input, and whether it has read all that it was given.
    void Write(const std::string& input);
    bool HasReadAll() const;
    HANDLE Native() const { return m_process; }

    // Until its output has this many bytes; false when it ended before, or after 30 seconds.
    bool WaitForOutput(std::size_t size);
    void Kill();
    // Until it ended; its exit code, or one of ours when it took more than a minute and was killed.
    DWORD Wait();

    // After Wait or Kill.
    const std::string& Output() const { return m_output; }
    const std::string& Errors() const { return m_errors; }

  private:
    void EndInput();
    void Join();

    HANDLE m_process = nullptr;
    HANDLE m_inputPipe = nullptr, m_inputEnd = nullptr;
    HANDLE m_outputPipe = nullptr, m_errorPipe = nullptr;
    std::string m_output, m_errors;
    std::size_t m_size = 0;  // of the output, for who waits; guarded by the lock
    CRITICAL_SECTION m_lock;
    std::thread m_outputReader, m_errorReader;
};

std::wstring ThisProgram();

}  // namespace kzr::softkey::test
