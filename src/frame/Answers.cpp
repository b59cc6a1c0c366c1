#include "frame/Answers.h"

#include "backend/ResultText.h"

namespace kzr {

void AnsweringBase::Trace(const LogText& text) const { TraceText(m_source, text); }

void AnsweringBase::Error(const LogText& text, HRESULT status) const
{
    WriteText(m_source, text, kLogError, static_cast<std::uint32_t>(status));
}

void AnsweringBase::Notice(const LogText& text) const { WriteText(m_source, text, kLogNotice, 0); }

bool AnsweringBase::Begin(const LogText& start, const LogText& notInitialized) const
{
    Trace(start);
    if (m_backend && m_cache) return true;
    Error(notInitialized, S_OK);
    return false;
}

std::wstring AnsweringBase::AskCache(Question question, BSTR text) const
{
    return (m_cache->*question)(WideText(text));
}

HRESULT AnsweringBase::Call(const Request& request, Variant& result)
{
    return m_backend->CallWith(request.method, result, request.values, request.count);
}

void AnsweringBase::AnswerTextOf(BSTR* retVal, const LogText& success, const LogText& failure,
                                 const Request& request)
{
    Variant result;
    const HRESULT called = Call(request, result);
    if (SUCCEEDED(called) && result.HasText()) {
        // A caller who wants no answer is no failure; no memory for one is.
        if (ResultToRetVal(result, retVal) == E_OUTOFMEMORY) Fail(E_OUTOFMEMORY);
        Trace(success);
    } else {
        Put(retVal, L"");
        Error(failure, called);
    }
}

void AnsweringBase::AnswerYesNoOf(short* retVal, const LogText& success, const LogText& failure,
                                  const Request& request)
{
    Variant result;
    const HRESULT called = Call(request, result);
    const bool yes = SUCCEEDED(called) && result.Bits16() != 0;
    Put(retVal, yes ? 0 : -1);
    if (yes)
        Trace(success);
    else
        Error(failure, called);
}

}  // namespace kzr
