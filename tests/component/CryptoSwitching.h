// The facts of a method of CCrypto that switches the backend's symmetric algorithm for one operation: ask for
// the method, set another, work, set the old one again. Its rows say at which step something happens.
#pragma once

#include <string>

#include "CryptoRows.h"

namespace kzr::test {

struct Switching {
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    Values given;
    LogSteps (*begin)(const Values& given);
    int code;
    const char* own;  // as the switch's lines name it
    const wchar_t* operation;
    Values sent;
    LogSteps end;  // lines after everything, a method's own
    Value made;
    Value failed;

    Case Row(const char* name, const LogSteps& steps, const Value& retVal) const
    {
        return {.name = name,
                .method = method,
                .id = id,
                .direct = direct,
                .arguments = given,
                .steps = begin(given) + steps + end,
                .retVal = retVal};
    }
    LogStep Line(const std::string& text, HRESULT status) const
    {
        return Error(std::string("CCrypto: ") + own + text, status);
    }
    LogSteps Switches(const Answer& saved = I4(257), const Answer& set = I4(0)) const
    {
        return {Calls(L"SOF_GetEncryptMethod", {}, saved), Calls(L"SOF_SetEncryptMethod", {I4(code)}, set)};
    }
    LogSteps Restores(int saved = 257, const Answer& answer = I4(0)) const
    {
        return {Calls(L"SOF_SetEncryptMethod", {I4(saved)}, answer)};
    }
    std::string Failure() const { return " call " + std::string(RenderForLog(operation)) + " return error!"; }

    // Everything goes well, with these answers.
    Case Works(const char* name, const Answer& answer, const Value& retVal) const
    {
        return Row(name,
                   Switches() +
                       LogSteps{Calls(operation, sent, answer), Line(" ending ok!", StatusOf(answer))} +
                       Restores(),
                   retVal);
    }
    // Another caller's words for the same.
    Case Takes(const char* name, const Values& otherGiven, const Values& otherSent) const
    {
        Switching other = *this;
        other.given = otherGiven;
        other.sent = otherSent;
        return other.Works(name, made, ResultOf(made));
    }
    // The operation itself fails; the old method is set again all the same.
    Case Breaks(const char* name, const Answer& answer) const
    {
        return Row(name,
                   Switches() + LogSteps{Calls(operation, sent, answer), Line(Failure(), StatusOf(answer))} +
                       Restores(),
                   failed);
    }
    // The backend's answer for its method, and what is set again in the end.
    Case Saves(const char* name, const Answer& saved, int restored) const
    {
        return Row(name,
                   Switches(saved) + LogSteps{Calls(operation, sent, made), Line(" ending ok!", S_OK)} +
                       Restores(restored),
                   ResultOf(made));
    }
    Case Sets(const char* name, const Answer& set) const
    {
        return Row(name,
                   Switches(I4(257), set) +
                       LogSteps{Calls(operation, sent, made), Line(" ending ok!", S_OK)} + Restores(),
                   ResultOf(made));
    }
    Case CannotSet(const char* name, const Answer& set) const
    {
        return Row(
            name,
            Switches(I4(257), set) + LogSteps{Line(" call SOF_SetEncryptMethod return NULL!", StatusOf(set))},
            failed);
    }
    Case CannotAsk(const char* name, const Answer& saved) const
    {
        return Row(name,
                   {Calls(L"SOF_GetEncryptMethod", {}, saved),
                    Line(" call SOF_GetEncryptMethod return NULL!", StatusOf(saved))},
                   failed);
    }
    Case RestoresInVain(const char* name, const Answer& answer) const
    {
        return Row(name,
                   Switches() + LogSteps{Calls(operation, sent, made), Line(" ending ok!", S_OK)} +
                       Restores(257, answer),
                   ResultOf(made));
    }

  private:
    // A text is the answer itself; a boolean says nothing, only the HRESULT does.
    static Value ResultOf(const Value& answer) { return answer.Type() == VT_BSTR ? answer : I2(0); }
};

}  // namespace kzr::test
