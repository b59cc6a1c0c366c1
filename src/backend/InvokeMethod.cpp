// Calls on the backend by name: one at a time in the whole process, each with a line before and a line after.
#include <string>

#include "backend/AxKzrApp.h"
#include "com/Lock.h"
#include "com/Text.h"
#include "log/Log.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "AxKzrApp";

void AppendDecimal(std::string& text, long number)
{
    char digits[24];
    char* const end = digits + sizeof(digits);
    char* start = end;
    unsigned long rest =
        number < 0 ? 0ul - static_cast<unsigned long>(number) : static_cast<unsigned long>(number);
    do {
        *--start = static_cast<char>('0' + rest % 10);
    } while ((rest /= 10) != 0);
    if (number < 0) *--start = '-';
    text.append(start, end);
}

// A value as the call lines show it; a type that never travels here shows as nothing.
void AppendValue(std::string& text, const VARIANT& value)
{
    switch (value.vt) {
        case VT_I2:
            return AppendDecimal(text, value.iVal);
        case VT_I4:
            return AppendDecimal(text, value.lVal);
        case VT_BSTR:
            if (value.bstrVal)
                AppendAnsi(text, std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal)));
            return;
        case VT_BOOL:
            text += value.boolVal ? "VARIANT_TRUE" : "VARIANT_FALSE";
            return;
        default:
            return;
    }
}

// First argument first, so from the array's end. Values stand in clear, PINs included: support relies on it.
void AppendAll(std::string& text, const VARIANT* reversed, unsigned count)
{
    for (unsigned i = count; i-- > 0;) {
        AppendValue(text, reversed[i]);
        if (i != 0) text += "--";
    }
}

// Room for the values of most calls, so that a call's two lines take memory once.
constexpr std::size_t kUsualValues = 120;

}  // namespace

HRESULT CAxKzrApp::CallWith(const wchar_t* methodName, Variant& result, const Argument* values,
                            unsigned count)
{
    Arguments arguments(values, count);
    return InvokeMethod(methodName, arguments.data(), arguments.size(), result.put());
}

HRESULT CAxKzrApp::InvokeMethod(const wchar_t* methodName, VARIANT* args, unsigned argCount, VARIANT* result)
{
    // The last holder may leave in the middle of this call, when the backend pumps messages.
    const std::shared_ptr<CAxKzrApp> self = weak_from_this().lock();
    const LockGuard held = BackendLock().lock();
    if (!m_loaded && !m_control) {
        KZR_ERROR(0, "CAxKzrApp::InvokeMethod have released!!!");
        return E_FAIL;
    }

    const std::string name = BstrToString(std::wstring_view(methodName));
    std::string shown;
    if (argCount != 0) shown.reserve(kUsualValues);
    AppendAll(shown, args, argCount);
    KZR_TRACE("CAxKzrApp: call KzrAppCOM %s, param count(%d) param(s)(%s)", name.c_str(),
              static_cast<int>(argCount), shown.c_str());
    const HRESULT called = DispatchByName(methodName, args, argCount, result);
    shown.clear();
    AppendValue(shown, *result);
    KZR_TRACE("CAxKzrApp: call KzrAppCOM %s, result(%s)...", name.c_str(), shown.c_str());
    return called;
}

HRESULT CAxKzrApp::DispatchByName(const wchar_t* methodName, VARIANT* args, unsigned argCount,
                                  VARIANT* result)
{
    const ForeignPtr<IDispatch> control = m_control;
    // The backend gets a name of its own: it is asked for by a pointer through which it could write.
    const Bstr copy(methodName);
    BSTR name = copy.Get();
    DISPID id = DISPID_UNKNOWN;
    const HRESULT found =
        CallForeign([&] { return control->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id); });
    if (FAILED(found)) return found;

    DISPPARAMS parameters{args, nullptr, argCount, 0};
    return CallForeign([&] {
        return control->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, result,
                               nullptr, nullptr);
    });
}

}  // namespace kzr
