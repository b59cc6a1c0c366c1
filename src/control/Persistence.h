// The four ways in which a container keeps the control: stream, storage, property bag, memory. What is kept
// stands in PersistentState. Reading what is none of this control's fails and changes nothing.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class PersistStream final : public ControlPart<IPersistStreamInit> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP IsDirty() override;
    STDMETHODIMP Load(LPSTREAM stream) override;
    STDMETHODIMP Save(LPSTREAM stream, BOOL clearDirty) override;
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER* size) override;
    STDMETHODIMP InitNew() override;
};

class PersistStorage final : public ControlPart<IPersistStorage> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP IsDirty() override;
    STDMETHODIMP InitNew(LPSTORAGE storage) override;
    STDMETHODIMP Load(LPSTORAGE storage) override;
    STDMETHODIMP Save(LPSTORAGE storage, BOOL sameAsLoad) override;
    STDMETHODIMP SaveCompleted(LPSTORAGE storage) override;
    STDMETHODIMP HandsOffStorage() override { return S_OK; }  // none is kept between the calls

  private:
    bool m_savedIntoOwn = false;
};

class PersistPropertyBag final : public ControlPart<IPersistPropertyBag> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP InitNew() override;
    STDMETHODIMP Load(IPropertyBag* bag, IErrorLog* errors) override;
    STDMETHODIMP Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) override;
};

class PersistMemory final : public ControlPart<IPersistMemory> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP IsDirty() override;
    STDMETHODIMP Load(LPVOID memory, ULONG size) override;
    STDMETHODIMP Save(LPVOID memory, BOOL clearDirty, ULONG size) override;
    STDMETHODIMP GetSizeMax(ULONG* size) override;
    STDMETHODIMP InitNew() override;
};

}  // namespace kzr
