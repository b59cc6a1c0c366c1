#include "control/ControlDispatch.h"

#include <array>
#include <cstdio>
#include <utility>

#include "KzrSecX_h.h"
#include "com/Variant.h"
#include "control/USBKeyPnPActiveXCtrl.h"
#include "frame/TypeInfo.h"
#include "log/Log.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "USBKeyPnPActiveXCtrl";
constexpr wchar_t kExceptionSource[] = L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1";

constinit TypeInfo g_typeInfo(DIID__DUSBKeyPnPActiveX);

constexpr UINT kMostParameters = 2;

struct MethodEntry {
    DISPID id;
    UINT parameterCount;
    VARTYPE types[kMostParameters];
    void (*call)(CUSBKeyPnPActiveXCtrl& control, const Variant* arguments, Variant& result);
};

// The two kinds of parameter and of result.
template <class T>
struct Parameter;
template <>
struct Parameter<BSTR> {
    static constexpr VARTYPE kType = VT_BSTR;
    static BSTR Of(const Variant& value) noexcept { return value.Text(); }
};
template <>
struct Parameter<short> {
    static constexpr VARTYPE kType = VT_I2;
    static short Of(const Variant& value) noexcept { return value.Bits16(); }
};

Variant ResultOf(Bstr text) noexcept { return Variant::OfText(text.Detach()); }
Variant ResultOf(long number) noexcept { return Variant::OfLong(number); }

// An entry, and the call behind it, from the method's own signature.
template <auto Method>
struct Bound;
template <class Result, class... Parameters, Result (CUSBKeyPnPActiveXCtrl::*Method)(Parameters...)>
struct Bound<Method> {
    static void Call(CUSBKeyPnPActiveXCtrl& control, const Variant* arguments, Variant& result)
    {
        [&]<std::size_t... Index>(std::index_sequence<Index...>)
        {
            if constexpr (std::is_void_v<Result>)
                (control.*Method)(Parameter<Parameters>::Of(arguments[Index])...);
            else
                result = ResultOf((control.*Method)(Parameter<Parameters>::Of(arguments[Index])...));
        }
        (std::index_sequence_for<Parameters...>());
    }
    static constexpr MethodEntry Entry(DISPID id)
    {
        static_assert(sizeof...(Parameters) <= kMostParameters);
        return {id, sizeof...(Parameters), {Parameter<Parameters>::kType...}, &Call};
    }
};

using Control = CUSBKeyPnPActiveXCtrl;
constexpr MethodEntry kMethods[] = {
    Bound<&Control::EnumUsbKey>::Entry(DISPID_USBKeyPnPActiveX_EnumUsbKey),
    Bound<&Control::getUserInfoByContainer>::Entry(DISPID_USBKeyPnPActiveX_getUserInfoByContainer),
    Bound<&Control::getUserList>::Entry(DISPID_USBKeyPnPActiveX_getUserList),
    Bound<&Control::RegisterDeviceInterface>::Entry(DISPID_USBKeyPnPActiveX_RegisterDeviceInterface),
    Bound<&Control::SetLoginState>::Entry(DISPID_USBKeyPnPActiveX_SetLoginState),
    Bound<&Control::GetSavedPass>::Entry(DISPID_USBKeyPnPActiveX_GetSavedPass),
    Bound<&Control::GetUSBKeyList>::Entry(DISPID_USBKeyPnPActiveX_GetUSBKeyList),
    Bound<&Control::GetPassSaveState>::Entry(DISPID_USBKeyPnPActiveX_GetPassSaveState),
    Bound<&Control::SaveUserPass>::Entry(DISPID_USBKeyPnPActiveX_SaveUserPass),
    Bound<&Control::DelUserPass>::Entry(DISPID_USBKeyPnPActiveX_DelUserPass),
    Bound<&Control::AboutBox>::Entry(DISPID_USBKeyPnPActiveX_AboutBox),
};

const MethodEntry* FindMethod(DISPID id) noexcept
{
    for (const MethodEntry& each : kMethods) {
        if (each.id == id) return &each;
    }
    return nullptr;
}

