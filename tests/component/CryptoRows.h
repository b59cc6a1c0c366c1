// The facts of a forwarding method of CCrypto, from which each row of its table is made: what the caller
// gave, what the backend was sent and answered, what came of it.
#pragma once

#include <string>
#include <vector>

#include "KzrSecX_h.h"
#include "support/Case.h"

namespace kzr::test {

// What a failed or unsuccessful backend call leaves as its line's status.
inline HRESULT StatusOf(const Answer& answer) { return answer.Unknown() ? answer.lookUp : answer.result; }

// An argument as the log shows it, a referenced one too; one left out is empty.
inline std::string Shown(const Values& given, std::size_t index)
{
    if (index >= given.size()) return {};
    const Value& argument = given[index];
    return RenderForLog((argument.Type() & VT_BYREF) != 0 ? argument.Target() : argument);
}

inline LogSteps operator+(LogSteps first, const LogSteps& more)
{
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

struct Forwarder {
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    // The lines before the backend call.
    LogSteps (*begin)(const Values& given);
    const wchar_t* backend;
    std::string success;
    std::string failure;
    Value failed;

    // Any call of it.
    Case Row(const char* name, const Values& given, const LogSteps& steps, const Value& retVal) const
    {
        return {.name = name,
                .method = method,
                .id = id,
                .direct = direct,
                .arguments = given,
                .steps = steps,
                .retVal = retVal};
    }
    // One backend call, and the success line after it.
    Case Gives(const char* name, const Values& given, const Values& sent, const Answer& answer,
               const Value& retVal) const
    {
        return Row(name, given, begin(given) + LogSteps{Calls(backend, sent, answer), Trace(success)},
                   retVal);
    }
    // The same, the backend's text being the answer.
    Case Gives(const char* name, const Values& given, const Values& sent, const Answer& answer) const
    {
        return Gives(name, given, sent, answer, answer.value);
    }
    // One backend call, and the failure line after it.
    Case Fails(const char* name, const Values& given, const Values& sent, const Answer& answer) const
    {
        return Row(name, given,
                   begin(given) + LogSteps{Calls(backend, sent, answer), Error(failure, StatusOf(answer))},
                   failed);
    }
};

// A caller whom automation turns away: no method begins. There is no such thing through the vtable.
inline Case TurnedAway(const Forwarder& method, const char* name, const Values& given, HRESULT result)
{
    Case row = method.Row(name, given, {}, Value());
    row.direct = nullptr;
    row.result = result;
    return row;
}

// Only by DISPID and by name: the vtable has no such argument.
inline Case OnlyByDispatch(Case row)
{
    row.direct = nullptr;
    return row;
}

// Texts beyond ASCII, with one that no ANSI code page of Europe holds.
inline constexpr wchar_t kChinese[] = L"\u5f20\u4e09\u00e9";

}  // namespace kzr::test
