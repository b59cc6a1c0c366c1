#include "frame/TypeInfo.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "KzrSecX_h.h"
#include "com/Bstr.h"
#include "com/ModulePath.h"

namespace kzr {
namespace {

constexpr wchar_t Folded(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; }

// A name measured and hashed in one walk, whatever its letters' case. The library's own measuring is declared
// never to throw, and a fault in a caller's memory would end the process.
struct HashedName {
    explicit HashedName(const wchar_t* name) : text(name)
    {
        for (; name[length] != L'\0'; ++length) hash = (hash ^ Folded(name[length])) * 16777619u;
        hash ^= hash >> 15;
    }
    const wchar_t* text;
    std::size_t length = 0;
    std::uint32_t hash = 2166136261u;
};

// The names of an interface and their numbers: an open table, never more than three quarters full.
class NameTable {
  public:
    void Add(Bstr name, DISPID id)
    {
        const HashedName hashed(name.Get());
        Slot& slot = SlotOf(hashed);
        if (slot.name.Get() || m_used == kMostNames) return;
        slot.name = std::move(name);
        slot.length = hashed.length;
        slot.id = id;
        ++m_used;
    }
    const DISPID* Find(const wchar_t* name)
    {
        const Slot& slot = SlotOf(HashedName(name));
        return slot.name.Get() ? &slot.id : nullptr;
    }

  private:
    static constexpr std::size_t kSlots = 128;
    static constexpr std::size_t kMostNames = kSlots * 3 / 4;

    struct Slot {
        Bstr name;
        std::size_t length = 0;
        DISPID id = 0;

        bool Has(const HashedName& sought) const
        {
            if (length != sought.length) return false;
            for (std::size_t i = 0; i < length; ++i)
                if (Folded(name.Get()[i]) != Folded(sought.text[i])) return false;
            return true;
        }
    };

    // The name's own slot, or the empty one where it belongs.
    Slot& SlotOf(const HashedName& name)
    {
        std::size_t place = name.hash % kSlots;
        while (m_slots[place].name.Get() && !m_slots[place].Has(name)) place = (place + 1) % kSlots;
        return m_slots[place];
    }

    Slot m_slots[kSlots];
    std::size_t m_used = 0;
};

// Only names that the type information itself finds, with its own answer: a dual interface also lists its
// bases' functions, about which systems differ.
void AddNames(ITypeInfo* info, UINT functions, NameTable& names)
{
    for (UINT i = 0; i < functions; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(info->GetFuncDesc(i, &function))) continue;
        DISPID id = function->memid;
        info->ReleaseFuncDesc(function);
        Bstr name;
        UINT found = 0;
        if (FAILED(info->GetNames(id, name.put(), 1, &found)) || found != 1) continue;
        LPOLESTR asked = name.Get();
        if (SUCCEEDED(info->GetIDsOfNames(&asked, 1, &id))) names.Add(std::move(name), id);
    }
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

SRWLOCK g_loading = SRWLOCK_INIT;

// One thread at a time, whatever the interface: the platform shares a loaded library among its users, and may
// hand one thread the copy that another is just giving back. Nothing that is called under it takes a lock of
// ours.
class Loading {
  public:
    Loading() noexcept { AcquireSRWLockExclusive(&g_loading); }
    ~Loading() { ReleaseSRWLockExclusive(&g_loading); }
    Loading(const Loading&) = delete;
    Loading& operator=(const Loading&) = delete;
};

}  // namespace

struct TypeInfo::Loaded {
    ComPtr<ITypeInfo> info;
    NameTable names;
};

HRESULT TypeInfo::Load(LCID locale, Loaded** loaded)
{
    *loaded = m_loaded.load(std::memory_order_acquire);
    if (*loaded) return S_OK;

    const Loading loading;
    *loaded = m_loaded.load(std::memory_order_relaxed);
    if (*loaded) return S_OK;

    auto made = std::make_unique<Loaded>();
    const HRESULT found = FindTypeInfo(m_iid, locale, made->info);
    if (FAILED(found)) return found;
    TYPEATTR* attributes = nullptr;
    const HRESULT described = made->info->GetTypeAttr(&attributes);
    if (FAILED(described)) return described;
    const UINT functions = attributes->cFuncs;
    made->info->ReleaseTypeAttr(attributes);
    AddNames(made->info.Get(), functions, made->names);

    *loaded = made.release();
    m_loaded.store(*loaded, std::memory_order_release);
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
        if (const DISPID* const found = loaded->names.Find(names[0])) {
            ids[0] = *found;
            return S_OK;
        }
    }
    // Parameter names, names unknown to us and letters beyond ASCII are the type information's own business.
    return loaded->info->GetIDsOfNames(names, count, ids);
}

void TypeInfo::Forget() noexcept { const std::unique_ptr<Loaded> loaded(m_loaded.exchange(nullptr)); }

}  // namespace kzr
