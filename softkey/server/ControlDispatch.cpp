// Automation of the control: from a name to a number, from a number to the method.
#include "com/Error.h"
#include "server/Control.h"
#include "server/FailureCodes.h"

namespace kzr::softkey {

STDMETHODIMP Control::GetTypeInfoCount(UINT* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

STDMETHODIMP Control::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids)
{
    if (!IsEqualIID(iid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if (!names || !ids || count == 0) return E_INVALIDARG;
    // After the method's name come names of arguments, and arguments have none.
    for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
    if (names[0]) ids[0] = FindMethod(names[0]);
    return ids[0] == DISPID_UNKNOWN || count > 1 ? DISP_E_UNKNOWNNAME : S_OK;
}

STDMETHODIMP Control::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                             EXCEPINFO*, UINT* wrong)
{
    if (!IsEqualIID(iid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    const Method* const method = FindMethod(id);
    if (!method || (flags & DISPATCH_METHOD) == 0) return DISP_E_MEMBERNOTFOUND;
    if (!parameters) return E_INVALIDARG;
    if (parameters->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
    const std::string_view kinds = method->kinds;
    if (parameters->cArgs != kinds.size() || (!parameters->rgvarg && !kinds.empty()))
        return DISP_E_BADPARAMCOUNT;
    // The last holder may let go while a method runs.
    const ComPtr<IDispatch> alive(static_cast<IDispatch*>(this));
    return AtBoundary([&] {
        UINT place = 0;
        const auto read = [&] {
            try {
                return Arguments(*parameters, kinds, place);
            } catch (const ComError&) {
                if (wrong) *wrong = place;
                throw;
            }
        };
        const Arguments arguments = read();
        Answer answer = method->handler(arguments, m_state);
        if (result) answer.MoveTo(*result);
        return S_OK;
    });
}

}  // namespace kzr::softkey
