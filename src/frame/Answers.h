// The shapes of a scripted method's answer. A method states its own texts, backend method and arguments; how
// an outcome becomes `retVal` and a line stands here, once.
//
// Every text comes with its call site in the method (KZR_TEXT), so that a line names the method's own source
// line.
#pragma once

#include "backend/AxKzrApp.h"
#include "backend/ResultText.h"
#include "frame/RetVal.h"
#include "frame/ScriptableObject.h"
#include "log/Log.h"

namespace kzr {

// A scriptable object with the shapes. `kSource` is the source name of its lines.
template <class Interface>
class AnsweringObject : public ScriptableObject<Interface> {
  protected:
    AnsweringObject(const ClassFacts& facts, IUnknown* outer) noexcept
        : ScriptableObject<Interface>(facts, outer), m_source(facts.logSource)
    {}

    void Trace(const LogText& text) const { WriteLog(m_source, text.line, kLogTrace, 0, "%s", text.text); }
    void Error(const LogText& text, HRESULT status) const
    {
        WriteLog(m_source, text.line, kLogError, static_cast<std::uint32_t>(status), "%s", text.text);
    }

    // Every forwarding method's first steps; false when the object has no backend or no cache.
    bool Begin(const LogText& start, const LogText& notInitialized) const
    {
        Trace(start);
        if (this->m_backend && this->m_cache) return true;
        Error(notInitialized, S_OK);
        return false;
    }

    // Text: the backend's own string, or "" when the call failed or had none.
    template <class... Values>
    void AnswerText(BSTR* retVal, const LogText& success, const LogText& failure, const wchar_t* method,
                    const Values&... values)
    {
        Variant result;
        FinishText(retVal, this->m_backend->Call(method, result, values...), result, success, failure);
    }

    // Yes or no: 0 for a true answer; -1 for a false one or a failed call.
    template <class... Values>
    void AnswerYesNo(short* retVal, const LogText& success, const LogText& failure, const wchar_t* method,
                     const Values&... values)
    {
        Variant result;
        const HRESULT called = this->m_backend->Call(method, result, values...);
        const bool yes = SUCCEEDED(called) && result.Bits16() != 0;
        Put(retVal, yes ? 0 : -1);
        if (yes)
            Trace(success);
        else
            Error(failure, called);
    }

    // Code: the answer is in `result` when the call succeeded; otherwise `retVal` has got `failed`.
    template <class Integer, class... Values>
    bool AskForCode(Integer* retVal, int failed, Variant& result, const LogText& failure,
                    const wchar_t* method, const Values&... values)
    {
        const HRESULT called = this->m_backend->Call(method, result, values...);
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
        WriteLog(m_source, notice.line, kLogNotice, 0, "%s", notice.text);
    }

    void FinishText(BSTR* retVal, HRESULT called, const Variant& result, const LogText& success,
                    const LogText& failure) const
    {
        if (SUCCEEDED(called) && result.HasText()) {
            // A caller who wants no answer is no failure; no memory for one is.
            if (ResultToRetVal(result, retVal) == E_OUTOFMEMORY) throw ComError(E_OUTOFMEMORY);
            Trace(success);
        } else {
            Put(retVal, L"");
            Error(failure, called);
        }
    }

  private:
    const char* const m_source;
};

}  // namespace kzr
