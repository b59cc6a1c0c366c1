// What the four scriptable objects share: COM identity (plain or aggregated), object safety, guarded
// dispatch, construction and destruction, and the entry that every scripted method goes through.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <objsafe.h>

#include <atomic>
#include <memory>
#include <new>
#include <type_traits>

#include "backend/AxKzrApp.h"
#include "cache/CacheManager.h"
#include "com/ComPtr.h"
#include "com/ModuleCount.h"
#include "frame/FaultGuard.h"
#include "frame/RetVal.h"
#include "frame/TypeInfo.h"
#include "log/Log.h"

namespace kzr {

// A class's own facts.
struct ClassFacts {
    const char* className;  // "CCertificate"
    const char* logSource;  // "Certificate"
    const IID& iid;         // the dual interface
    TypeInfo& typeInfo;
};

// Everything that does not depend on the interface.
class ScriptableBase : public IObjectSafety {
  public:
    ScriptableBase(const ScriptableBase&) = delete;
    ScriptableBase& operator=(const ScriptableBase&) = delete;

    HRESULT FinalConstruct();

    // The identity that an aggregating owner holds, and that a plain object shows.
    IUnknown* InnerUnknown() noexcept { return &m_inner; }

    STDMETHODIMP GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled) override;
    STDMETHODIMP SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD options) override;

  protected:
    ScriptableBase(const ClassFacts& facts, IUnknown* outer) noexcept;
    virtual ~ScriptableBase();

    virtual IDispatch* Dual() noexcept = 0;
    // The class's "receive a fatal error!!!" line.
    virtual void LogFatalError(DISPID id) const = 0;

    IUnknown* Outer() const noexcept { return m_outer; }

    HRESULT NamesToIds(LPOLESTR* names, UINT count, LCID locale, DISPID* ids) noexcept;
    HRESULT TypeInfoAt(UINT index, LCID locale, ITypeInfo** info) noexcept;
    HRESULT GuardedInvoke(DISPID id, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                          EXCEPINFO* exception, UINT* argumentError) noexcept;

    // The entry of a scripted method, whether the caller came by name or through the vtable: `retVal` starts
    // empty, and keeps what the body stored before anything that the guard caught. A method that calls
    // another one of its own object calls that one's body, so one guard, and one line, stand for both.
    template <class Value, class Body>
    HRESULT Scripted(DISPID id, Value* retVal, Body&& body) noexcept
    {
        return RunScripted(
            id, retVal, &Empty<Value>,
            [](void* context) { (*static_cast<std::remove_reference_t<Body>*>(context))(); }, &body);
    }

    std::shared_ptr<CAxKzrApp> m_backend;
    CCacheManager* m_cache = nullptr;  // lives as long as the module

  private:
    class Inner final : public IUnknown {
      public:
        explicit Inner(ScriptableBase& object) noexcept : m_object(object) {}
        STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
        STDMETHODIMP_(ULONG) AddRef() override;
        STDMETHODIMP_(ULONG) Release() override;

      private:
        ScriptableBase& m_object;
    };

    template <class Value>
    static void Empty(void* value)
    {
        *static_cast<Value*>(value) = Value{};
    }
    HRESULT RunScripted(DISPID id, void* retVal, Thunk empty, Thunk body, void* context) noexcept;
    void FinalRelease() noexcept;
    void GiveBackendBack() noexcept;

    const ClassFacts& m_facts;
    Inner m_inner{*this};
    IUnknown* const m_outer;
    std::atomic<ULONG> m_references{1};
    bool m_constructed = false;
    std::atomic<DWORD> m_safety;
    ModuleReference m_module;
};

// The interface's own table, each entry one line. `Base` is what the class builds its methods from.
template <class Interface, class Base = ScriptableBase>
class ScriptableObject : public Interface, public Base {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) final
    {
        return this->Outer()->QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() final { return this->Outer()->AddRef(); }
    STDMETHODIMP_(ULONG) Release() final { return this->Outer()->Release(); }

    STDMETHODIMP GetTypeInfoCount(UINT* count) final { return count ? (*count = 1, S_OK) : E_POINTER; }
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) final
    {
        return this->TypeInfoAt(index, locale, info);
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) final
    {
        return this->NamesToIds(names, count, locale, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* argumentError) final
    {
        return this->GuardedInvoke(id, locale, flags, parameters, result, exception, argumentError);
    }

  protected:
    using Base::Base;
    IDispatch* Dual() noexcept final { return this; }
};

using ScriptableMaker = ScriptableBase* (*)(IUnknown* outer);
HRESULT CreateWith(ScriptableMaker make, IUnknown* outer, REFIID iid, void** object) noexcept;

// Makes an object of `Class` and hands out `iid`. Nothing thrown on the way leaves; it becomes the HRESULT.
template <class Class>
HRESULT CreateScriptable(IUnknown* outer, REFIID iid, void** object) noexcept
{
    return CreateWith([](IUnknown* owner) -> ScriptableBase* { return new Class(owner); }, outer, iid,
                      object);
}

}  // namespace kzr
