#include "control/PropertyPage.h"

#include <cwchar>

#include "com/Interfaces.h"
#include "com/ModulePath.h"
#include "resources/ResourceIds.h"

namespace kzr {
namespace {

INT_PTR CALLBACK Procedure(HWND, UINT, WPARAM, LPARAM) noexcept { return FALSE; }

UniqueHwnd MakePage(HWND parent) noexcept
{
    return UniqueHwnd(
        CreateDialogParamW(ThisModule(), MAKEINTRESOURCEW(KZR_DIALOG_PAGE), parent, &Procedure, 0));
}

}  // namespace

HRESULT CUSBKeyPnPActiveXPropPage::FindInterface(REFIID iid, void** object) noexcept
{
    const InterfaceEntry entries[] = {{&IID_IPropertyPage, this}};
    return AnswerInterface(entries, iid, object);
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::SetPageSite(IPropertyPageSite* site)
{
    return Guard([=, this]() -> HRESULT {
        // A site is set once, and let go of before another one comes.
        if (site && m_site) return E_UNEXPECTED;
        m_site = ForeignPtr<IPropertyPageSite>(site);
        return S_OK;
    });
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::Activate(HWND parent, LPCRECT position, BOOL)
{
    if (!position) return E_POINTER;
    return Guard([=, this]() -> HRESULT {
        // The parent may have taken an earlier page with it.
        if (m_page && IsWindow(m_page.Get())) return E_UNEXPECTED;
        m_page.Detach();
        m_page = MakePage(parent);
        return m_page ? Move(position) : E_OUTOFMEMORY;
    });
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::Deactivate()
{
    return Guard([=, this]() -> HRESULT {
        if (!m_page) return E_UNEXPECTED;
        m_page.Reset();
        return S_OK;
    });
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::GetPageInfo(PROPPAGEINFO* info)
{
    if (!info) return E_POINTER;
    return Guard([=, this]() -> HRESULT {
        // Not all frames say how much room they give; there is but one size of this structure.
        *info = {};
        info->cb = sizeof(*info);
        // Only a dialog knows its size in this system's font and scaling, so one is made to be asked.
        const UniqueHwnd page = MakePage(HWND_MESSAGE);
        RECT bounds{};
        if (!page || !GetClientRect(page.Get(), &bounds)) return E_FAIL;
        info->size = {bounds.right, bounds.bottom};

        wchar_t title[128];
        const int length =
            LoadStringW(ThisModule(), KZR_STRING_PAGE, title, static_cast<int>(std::size(title)));
        const std::size_t bytes = (static_cast<std::size_t>(length) + 1) * sizeof(wchar_t);
        info->pszTitle = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
        if (!info->pszTitle) return E_OUTOFMEMORY;
        std::wmemcpy(info->pszTitle, title, static_cast<std::size_t>(length) + 1);
        return S_OK;
    });
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::SetObjects(ULONG count, IUnknown** objects)
{
    // The page has nothing to read from them, so it keeps none.
    return count > 0 && !objects ? E_POINTER : S_OK;
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::Show(UINT command)
{
    if (command != SW_SHOW && command != SW_SHOWNORMAL && command != SW_HIDE) return E_INVALIDARG;
    return Guard([=, this]() -> HRESULT {
        if (!m_page) return E_UNEXPECTED;
        ShowWindow(m_page.Get(), static_cast<int>(command));
        return S_OK;
    });
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::Move(LPCRECT position)
{
    if (!position) return E_POINTER;
    return Guard([=, this]() -> HRESULT {
        if (!m_page) return E_UNEXPECTED;
        MoveWindow(m_page.Get(), position->left, position->top, position->right - position->left,
                   position->bottom - position->top, TRUE);
        return S_OK;
    });
}

STDMETHODIMP CUSBKeyPnPActiveXPropPage::TranslateAccelerator(MSG* message)
{
    if (!message) return E_POINTER;
    return Guard([=, this]() -> HRESULT {
        if (!m_page) return E_UNEXPECTED;
        const ForeignPtr<IPropertyPageSite> site = m_site;
        // An empty page takes no key; the frame's own keys are the site's business.
        return site ? CallForeign([&] { return site->TranslateAccelerator(message); }) : S_FALSE;
    });
}

}  // namespace kzr
