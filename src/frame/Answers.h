// The shapes of a scripted method's answer. A method states its own texts, backend method and arguments; how
// an outcome becomes `retVal` and a line stands here, once.
//
// Every text comes with its call site in the method (KZR_TEXT), so that a line names the method's own source
// line.
#pragma once

#include "backend/AxKzrApp.h"
#include "frame/RetVal.h"
#include "frame/ScriptableObject.h"
#include "log/Log.h"

namespace kzr {

// The shapes themselves. What takes a list of values only lays it out; the work is one function for all.
class AnsweringBase : public ScriptableBase {
  protected:
    AnsweringBase(const ClassFacts& facts, IUnknown* outer) noexcept
        : ScriptableBase(facts, outer), m_source(facts.logSource)
    {}

    void Trace(const LogText& text) const;
    void Error(const LogText& text, HRESULT status) const;
    void Notice(const LogText& text) const;

    // Every forwarding method's first steps; false when the object has no backend or no cache.
    bool Begin(const LogText& start, const LogText& notInitialized) const;

    // What the cache answers about a caller's text.
    using Question = std::wstring (CCacheManager::*)(const std::wstring&) const;
    std::wstring AskCache(Question question, BSTR text) const;

    // Text: the backend's own string, or "" when the call failed or had none.
    template <class... Values>
    void AnswerText(BSTR* retVal, const LogText& success, const LogText& failure, const wchar_t* method,
                    const Values&... values)
    {
        const Argument list[] = {Argument(values)...};
        AnswerTextOf(retVal, success, failure, Request{method, list, sizeof...(values)});
    }

    // Yes or no: 0 for a true answer; -1 for a false one or a failed call.
    template <class... Values>
    void AnswerYesNo(short* retVal, const LogText& success, const LogText& failure, const wchar_t* method,
                     const Values&... values)
    {
        const Argument list[] = {Argument(values)...};
        AnswerYesNoOf(retVal, success, failure, Request{method, list, sizeof...(values)});
    }

    // Code: the answer is in `result` when the call succeeded; otherwise `retVal` has got `failed`.
    template <class Integer, class... Values>
    bool AskForCode(Integer* retVal, int failed, Variant& result, const LogText& failure,
                    const wchar_t* method, const Values&... values)
    {
        const Argument list[] = {Argument(values)...};
        const HRESULT called = Call(Request{method, list, sizeof...(values)}, result);
        if (SUCCEEDED(called)) return true;
        Put(retVal, failed);
        Error(failure, called);
        return false;
    }

    // Fixed: an old configuration call that is accepted and changes nothing.
    template <class Value, class Answer>
    void AnswerAccepted(Value* retVal, const Answer& value, const LogText& start, const LogText& end) const
    {
        Trace(start);
        Put(retVal, value);
        Trace(end);
    }

    // Fixed: an old method that has no counterpart in the backend.
    template <class Value, class Answer>
    void AnswerUnsupported(Value* retVal, const Answer& value, const LogText& start,
                           const LogText& notice) const
    {
        Trace(start);
        Put(retVal, value);
        Notice(notice);
    }

  private:
    struct Request {
        const wchar_t* method;
        const Argument* values;
        unsigned count;
    };
    void AnswerTextOf(BSTR* retVal, const LogText& success, const LogText& failure, const Request& request);
    void AnswerYesNoOf(short* retVal, const LogText& success, const LogText& failure, const Request& request);
    HRESULT Call(const Request& request, Variant& result);

    const char* const m_source;
};

template <class Interface>
using AnsweringObject = ScriptableObject<Interface, AnsweringBase>;

}  // namespace kzr
