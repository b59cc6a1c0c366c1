// The four lists that containers walk (verbs, formats, connection points, connections) are one enumerator
// with four kinds of item.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

#include "com/ComPtr.h"
#include "com/Interfaces.h"
#include "com/ModuleCount.h"
#include "frame/FaultGuard.h"

namespace kzr {

// `Kind` names the Interface, what is Held, the Item that is handed out, and Give(held, item), which fills an
// item that the caller then owns and answers an HRESULT; TakeBack(item) undoes it.
template <class Kind>
class Enumerator final : public Kind::Interface {
  public:
    using Interface = typename Kind::Interface;
    using Held = typename Kind::Held;
    using Item = typename Kind::Item;

    static HRESULT Make(std::vector<Held> items, Interface** made)
    {
        *made = new Enumerator(std::move(items), 0);
        return S_OK;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        const InterfaceEntry entries[] = {{&IID_IUnknown, this}, {&__uuidof(Interface), this}};
        return AnswerInterface(entries, iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override
    {
        return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP Next(ULONG count, Item* items, ULONG* fetched) override
    {
        if (fetched) *fetched = 0;
        if (!items || (!fetched && count != 1)) return E_POINTER;
        return GuardedResult([&]() -> HRESULT {
            ULONG given = 0;
            while (given < count && m_next + given < m_items.size()) {
                const HRESULT result = Kind::Give(m_items[m_next + given], items[given]);
                if (FAILED(result)) {
                    while (given > 0) Kind::TakeBack(items[--given]);
                    return result;
                }
                ++given;
            }
            m_next += given;
            if (fetched) *fetched = given;
            return given == count ? S_OK : S_FALSE;
        });
    }
    STDMETHODIMP Skip(ULONG count) override
    {
        const bool enough = count <= m_items.size() - m_next;
        m_next = enough ? m_next + count : m_items.size();
        return enough ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override
    {
        m_next = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** copy) override
    {
        if (!copy) return E_POINTER;
        *copy = nullptr;
        return GuardedResult([&] {
            *copy = new Enumerator(m_items, m_next);
            return S_OK;
        });
    }

  private:
    // A list of its own: what changes in the control meanwhile does not disturb the walk.
    Enumerator(std::vector<Held> items, std::size_t next) : m_items(std::move(items)), m_next(next) {}
    ~Enumerator() = default;

    const std::vector<Held> m_items;
    std::size_t m_next;
    std::atomic<ULONG> m_references{1};
    ModuleReference m_module;
};

}  // namespace kzr
