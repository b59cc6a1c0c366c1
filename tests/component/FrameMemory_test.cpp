// Memory that runs out at each of a call's text allocations in turn: an answer every time, and nothing kept.
#include <objbase.h>

#include <atomic>
#include <cstdio>
#include <memory>

#include "component/FrameClasses.h"
#include "support/ChildProcess.h"

namespace kzr::test {
namespace {

// Refuses one allocation of the platform's task memory, of which texts are made, on one thread.
class Refuser final : public IMallocSpy {
  public:
    void Refuse(long which)
    {
        m_thread = GetCurrentThreadId();
        m_refused = false;
        m_left = which;
    }
    bool Stop()
    {
        m_thread = 0;
        return m_refused;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IMallocSpy) ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override
    {
        if (m_thread != GetCurrentThreadId() || --m_left != 0) return size;
        m_refused = true;
        return 0;
    }
    STDMETHODIMP_(void*) PostAlloc(void* block) override { return block; }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL) override { return block; }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** same, BOOL) override
    {
        *same = block;
        return size;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int actual) override { return actual; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}

  private:
    DWORD m_thread = 0;
    long m_left = 0;
    bool m_refused = false;
};

constexpr int kManyAllocations = 400;

int Complain(const char* what, const SharedClass& shared, int at, HRESULT result)
{
    std::printf("%s: %s, allocation %d: %lx\n", shared.tested.name, what, at,
                static_cast<unsigned long>(result));
    return 1;
}

// Each allocation of a creation fails in turn, until one creation meets none that does.
int CreateWithoutMemory(const TestDll& dll, ScriptedBackend& backend, Refuser& refuser,
                        const SharedClass& shared)
{
    int wrong = 0, outOfMemory = 0;
    for (int at = 1; at < kManyAllocations; ++at) {
        void* made = nullptr;
        refuser.Refuse(at);
        const HRESULT result = dll.Create(shared.tested.clsid, IID_IDispatch, &made);
        const bool refused = refuser.Stop();
        if (SUCCEEDED(result) != (made != nullptr)) wrong += Complain("half an object", shared, at, result);
        if (FAILED(result) && result != E_OUTOFMEMORY && result != E_FAIL)
            wrong += Complain("another answer", shared, at, result);
        outOfMemory += result == E_OUTOFMEMORY;
        if (made) static_cast<IDispatch*>(made)->Release();
        if (dll.CanUnloadNow() != S_OK || backend.LiveControls() != 0)
            wrong += Complain("something was kept", shared, at, result);
        if (!refused) return wrong + (outOfMemory ? 0 : Complain("memory never ran out", shared, at, result));
    }
    return wrong + Complain("no creation without a refusal", shared, kManyAllocations, S_OK);
}

// The same for a method: the caller sees success, and the next call is right.
int CallWithoutMemory(Refuser& refuser, IDispatch* object, const SharedClass& shared)
{
    int wrong = 0;
    for (int at = 1; at < kManyAllocations; ++at) {
        refuser.Refuse(at);
        const CallResult called = shared.direct(object, shared.arguments);
        const bool refused = refuser.Stop();
        if (called.result != S_OK) wrong += Complain("no success", shared, at, called.result);
        if (!refused)
            return wrong + (at > 1 ? 0 : Complain("nothing was refused", shared, at, called.result));
    }
    return wrong + Complain("no call without a refusal", shared, kManyAllocations, S_OK);
}

int RunWithoutMemory(bool creating)
{
    static Refuser refuser;
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    if (FAILED(CoRegisterMallocSpy(&refuser))) return 3;
    int wrong = 0;
    {
        ScriptedBackend backend;
        backend.unexpectedFails = false;
        backend.SetUsers(DefaultUsers());
        TestDll dll;
        for (const SharedClass* shared : kSharedClasses) {
            // Once with all the memory there is, for what is loaded but once.
            ComPtr<IDispatch> object = dll.Create<IDispatch>(shared->tested.clsid);
            if (!object) return 4;
            backend.Allow(shared->backendMethod, shared->backendAnswer);
            if (shared->direct(object.Get(), shared->arguments).value != shared->answer) return 5;
            if (creating) {
                object = nullptr;
                wrong += CreateWithoutMemory(dll, backend, refuser, *shared);
            } else {
                wrong += CallWithoutMemory(refuser, object.Get(), *shared);
                if (shared->direct(object.Get(), shared->arguments).value != shared->answer)
                    wrong += Complain("the next call is wrong", *shared, 0, S_OK);
            }
        }
    }
    CoRevokeMallocSpy();
    std::puts("END");
    std::fflush(stdout);
    return wrong ? 1 : 0;
}

KZR_CHILD(CreatesWithoutMemory) { return RunWithoutMemory(true); }
KZR_CHILD(CallsWithoutMemory) { return RunWithoutMemory(false); }

// In a process of its own, whose texts are never taken from the platform's cache of freed ones.
ChildResult RunUncached(const char* part)
{
    SetEnvironmentVariableW(L"OANOCACHE", L"1");
    const ChildResult ended = RunChild(part);
    SetEnvironmentVariableW(L"OANOCACHE", nullptr);
    return ended;
}

TEST(FrameMemory, ACreationThatRunsOutOfItAnswersSoAndKeepsNothing)
{
    const ChildResult ended = RunUncached("CreatesWithoutMemory");
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
}

TEST(FrameMemory, ACallThatRunsOutOfItSucceedsAndTheNextIsRight)
{
    const ChildResult ended = RunUncached("CallsWithoutMemory");
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
}

}  // namespace
}  // namespace kzr::test
