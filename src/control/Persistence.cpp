#include "control/Persistence.h"

#include <cstring>

#include "com/Bstr.h"
#include "com/Variant.h"
#include "control/PersistentState.h"
#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {
namespace {

// The stream of a storage, by the name that controls of all makers use.
constexpr wchar_t kContents[] = L"Contents";

HRESULT ClassOf(CLSID* clsid) noexcept
{
    if (!clsid) return E_POINTER;
    *clsid = CLSID_USBKeyPnPActiveX;
    return S_OK;
}

HRESULT TakeState(CUSBKeyPnPActiveXCtrl& control, const PersistentState& state)
{
    const std::optional<SIZE> extent = ExtentOf(state);
    if (!extent) return E_FAIL;
    control.Restore(*extent);
    return S_OK;
}

// A stream may give its bytes in pieces; one that ends early is a cut one.
HRESULT ReadState(CUSBKeyPnPActiveXCtrl& control, IStream* stream)
{
    PersistentState state{};
    auto* const bytes = reinterpret_cast<unsigned char*>(&state);
    ULONG have = 0;
    while (have < sizeof(state)) {
        ULONG read = 0;
        const HRESULT result =
            CallForeign([&] { return stream->Read(bytes + have, sizeof(state) - have, &read); });
        if (FAILED(result)) return result;
        if (read == 0 || read > sizeof(state) - have) return E_FAIL;
        have += read;
    }
    return TakeState(control, state);
}

HRESULT WriteState(CUSBKeyPnPActiveXCtrl& control, IStream* stream)
{
    const PersistentState state = StateOf(control.Extent());
    ULONG written = 0;
    const HRESULT result = CallForeign([&] { return stream->Write(&state, sizeof(state), &written); });
    if (FAILED(result)) return result;
    return written == sizeof(state) ? S_OK : STG_E_MEDIUMFULL;
}

// Missing is no failure: a page need not name what the control starts with anyway.
HRESULT ReadNumber(IPropertyBag* bag, IErrorLog* errors, const wchar_t* name, std::int32_t& number)
{
    Variant value = Variant::OfLong(number);
    const HRESULT read = CallForeign([&] { return bag->Read(name, value.raw(), errors); });
    if (FAILED(read)) return read == E_INVALIDARG ? S_OK : read;
    Variant changed;
    const HRESULT result =
        CallForeign([&] { return VariantChangeType(changed.put(), value.raw(), 0, VT_I4); });
    if (SUCCEEDED(result)) number = changed.Bits32();
    return result;
}

// Four-byte integers, which every bag can write down.
HRESULT WriteNumber(IPropertyBag* bag, const wchar_t* name, std::int32_t number)
{
    Variant value = Variant::OfLong(number);
    return CallForeign([&] { return bag->Write(name, value.raw()); });
}

}  // namespace

STDMETHODIMP PersistStream::GetClassID(CLSID* clsid) { return ClassOf(clsid); }
STDMETHODIMP PersistStream::IsDirty() { return m_control.IsDirty() ? S_OK : S_FALSE; }

STDMETHODIMP PersistStream::Load(LPSTREAM stream)
{
    if (!stream) return E_POINTER;
    return m_control.Guard([=, this] { return ReadState(m_control, stream); });
}

STDMETHODIMP PersistStream::Save(LPSTREAM stream, BOOL clearDirty)
{
    if (!stream) return E_POINTER;
    return m_control.Guard([=, this] {
        const HRESULT result = WriteState(m_control, stream);
        if (SUCCEEDED(result) && clearDirty) m_control.Saved();
        return result;
    });
}

STDMETHODIMP PersistStream::GetSizeMax(ULARGE_INTEGER* size)
{
    if (!size) return E_POINTER;
    size->QuadPart = sizeof(PersistentState);
    return S_OK;
}

STDMETHODIMP PersistStream::InitNew()
{
    m_control.Reset();
    return S_OK;
}

STDMETHODIMP PersistStorage::GetClassID(CLSID* clsid) { return ClassOf(clsid); }
STDMETHODIMP PersistStorage::IsDirty() { return m_control.IsDirty() ? S_OK : S_FALSE; }

STDMETHODIMP PersistStorage::InitNew(LPSTORAGE storage)
{
    if (!storage) return E_POINTER;
    m_control.Reset();
    return S_OK;
}

