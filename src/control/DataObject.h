// IDataObject of the control, as far as containers use it: its picture as a metafile of either kind.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class DataObject final : public ControlPart<IDataObject> {
  public:
    using ControlPart::ControlPart;

    void SendChanged();

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
    STDMETHODIMP GetDataHere(FORMATETC* format, STGMEDIUM* medium) override;
    STDMETHODIMP QueryGetData(FORMATETC* format) override;
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) override;
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** enumerator) override;
    STDMETHODIMP DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* cookie) override;
    STDMETHODIMP DUnadvise(DWORD cookie) override;
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA** enumerator) override;

  private:
    ForeignPtr<IDataAdviseHolder> Holder();

    ForeignPtr<IDataAdviseHolder> m_holder;
};

}  // namespace kzr