// The place of a parameter's argument: named ones stand first, the others behind them, last to first. The
// platform's own search mixes the two up on some systems.
UINT PlaceOf(UINT position, const DISPPARAMS& parameters) noexcept
{
    for (UINT i = 0; i < parameters.cNamedArgs; ++i) {
        if (parameters.rgdispidNamedArgs[i] == static_cast<DISPID>(position)) return i;
    }
    const UINT place = parameters.cArgs - 1 - position;
    return place >= parameters.cNamedArgs ? place : parameters.cArgs;
}

// Arguments come by value, by reference, in a VARIANT by reference, and as numbers of other widths; changing
// an object to a text runs its own code.
HRESULT TakeArguments(const MethodEntry& method, const DISPPARAMS& parameters, Variant* arguments,
                      UINT* argumentError)
{
    if (!HasItsArrays(parameters)) return E_INVALIDARG;
    if (parameters.cArgs != method.parameterCount || parameters.cNamedArgs > parameters.cArgs)
        return DISP_E_BADPARAMCOUNT;
    for (UINT i = 0; i < method.parameterCount; ++i) {
        const UINT place = PlaceOf(i, parameters);
        if (place >= parameters.cArgs) return DISP_E_PARAMNOTFOUND;
        const HRESULT taken = CallForeign([&] {
            return VariantChangeType(arguments[i].put(), &parameters.rgvarg[place], 0, method.types[i]);
        });
        if (FAILED(taken)) {
            if (argumentError) *argumentError = place;
            return taken;
        }
    }
    return S_OK;
}

// Scripts show this text as their error's description.
void Describe(DISPID id, HRESULT caught, EXCEPINFO* exception) noexcept
{
    if (!exception) return;
    wchar_t text[96];
    _snwprintf(text, std::size(text), L"Invoke CUSBKeyPnPActiveXCtrl dispid(%d): receive a fatal error!!!",
               static_cast<int>(id));
    *exception = {};
    exception->bstrSource = SysAllocString(kExceptionSource);
    exception->bstrDescription = SysAllocString(text);
    exception->scode = caught;
}

}  // namespace

void ControlDispatch::Forget() noexcept { g_typeInfo.Forget(); }

STDMETHODIMP ControlDispatch::GetTypeInfoCount(UINT* count)
{
    if (!count) return E_POINTER;
    *count = 1;
    return S_OK;
}

STDMETHODIMP ControlDispatch::GetTypeInfo(UINT index, LCID locale, ITypeInfo** info)
{
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return m_control.Guard([=, this] {
        ComPtr<ITypeInfo> found;
        const HRESULT result = g_typeInfo.Get(locale, found);
        *info = found.Detach();
        return result;
    });
}

STDMETHODIMP ControlDispatch::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale, DISPID* ids)
{
    return m_control.Guard([=, this] { return g_typeInfo.GetIDsOfNames(names, count, locale, ids); });
}

STDMETHODIMP ControlDispatch::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argumentError)
{
    if (!IsEqualIID(iid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if (!parameters) return E_POINTER;
    // A call may pump messages, and a page drop the control inside.
    const ComPtr<IUnknown> alive(m_control.InnerUnknown());
    HRESULT answer = S_OK;
    HRESULT caught = E_FAIL;
    if (Guarded([&] { answer = Call(id, flags, parameters, result, argumentError); }, caught)) return answer;
    KZR_ERROR(0, "Invoke CUSBKeyPnPActiveXCtrl dispid(%d): receive a fatal error!!!", static_cast<int>(id));
    Describe(id, caught, exception);
    return DISP_E_EXCEPTION;
}

HRESULT ControlDispatch::Call(DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                              UINT* argumentError)
{
    // Before anything is looked at: a control that could get no window hears no event, and is refused whole.
    if (!m_control.IsInvokeAllowed()) return E_UNEXPECTED;
    const MethodEntry* const method = FindMethod(id);
    if (!method || !(flags & DISPATCH_METHOD)) return DISP_E_MEMBERNOTFOUND;
    std::array<Variant, kMostParameters> arguments;
    const HRESULT taken = TakeArguments(*method, *parameters, arguments.data(), argumentError);
    if (FAILED(taken)) return taken;
    Variant answer;
    method->call(m_control, arguments.data(), answer);
    // What the caller passes for the result is memory, not a value: nothing in it is to be freed.
    if (result) *result = std::exchange(*answer.raw(), VARIANT{});
    return S_OK;
}

}  // namespace kzr
