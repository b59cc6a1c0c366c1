#include "frame/TypeInfo.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "KzrSecX_h.h"
#include "com/Bstr.h"
#include "com/ModulePath.h"

namespace kzr {
namespace {

struct NamedId {
    std::wstring name;
    DISPID id;
};

constexpr wchar_t Folded(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; }

// A caller's text. The library's own measuring is declared never to throw, and a fault in it would end the
// process.
std::wstring_view Measured(const wchar_t* text)
{
    std::size_t length = 0;
    while (text[length] != L'\0') ++length;
    return {text, length};
}

bool ComesBefore(std::wstring_view left, std::wstring_view right)
{
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](wchar_t a, wchar_t b) { return Folded(a) < Folded(b); });
}

// Only names that the type information itself finds, with its own answer: a dual interface also lists its
// bases' functions, about which systems differ.
std::vector<NamedId> NamesOf(ITypeInfo* info, UINT functions)
{
    std::vector<NamedId> names;
    for (UINT i = 0; i < functions; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(info->GetFuncDesc(i, &function))) continue;
        DISPID id = function->memid;
        info->ReleaseFuncDesc(function);
        Bstr name;
        UINT found = 0;
        if (FAILED(info->GetNames(id, name.put(), 1, &found)) || found != 1) continue;
        LPOLESTR asked = name.Get();
        if (SUCCEEDED(info->GetIDsOfNames(&asked, 1, &id))) names.push_back({WideText(name.Get()), id});
    }
    std::sort(names.begin(), names.end(),
              [](const NamedId& left, const NamedId& right) { return ComesBefore(left.name, right.name); });
    return names;
}

HRESULT FindIn(ITypeLib* library, REFIID iid, ComPtr<ITypeInfo>& info)
{
    return library->GetTypeInfoOfGuid(iid, info.put());
}

// The module's own file first: only that library is sure to describe this module's methods, and it serves
// without any registration. The registered one stands in for a file that has lost its library.
HRESULT FindTypeInfo(REFIID iid, LCID locale, ComPtr<ITypeInfo>& info)
{
    ComPtr<ITypeLib> library;
    if (SUCCEEDED(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, library.put())) &&
        SUCCEEDED(FindIn(library.Get(), iid, info)))
        return S_OK;
    const HRESULT loaded = LoadRegTypeLib(LIBID_TOLVSECCOMLib, 1, 0, locale, library.put());
    return FAILED(loaded) ? loaded : FindIn(library.Get(), iid, info);
}

}  // namespace

struct TypeInfo::Loaded {
    ComPtr<ITypeInfo> info;
    std::vector<NamedId> names;  // in folded order
};

HRESULT TypeInfo::Load(LCID locale, Loaded** loaded)
{
    *loaded = m_loaded.load(std::memory_order_acquire);
    if (*loaded) return S_OK;

    auto made = std::make_unique<Loaded>();
    const HRESULT found = FindTypeInfo(m_iid, locale, made->info);
    if (FAILED(found)) return found;
    TYPEATTR* attributes = nullptr;
    const HRESULT described = made->info->GetTypeAttr(&attributes);
    if (FAILED(described)) return described;
    const UINT functions = attributes->cFuncs;
    made->info->ReleaseTypeAttr(attributes);
    made->names = NamesOf(made->info.Get(), functions);

    // Two apartments may get here at once; the second one's work is dropped.
    Loaded* first = nullptr;
    *loaded = m_loaded.compare_exchange_strong(first, made.get(), std::memory_order_acq_rel) ? made.release()
                                                                                             : first;
    return S_OK;
}

HRESULT TypeInfo::Get(LCID locale, ComPtr<ITypeInfo>& info)
{
    Loaded* loaded = nullptr;
    const HRESULT result = Load(locale, &loaded);
    if (SUCCEEDED(result)) info = loaded->info;
    return result;
}

HRESULT TypeInfo::GetIDsOfNames(LPOLESTR* names, UINT count, LCID locale, DISPID* ids)
{
    if (!names || !ids || count == 0 || !names[0]) return E_INVALIDARG;
    Loaded* loaded = nullptr;
    const HRESULT result = Load(locale, &loaded);
    if (FAILED(result)) return result;
    if (count == 1) {
        const std::wstring_view name = Measured(names[0]);
        const auto found = std::lower_bound(
            loaded->names.begin(), loaded->names.end(), name,
            [](const NamedId& entry, std::wstring_view sought) { return ComesBefore(entry.name, sought); });
        if (found != loaded->names.end() && !ComesBefore(name, found->name)) {
            ids[0] = found->id;
            return S_OK;
        }
    }
    // Parameter names, names unknown to us and letters beyond ASCII are the type information's own business.
    return loaded->info->GetIDsOfNames(names, count, ids);
}

void TypeInfo::Forget() noexcept { const std::unique_ptr<Loaded> loaded(m_loaded.exchange(nullptr)); }

}  // namespace kzr
