#include "support/LogReader.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace kzr::test {
namespace {

bool MatchesShape(std::string_view text, std::string_view shape)
{
    if (text.size() < shape.size()) return false;
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (shape[i] == '0' ? !digit : text[i] != shape[i]) return false;
    }
    return true;
}

bool StartsRecord(std::string_view text) { return MatchesShape(text, "[0000-00-00 00:00:00.000] ["); }

// Takes the text up to `end` off the front, and `end` itself.
std::string_view Cut(std::string_view& text, std::string_view end)
{
    const std::size_t at = text.find(end);
    if (at == text.npos) return {};
    const std::string_view front = text.substr(0, at);
    text.remove_prefix(at + end.size());
    return front;
}

std::string ToLineFeeds(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] != '\r' || i + 1 >= text.size() || text[i + 1] != '\n') plain += text[i];
    return plain;
}

LogRecord ParseRecord(std::string_view raw)
{
    LogRecord record;
    record.raw = raw;
    std::string_view rest = raw;
    if (!StartsRecord(rest)) {
        record.message = rest;
        return record;
    }
    if (rest.ends_with("\r\n")) rest.remove_suffix(2);
    record.time = rest.substr(1, 23);
    rest.remove_prefix(27);
    record.level = Cut(rest, "] tid[");
    record.thread = std::atol(std::string(Cut(rest, "]")).c_str());
    if (!rest.starts_with("status(")) {
        record.source = Cut(rest, "(");
        record.line = std::atol(std::string(Cut(rest, "): ")).c_str());
    }
    Cut(rest, "status(");
    record.lost = rest.find("), ") == rest.npos;
    record.status = static_cast<unsigned>(
        std::strtoul(std::string(Cut(rest, record.lost ? ")," : "), ")).c_str(), nullptr, 16));
    record.message = ToLineFeeds(rest);
    return record;
}

std::wstring LocalFolder()
{
    wchar_t path[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT,
                                path)))
        return {};
    return path;
}

std::wstring ProgramName()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring_view whole(path);
    return std::wstring(whole.substr(whole.rfind(L'\\') + 1));
}

}  // namespace

std::vector<LogRecord> ParseLog(std::string_view bytes)
{
    std::vector<LogRecord> records;
    while (!bytes.empty()) {
        std::size_t end = bytes.find("\r\n");
        while (end != bytes.npos && end + 2 < bytes.size() && !StartsRecord(bytes.substr(end + 2)))
            end = bytes.find("\r\n", end + 2);
        const std::size_t size = end == bytes.npos ? bytes.size() : end + 2;
        records.push_back(ParseRecord(bytes.substr(0, size)));
        bytes.remove_prefix(size);
    }
    return records;
}

std::string Describe(const LogRecord& record)
{
    char status[32];
    snprintf(status, sizeof(status), " status(%x) ", record.status);
    return "[" + record.level + "] " + record.source + status + (record.lost ? "<lost>" : record.message);
}

std::wstring LogPathOf(std::wstring_view program, unsigned long processId)
{
    const std::wstring local = LocalFolder();
    if (local.empty()) return {};
    std::wstring path =
        local + L"Low\\TOLV\\log\\KzrSecX_" + std::wstring(program) + L"_PID_" + std::to_wstring(processId);
    std::replace(path.begin(), path.end(), L'.', L'_');
    return path + L".log";
}

LogReader::LogReader() : m_path(LogPathOf(ProgramName(), GetCurrentProcessId()))
{
    const std::wstring folder = m_path.substr(0, m_path.rfind(L'\\') + 1);
    SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
    m_offset = ReadWholeFile(m_path).size();
}

std::vector<LogRecord> LogReader::Take() { return ParseLog(TakeBytes()); }

std::string LogReader::TakeBytes()
{
    std::string bytes = ReadWholeFile(m_path, m_offset);
    m_offset += bytes.size();
    return bytes;
}

std::string ReadWholeFile(const std::wstring& path, std::size_t from)
{
    std::string bytes;
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return bytes;
    SetFilePointer(file, static_cast<LONG>(from), nullptr, FILE_BEGIN);
    char buffer[65536];
    DWORD read = 0;
    while (ReadFile(file, buffer, sizeof(buffer), &read, nullptr) && read > 0) bytes.append(buffer, read);
    CloseHandle(file);
    return bytes;
}

}  // namespace kzr::test