STDMETHODIMP PersistStorage::Load(LPSTORAGE storage)
{
    if (!storage) return E_POINTER;
    return m_control.Guard([=, this] {
        IStream* opened = nullptr;
        const HRESULT result = CallForeign([&] {
            return storage->OpenStream(kContents, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &opened);
        });
        const auto stream = ForeignPtr<IStream>::Adopt(opened);
        return FAILED(result) ? result : ReadState(m_control, stream.Get());
    });
}

STDMETHODIMP PersistStorage::Save(LPSTORAGE storage, BOOL sameAsLoad)
{
    if (!storage) return E_POINTER;
    return m_control.Guard([=, this] {
        IStream* made = nullptr;
        HRESULT result = CallForeign([&] {
            return storage->CreateStream(kContents, STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0,
                                         &made);
        });
        const auto stream = ForeignPtr<IStream>::Adopt(made);
        if (SUCCEEDED(result)) result = WriteState(m_control, stream.Get());
        // A copy for somebody else leaves the control as unsaved as it was.
        m_savedIntoOwn = SUCCEEDED(result) && sameAsLoad;
        return result;
    });
}

// Only now is what was saved safe.
STDMETHODIMP PersistStorage::SaveCompleted(LPSTORAGE storage)
{
    return m_control.Guard([=, this] {
        if (std::exchange(m_savedIntoOwn, false) || storage) m_control.Saved();
        return S_OK;
    });
}

STDMETHODIMP PersistPropertyBag::GetClassID(CLSID* clsid) { return ClassOf(clsid); }

STDMETHODIMP PersistPropertyBag::InitNew()
{
    m_control.Reset();
    return S_OK;
}

STDMETHODIMP PersistPropertyBag::Load(IPropertyBag* bag, IErrorLog* errors)
{
    if (!bag) return E_POINTER;
    return m_control.Guard([=, this] {
        // All four before any of them counts: a bag that fails half-way changes nothing.
        PersistentState state = StateOf(m_control.Extent());
        HRESULT result = ReadNumber(bag, errors, L"_Version", state.version);
        if (SUCCEEDED(result)) result = ReadNumber(bag, errors, L"_ExtentX", state.extentX);
        if (SUCCEEDED(result)) result = ReadNumber(bag, errors, L"_ExtentY", state.extentY);
        if (SUCCEEDED(result)) result = ReadNumber(bag, errors, L"_StockProps", state.stockProperties);
        return FAILED(result) ? result : TakeState(m_control, state);
    });
}

STDMETHODIMP PersistPropertyBag::Save(IPropertyBag* bag, BOOL clearDirty, BOOL)
{
    if (!bag) return E_POINTER;
    return m_control.Guard([=, this] {
        const PersistentState state = StateOf(m_control.Extent());
        HRESULT result = WriteNumber(bag, L"_Version", state.version);
        if (SUCCEEDED(result)) result = WriteNumber(bag, L"_ExtentX", state.extentX);
        if (SUCCEEDED(result)) result = WriteNumber(bag, L"_ExtentY", state.extentY);
        if (SUCCEEDED(result)) result = WriteNumber(bag, L"_StockProps", state.stockProperties);
        if (SUCCEEDED(result) && clearDirty) m_control.Saved();
        return result;
    });
}

STDMETHODIMP PersistMemory::GetClassID(CLSID* clsid) { return ClassOf(clsid); }
STDMETHODIMP PersistMemory::IsDirty() { return m_control.IsDirty() ? S_OK : S_FALSE; }

STDMETHODIMP PersistMemory::Load(LPVOID memory, ULONG size)
{
    if (!memory) return E_POINTER;
    if (size < sizeof(PersistentState)) return E_FAIL;
    return m_control.Guard([=, this] {
        // The caller's memory may be aligned anyhow.
        PersistentState state;
        std::memcpy(&state, memory, sizeof(state));
        return TakeState(m_control, state);
    });
}

STDMETHODIMP PersistMemory::Save(LPVOID memory, BOOL clearDirty, ULONG size)
{
    if (!memory) return E_POINTER;
    if (size < sizeof(PersistentState)) return E_UNEXPECTED;
    return m_control.Guard([=, this] {
        const PersistentState state = StateOf(m_control.Extent());
        std::memcpy(memory, &state, sizeof(state));
        if (clearDirty) m_control.Saved();
        return S_OK;
    });
}

STDMETHODIMP PersistMemory::GetSizeMax(ULONG* size)
{
    if (!size) return E_POINTER;
    *size = sizeof(PersistentState);
    return S_OK;
}

STDMETHODIMP PersistMemory::InitNew()
{
    m_control.Reset();
    return S_OK;
}

}  // namespace kzr
