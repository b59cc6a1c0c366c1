// Callers in many apartments at once: the backend is never called by two of them, the first of them make one
// instance together, nobody waits for ever. Which locks are taken in which order is checked by the Debug DLL.
#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "Area.h"
#include "Methods.h"
#include "QuietTest.h"
#include "ThreadApartments.h"
#include "Watchdog.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

constexpr int kThreads = 8;
constexpr DWORD kTooLong = 60000;

class Threads : public QuietTest {
  protected:
    void SetUp() override
    {
        QuietTest::SetUp();
        // While the backend works, the others get their chance to come in.
        for (const wchar_t* const name : {L"SOF_SignData", L"SOF_GetCertInfo", L"SOF_Base64Encode"})
            backend->Allow(name, Answer(L"20300405101112Z").Running([] { SwitchToThread(); }));
    }

    void ExpectNoOverlap()
    {
        EXPECT_EQ(0, backend->Overlaps()) << "backend calls of different threads at once";
        EXPECT_GT(m_calls, 0);
    }
    // Keeps the list of calls from growing; who calls it has brought them about.
    void CountCalls()
    {
        m_calls += static_cast<long>(backend->Calls().size());
        backend->ForgetCalls();
    }

    ComPtr<IDispatch> MakeOf(const ScriptedClass& made) { return dll->Create<IDispatch>(made.clsid); }

    long m_calls = 0;
};

// What one thread calls: every method that opens no dialog, on objects of its own.
class Caller {
  public:
    Caller(const TestDll& dll, unsigned seed) : m_random(seed)
    {
        for (const HardenedMethod& method : AllMethods())
            if (!method.IsModal()) m_methods.push_back(&method);
        for (const ScriptedClass* const made : kScriptedClasses)
            m_objects.push_back({made, dll.Create<IDispatch>(made->clsid)});
    }

    bool IsReady() const
    {
        return std::all_of(m_objects.begin(), m_objects.end(),
                           [](const Made& made) { return !!made.object; });
    }

    // "" when it went well, else what did not.
    std::string CallOne()
    {
        const HardenedMethod& method = *m_methods[m_random() % m_methods.size()];
        const auto made = std::find_if(m_objects.begin(), m_objects.end(),
                                       [&](const Made& one) { return one.made == method.made; });
        const CallResult called = Call(made->object.Get(), method.method->id, SamplesFor(*method.method));
        if (called.result == S_OK) return "";
        char text[160];
        snprintf(text, sizeof(text), "%s answered %lx (exception %lx)\n", method.Name().c_str(),
                 called.result, called.exception);
        return text;
    }

    // One whose answer is known.
    bool SignsRight()
    {
        for (const Made& made : m_objects)
            if (made.made == &kCrypto)
                return Call(made.object.Get(), L"signedData", {L"text", L"c1"}).value ==
                       Value(L"20300405101112Z");
        return false;
    }

  private:
    struct Made {
        const ScriptedClass* made;
        ComPtr<IDispatch> object;
    };

    std::mt19937 m_random;
    std::vector<const HardenedMethod*> m_methods;
    std::vector<Made> m_objects;
};

TEST_F(Threads, EightApartmentsOfMixedCallsNeverMeetInTheBackend)
{
    const int calls = Rounds(5000, 50000);
    const unsigned seed = Seed();
    Watchdog watchdog(kTooLong);
    std::atomic<long> failed{0}, wrong{0}, done{0};
    EXPECT_EQ(0, RunInApartments(*backend, kThreads, [&](int number) {
                  Caller caller(*dll, seed + static_cast<unsigned>(number));
                  if (!caller.IsReady()) {
                      ++failed;
                      return;
                  }
                  for (int i = 0; i < calls; ++i) {
                      if (const std::string trouble = caller.CallOne(); !trouble.empty()) {
                          std::fputs(trouble.c_str(), stdout);
                          ++failed;
                      }
                      ++done;
                      if (i % 100 == 0) {
                          wrong += !caller.SignsRight();
                          watchdog.Beat("mixed calls", i);
                          PumpMessages();
                      }
                      if (number == 0 && i % 500 == 0) CountCalls();
                  }
              }));
    CountCalls();
    EXPECT_EQ(0, failed);
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(static_cast<long>(kThreads) * calls, done);
    ExpectNoOverlap();
    Did("threads", done, "mixed calls in eight apartments");
}

TEST_F(Threads, ObjectsComeAndGoWhileOthersCall)
{
    const int rounds = Rounds(300, 5000);
    Watchdog watchdog(kTooLong);
    std::atomic<long> failed{0}, made{0};
    EXPECT_EQ(0, RunInApartments(*backend, kThreads, [&](int number) {
                  for (int i = 0; i < rounds; ++i) {
                      const ScriptedClass& which = *kScriptedClasses[(i + number) % 4];
                      const ComPtr<IDispatch> object = MakeOf(which);
                      failed += !object;
                      ++made;
                      const ComPtr<IDispatch> crypto = MakeOf(kCrypto);
                      failed += !crypto || Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value !=
                                               Value(L"20300405101112Z");
                      watchdog.Beat("objects that come and go", i);
                      if (number == 0 && i % 100 == 0) CountCalls();
                  }
              }));
    CountCalls();
    EXPECT_EQ(0, failed);
    EXPECT_EQ(0, backend->LiveControls());
    ExpectNoOverlap();
    Did("threads", made, "creations while others call");
}

