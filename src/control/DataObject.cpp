#include "control/DataObject.h"

#include "control/Drawing.h"
#include "control/Enumerator.h"
#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {
namespace {

constexpr FORMATETC kFormats[] = {
    {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT},
    {CF_ENHMETAFILE, nullptr, DVASPECT_CONTENT, -1, TYMED_ENHMF},
};

struct FormatList {
    using Interface = IEnumFORMATETC;
    using Item = FORMATETC;
    using Held = FORMATETC;
    static HRESULT Give(const Held& held, FORMATETC& item) noexcept
    {
        item = held;
        return S_OK;
    }
    static void TakeBack(FORMATETC&) noexcept {}
};

// The old kind, which containers keep as the picture of a control that is not running.
HRESULT GiveMetafile(const SIZE& size, STGMEDIUM& medium) noexcept
{
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, sizeof(METAFILEPICT));
    const HMETAFILE picture = memory ? DrawMetafile(size) : nullptr;
    if (!picture) {
        GlobalFree(memory);
        return E_OUTOFMEMORY;
    }
    *static_cast<METAFILEPICT*>(GlobalLock(memory)) = {MM_ANISOTROPIC, size.cx, size.cy, picture};
    GlobalUnlock(memory);
    medium.tymed = TYMED_MFPICT;
    medium.hMetaFilePict = memory;
    return S_OK;
}

HRESULT GiveEnhancedMetafile(const SIZE& size, STGMEDIUM& medium) noexcept
{
    medium.hEnhMetaFile = DrawEnhancedMetafile(size);
    if (!medium.hEnhMetaFile) return E_OUTOFMEMORY;
    medium.tymed = TYMED_ENHMF;
    return S_OK;
}

}  // namespace

STDMETHODIMP DataObject::QueryGetData(FORMATETC* format)
{
    if (!format) return E_POINTER;
    if (format->dwAspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    for (const FORMATETC& each : kFormats) {
        if (each.cfFormat == format->cfFormat) return each.tymed & format->tymed ? S_OK : DV_E_TYMED;
    }
    return DV_E_FORMATETC;
}

STDMETHODIMP DataObject::GetData(FORMATETC* format, STGMEDIUM* medium)
{
    if (!format || !medium) return E_POINTER;
    *medium = {};
    const HRESULT known = QueryGetData(format);
    if (FAILED(known)) return known;
    return m_control.Guard([=, this] {
        const SIZE size = m_control.Extent();
        return format->cfFormat == CF_METAFILEPICT ? GiveMetafile(size, *medium)
                                                   : GiveEnhancedMetafile(size, *medium);
    });
}

STDMETHODIMP DataObject::GetDataHere(FORMATETC*, STGMEDIUM*) { return E_NOTIMPL; }

STDMETHODIMP DataObject::GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical)
{
    if (!format || !canonical) return E_POINTER;
    *canonical = *format;
    canonical->ptd = nullptr;
    return DATA_S_SAMEFORMATETC;
}

STDMETHODIMP DataObject::EnumFormatEtc(DWORD direction, IEnumFORMATETC** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    if (direction != DATADIR_GET) return E_NOTIMPL;
    return m_control.Guard([=, this] {
        return Enumerator<FormatList>::Make({std::begin(kFormats), std::end(kFormats)}, enumerator);
    });
}

ForeignPtr<IDataAdviseHolder> DataObject::Holder()
{
    if (!m_holder) CreateDataAdviseHolder(m_holder.put());
    return m_holder;
}

STDMETHODIMP DataObject::DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* cookie)
{
    if (!format || !sink || !cookie) return E_POINTER;
    return m_control.Guard([=, this]() -> HRESULT {
        const auto holder = Holder();
        if (!holder) return E_OUTOFMEMORY;
        return CallForeign([&] { return holder->Advise(this, format, flags, sink, cookie); });
    });
}

STDMETHODIMP DataObject::DUnadvise(DWORD cookie)
{
    return m_control.Guard([=, this]() -> HRESULT {
        const auto holder = m_holder;
        if (!holder) return OLE_E_NOCONNECTION;
        return CallForeign([&] { return holder->Unadvise(cookie); });
    });
}

STDMETHODIMP DataObject::EnumDAdvise(IEnumSTATDATA** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return m_control.Guard([=, this]() -> HRESULT {
        const auto holder = Holder();
        if (!holder) return E_OUTOFMEMORY;
        return CallForeign([&] { return holder->EnumAdvise(enumerator); });
    });
}

void DataObject::SendChanged()
{
    if (const auto holder = m_holder)
        CallForeignQuietly([&] { return holder->SendOnDataChange(this, 0, 0); }, S_OK);
}

}  // namespace kzr
