// What a rebuild of the cache must do, said plainly: every step copies the remaining text and searches it
// from its start. Too slow for a long list, and easy to check by eye. Also the recording source that shows
// which questions a rebuild asks.
#pragma once

#include <map>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cache/UserTable.h"

namespace kzr::test {

struct DeviceCall {
    std::wstring deviceSN;
    short infoType;
    bool operator==(const DeviceCall&) const = default;
};

inline std::string Narrowed(std::wstring_view text)
{
    std::string narrow;
    for (const wchar_t unit : text) {
        narrow += unit > 0 && unit < 0x7f ? static_cast<char>(unit) : '?';
    }
    return narrow;
}

inline void PrintTo(const DeviceCall& call, std::ostream* out)
{
    *out << "(\"" << Narrowed(call.deviceSN) << "\", " << call.infoType << ")";
}

// Answers from the question alone, so that two rebuilds of one list get the same answers: one serial number
// in four, counted by its characters, is a software store, in one of four spellings.
class RecordingDevices : public DeviceInfo {
  public:
    std::vector<DeviceCall> calls;
    std::size_t failAtCall = 0;  // counted from 1; 0: never

    std::wstring Query(std::wstring_view deviceSN, short infoType) override
    {
        calls.push_back({std::wstring(deviceSN), infoType});
        if (calls.size() == failAtCall) {
            throw std::runtime_error("the device does not answer");
        }
        return Answer(deviceSN, infoType);
    }

    static std::wstring Answer(std::wstring_view deviceSN, short infoType)
    {
        unsigned sum = 0;
        for (const wchar_t unit : deviceSN) {
            sum = sum * 31 + static_cast<unsigned>(unit);
        }
        if (infoType == 7) {
            static const wchar_t* const kTypes[] = {L"SOFT",  L"soft", L"SoFt", L"sOFT", L"HARD", L"",
                                                    L"SOFTY", L"SOF",  L"USB",  L"HARD", L"HARD", L"HARD",
                                                    L"HARD",  L"HARD", L"HARD", L"HARD"};
            return deviceSN.empty() ? L"HARD" : kTypes[sum % 16];
        }
        return (infoType == 9 ? L"csp" : L"lib") + std::to_wstring(sum % 5);
    }
};

class UserListOracle {
  public:
    UserTable::Entries entries;

    void Rebuild(std::wstring remaining, DeviceInfo* source)
    {
        entries.clear();
        while (!remaining.empty()) {
            UserEntry entry;
            const long p = Find(remaining, L"||");
            entry.UserName = p == -1 ? L"" : Left(remaining, p);
            const std::wstring rest = From(remaining, p == -1 ? 1 : p + 2);
            const long s = Find(rest, L"/");
            entry.ContainerName = s == -1 ? L"" : Left(rest, s);
            const std::wstring tail = s == -1 ? rest : From(rest, s + 1);
            const long a = Find(tail, L"&&&");
            entry.DeviceSN = a == -1 ? L"" : Left(tail, a);
            if (source) {
                entry.CspName = source->Query(entry.DeviceSN, 9);
                entry.ExtLibName = source->Query(entry.DeviceSN, 8);
                const std::wstring type = source->Query(entry.DeviceSN, 7);
                if (Upper(type) != L"SOFT") {
                    entries.insert({entry.ContainerName, entry});
                }
            }
            const long e = Find(rest, L"&&&");
            remaining = From(rest, e == -1 ? 2 : e + 3);
        }
    }

  private:
    static long Find(const std::wstring& text, const wchar_t* mark)
    {
        const std::size_t found = text.find(mark);
        return found == std::wstring::npos ? -1 : static_cast<long>(found);
    }
    static std::wstring Left(const std::wstring& text, long count) { return text.substr(0, count); }
    static std::wstring From(const std::wstring& text, long position)
    {
        return static_cast<std::size_t>(position) >= text.size() ? L"" : text.substr(position);
    }
    static std::wstring Upper(std::wstring text)
    {
        for (wchar_t& unit : text) {
            if (unit >= L'a' && unit <= L'z') unit = static_cast<wchar_t>(unit - L'a' + L'A');
        }
        return text;
    }
};

}  // namespace kzr::test
