// IDispatch of the control: names through the type information, calls through a typed table of its own, since
// the methods return their results and so have no interface that type information could call.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "control/ControlPart.h"

namespace kzr {

class ControlDispatch final : public ControlPart<IDispatch> {
  public:
    using ControlPart::ControlPart;
    static void Forget() noexcept;

    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

  private:
    HRESULT Call(DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result, UINT* argumentError);
};

}  // namespace kzr
