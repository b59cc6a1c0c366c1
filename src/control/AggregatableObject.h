// COM identity of the control and of its property page: plain or aggregated, counted, and holding the module.
// What interfaces there are is the class's own business.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>

#include "com/ComPtr.h"
#include "com/ModuleCount.h"
#include "frame/FaultGuard.h"

namespace kzr {

class AggregatableObject {
  public:
    AggregatableObject(const AggregatableObject&) = delete;
    AggregatableObject& operator=(const AggregatableObject&) = delete;

    // The identity that an aggregating owner holds, and that a plain object shows.
    IUnknown* InnerUnknown() noexcept { return &m_inner; }
    IUnknown* Outer() const noexcept { return m_outer; }

    // Runs a body that answers an HRESULT: nothing thrown in it leaves, and the object outlives it, whatever
    // its container gives back meanwhile.
    template <class Body>
    HRESULT Guard(Body&& body) noexcept
    {
        return RunGuard(ResultThunkOf<std::remove_reference_t<Body>>, &body);
    }

  protected:
    explicit AggregatableObject(IUnknown* outer) noexcept : m_outer(outer ? outer : &m_inner) {}
    // Only the last reference ends an object.
    virtual ~AggregatableObject() = default;

    // Every interface but IUnknown; adds the reference through the interface itself.
    virtual HRESULT FindInterface(REFIID iid, void** object) noexcept = 0;

  private:
    class Inner final : public IUnknown {
      public:
        explicit Inner(AggregatableObject& object) noexcept : m_object(object) {}
        STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
        STDMETHODIMP_(ULONG) AddRef() override;
        STDMETHODIMP_(ULONG) Release() override;

      private:
        AggregatableObject& m_object;
    };

    HRESULT RunGuard(ResultThunk thunk, void* context) noexcept;

    Inner m_inner{*this};
    IUnknown* const m_outer;
    std::atomic<ULONG> m_references{1};
    ModuleReference m_module;
};

// Makes an object of `Class` and hands out `iid`.
template <class Class>
HRESULT CreateAggregatable(IUnknown* outer, REFIID iid, void** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    // An aggregating owner must first take the identity that it will hold.
    if (outer && !IsEqualIID(iid, IID_IUnknown)) return CLASS_E_NOAGGREGATION;
    // Born with one reference, which this pointer gives back.
    const auto inner = ComPtr<IUnknown>::Adopt((new Class(outer))->InnerUnknown());
    return inner->QueryInterface(iid, object);
}

}  // namespace kzr