// Hears the control's event, on the thread of its window alone.
class Listener final : public IDispatch {
  public:
    int events = 0;
    bool onAnotherThread = false;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        ++events;
        onAnotherThread |= GetCurrentThreadId() != m_thread;
        return S_OK;
    }

  private:
    const DWORD m_thread = GetCurrentThreadId();
};

ComPtr<IConnectionPoint> EventsOf(IDispatch* control)
{
    ComPtr<IConnectionPointContainer> container;
    ComPtr<IEnumConnectionPoints> points;
    ComPtr<IConnectionPoint> point;
    if (SUCCEEDED(control->QueryInterface(IID_IConnectionPointContainer, container.putVoid())) &&
        SUCCEEDED(container->EnumConnectionPoints(points.put())))
        points->Next(1, point.put(), nullptr);
    return point;
}

TEST_F(Threads, EventsOfTwoThreadsArriveWhileFourCreateAndTwoCall)
{
    const int rounds = Rounds(500, 4000);
    Watchdog watchdog(kTooLong);
    const ComPtr<IDispatch> control = MakeOf(kControl);
    ASSERT_TRUE(control);
    Call(control.Get(), L"getUserList");
    const ComPtr<IConnectionPoint> point = EventsOf(control.Get());
    ASSERT_TRUE(point);
    Listener listener;
    DWORD cookie = 0;
    ASSERT_EQ(S_OK, point->Advise(&listener, &cookie));

    std::atomic<long> failed{0};
    std::atomic<bool> ended{false};
    std::thread others([&] {
        failed += RunInApartments(*backend, kThreads, [&](int number) {
            const ComPtr<IDispatch> crypto = MakeOf(kCrypto);
            for (int i = 0; i < rounds; ++i) {
                if (number < 4) {
                    failed += !MakeOf(*kScriptedClasses[i % 5]);
                } else if (number < 6) {
                    backend->FireEvent();
                } else {
                    failed += Call(crypto.Get(), L"signedData", {L"text", L"c1"}).result != S_OK;
                }
                watchdog.Beat("events among calls", i);
                PumpMessages();
                if (number == 7 && i % 100 == 0) CountCalls();
            }
        });
        ended = true;
    });
    EXPECT_TRUE(PumpUntil([&] { return ended && listener.events >= 2 * rounds; }, kTooLong));
    others.join();
    PumpMessages();
    EXPECT_EQ(2 * rounds, listener.events);
    EXPECT_FALSE(listener.onAnotherThread);
    EXPECT_EQ(0, failed);
    EXPECT_EQ(S_OK, point->Unadvise(cookie));
    CountCalls();
    ExpectNoOverlap();
    Did("threads", listener.events, "events among calls");
}

TEST_F(Threads, EightThatComeFirstMakeOneInstanceTogether)
{
    const int rounds = Rounds(200, 1000);
    Watchdog watchdog(kTooLong);
    Gathering start(kThreads), end(kThreads);
    std::atomic<long> failed{0};
    EXPECT_EQ(0, RunInApartments(*backend, kThreads, [&](int number) {
                  for (int i = 0; i < rounds; ++i) {
                      start.Wait();
                      {
                          const ComPtr<IDispatch> object = MakeOf(*kScriptedClasses[number % 4]);
                          failed += !object;
                          end.Wait();
                          failed += backend->LiveControls() != 1;
                          start.Wait();
                      }
                      end.Wait();
                      failed += backend->LiveControls() != 0;
                      watchdog.Beat("first creations", i);
                  }
              }));
    EXPECT_EQ(0, failed);
    EXPECT_EQ(rounds, backend->ControlsMade());
    CountCalls();
    ExpectNoOverlap();
    Did("threads", rounds, "races for the first creation");
}

// Each round with the module loaded anew, so that the window class is registered again.
TEST_F(Threads, ControlsThatMakeTheirFirstWindowsTogetherAllGetOne)
{
    const int rounds = Rounds(30, 300);
    Watchdog watchdog(kTooLong);
    std::atomic<long> refused{0};
    for (int i = 0; i < rounds; ++i) {
        Gathering start(kThreads);
        EXPECT_EQ(0, RunInApartments(*backend, kThreads, [&](int) {
                      const ComPtr<IDispatch> control = MakeOf(kControl);
                      start.Wait();
                      refused += !control || Call(control.Get(), L"EnumUsbKey").result != S_OK;
                      start.Wait();
                  }));
        Reload();
        watchdog.Beat("first windows", i);
    }
    EXPECT_EQ(0, refused);
    Did("threads", rounds, "races for the first window");
}

// The plant for the detector of the tests above: calls that nobody keeps apart.
TEST_F(Threads, TwoCallsAtOnceWouldBeSeen)
{
    ComPtr<IDispatch> control;
    ASSERT_EQ(S_OK, CoCreateInstance(kBackendClass, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     control.putVoid()));
    Watchdog watchdog(kTooLong);
    const auto call = [&] {
        for (int i = 0; i < 100000 && backend->Overlaps() == 0; ++i) {
            wchar_t text[] = L"SOF_Base64Encode";
            LPOLESTR name = text;
            DISPID id = 0;
            control->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
            VARIANT argument, result;
            VariantInit(&result);
            argument.vt = VT_BSTR;
            argument.bstrVal = nullptr;
            DISPPARAMS parameters{&argument, nullptr, 1, 0};
            control->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &result, nullptr,
                            nullptr);
            VariantClear(&result);
        }
    };
    std::thread other(call);
    call();
    other.join();
    EXPECT_GT(backend->Overlaps(), 0);
}

}  // namespace
}  // namespace kzr::test
