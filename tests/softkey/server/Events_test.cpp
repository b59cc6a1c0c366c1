// Plugging and pulling as clients of the server hear of it.
#include <olectl.h>

#include <chrono>
#include <future>
#include <thread>

#include "softkey/server/ServerTest.h"
#include "softkey/server/Sink.h"
#include "support/ComponentTest.h"
#include "support/Faults.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class ServerEvents : public ServerTest {
  public:
    DWORD Advise(Sink& sink)
    {
        DWORD cookie = 0;
        EXPECT_EQ(S_OK, PointOf(control.Get())->Advise(&sink, &cookie));
        EXPECT_NE(0u, cookie);
        return cookie;
    }
    void Unadvise(DWORD cookie) { EXPECT_EQ(S_OK, PointOf(control.Get())->Unadvise(cookie)); }
    static bool Wait(const Sink& sink, std::size_t count)
    {
        return PumpUntil([&] { return sink.events.size() >= count; });
    }

    std::vector<std::future<void>> waiting;
};

TEST_F(ServerEvents, PullingAndPluggingAreToldInTheirOrderOnTheThreadOfTheControl)
{
    Sink sink;
    const DWORD cookie = Advise(sink);
    // Elsewhere: whoever moves a key is another process as a rule.
    std::thread([&] {
        home->Pull("SN01");
        home->Pull("SN02");
        home->Plug("SN01");
    }).join();
    EXPECT_TRUE(Wait(sink, 3));
    const DWORD here = GetCurrentThreadId();
    const std::vector<Sink::Event> expected = {
        {kKeyPulled, L"SN01", here}, {kKeyPulled, L"SN02", here}, {kKeyPlugged, L"SN01", here}};
    EXPECT_EQ(expected, sink.events);
    Unadvise(cookie);
    EXPECT_EQ(0u, sink.References());
}

TEST_F(ServerEvents, EverySinkOfEveryControlIsTold)
{
    Sink first, second, third;
    third.isBare = true;
    const DWORD one = Advise(first), two = Advise(second);
    EXPECT_NE(one, two);
    const ComPtr<IDispatch> other = NewControl();
    DWORD three = 0;
    EXPECT_EQ(S_OK, PointOf(other.Get())->Advise(&third, &three));
    home->Pull("SN02");
    EXPECT_TRUE(
        PumpUntil([&] { return first.events.size() + second.events.size() + third.events.size() == 3; }));
    for (const Sink* sink : {&first, &second, &third}) EXPECT_EQ(L"SN02", sink->events.at(0).serialNumber);
    Unadvise(one);
    Unadvise(two);
    EXPECT_EQ(S_OK, PointOf(other.Get())->Unadvise(three));
    EXPECT_EQ(0u, first.References() + second.References() + third.References());
}

TEST_F(ServerEvents, WhoHasLeftHearsNothing)
{
    Sink stays, leaves;
    const DWORD cookie = Advise(leaves);
    const DWORD other = Advise(stays);
    Unadvise(cookie);
    home->Pull("SN01");
    EXPECT_TRUE(Wait(stays, 1));
    EXPECT_EQ(0u, leaves.events.size());
    Unadvise(other);
    EXPECT_EQ(CONNECT_E_NOCONNECTION, PointOf(control.Get())->Unadvise(cookie));
    EXPECT_EQ(CONNECT_E_NOCONNECTION, PointOf(control.Get())->Unadvise(0));
}

TEST_F(ServerEvents, NothingOfBeforeIsToldLater)
{
    home->Pull("SN01");
    Sink sink;
    const DWORD cookie = Advise(sink);
    home->Pull("SN02");
    EXPECT_TRUE(Wait(sink, 1));
    EXPECT_EQ(L"SN02", sink.events.at(0).serialNumber);
    EXPECT_EQ(1u, sink.events.size());
    Unadvise(cookie);
}

TEST_F(ServerEvents, ASinkMayDisconnectAndLetGoOfTheControlWhenItIsTold)
{
    Sink sink;
    const DWORD cookie = Advise(sink);
    sink.during = [&] {
        Unadvise(cookie);
        control.Reset();
    };
    home->Pull("SN01");
    home->Pull("SN02");
    EXPECT_TRUE(Wait(sink, 1));
    PumpUntil([] { return false; }, 700);
    EXPECT_EQ(1u, sink.events.size());
    EXPECT_EQ(0u, sink.References());
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(ServerEvents, ASinkMayCallTheControlWhenItIsTold)
{
    Sink sink;
    std::wstring list;
    sink.during = [&] { list = AskText(L"GetAllDeviceSN"); };
    const DWORD cookie = Advise(sink);
    home->Pull("SN01");
    EXPECT_TRUE(Wait(sink, 1));
    EXPECT_EQ(L"SN02;", list);
    Unadvise(cookie);
}

TEST_F(ServerEvents, ASinkThatFaultsCostsTheOthersNothing)
{
    const FaultCounter faults;
    Sink bad, good;
    bad.during = [] { RaiseFault(FaultKind::Read); };
    const DWORD one = Advise(bad), two = Advise(good);
    home->Pull("SN01");
    EXPECT_TRUE(Wait(good, 1));
    home->Plug("SN01");
    EXPECT_TRUE(Wait(good, 2));
    EXPECT_EQ(2u, bad.events.size());
    Unadvise(one);
    Unadvise(two);
}

TEST_F(ServerEvents, AControlThatGoesLetsGoOfItsSinksAndItsSite)
{
    Sink sink;
    Advise(sink);
    control.Reset();
    EXPECT_EQ(0u, sink.References());
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    home->Pull("SN01");
    PumpUntil([] { return false; }, 200);
    EXPECT_EQ(0u, sink.events.size());
}

// Of a client site nothing is ever called here but its references.
class Site final : public IOleClientSite {
  public:
    ULONG references = 0;
    std::function<void()> whenCounted;
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override
    {
        if (whenCounted) whenCounted();
        return ++references;
    }
    STDMETHODIMP_(ULONG) Release() override
    {
        if (whenCounted) whenCounted();
        return --references;
    }
    STDMETHODIMP SaveObject() override { return E_NOTIMPL; }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
    STDMETHODIMP GetContainer(IOleContainer**) override { return E_NOTIMPL; }
    STDMETHODIMP ShowObject() override { return E_NOTIMPL; }
    STDMETHODIMP OnShowWindow(BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }
};

TEST_F(ServerEvents, WhileAClientCountsItsReferencesOthersMayCallTheControl)
{
    ComPtr<IOleObject> ole;
    ASSERT_EQ(S_OK, control->QueryInterface(IID_IOleObject, ole.putVoid()));
    const ComPtr<IConnectionPoint> point = PointOf(control.Get());
    int counted = 0, kept = 0;
    // Another thread, since it could wait for a lock that this one holds.
    const auto look = [&] {
        ++counted;
        auto other = std::async(std::launch::async, [&] { point->Unadvise(~0u); });
        if (other.wait_for(std::chrono::seconds(2)) != std::future_status::ready) ++kept;
        // Nobody can end it: it goes when this call returns.
        waiting.push_back(std::move(other));
    };
    {
        Sink sink;
        Site site;
        const DWORD cookie = Advise(sink);
        sink.whenCounted = site.whenCounted = look;
        EXPECT_EQ(S_OK, ole->SetClientSite(&site));
        IOleClientSite* asked = nullptr;
        EXPECT_EQ(S_OK, ole->GetClientSite(&asked));
        if (asked) asked->Release();
        home->Pull("SN01");
        EXPECT_TRUE(Wait(sink, 1));
        EXPECT_EQ(S_OK, ole->SetClientSite(nullptr));
        Unadvise(cookie);
        waiting.clear();
    }
    EXPECT_GE(counted, 5);
    EXPECT_EQ(0, kept) << "a lock was held";
}

TEST_F(ServerEvents, TheSiteIsHeldUntilAnotherOneComes)
{
    Site first, second;
    ComPtr<IOleObject> ole;
    ASSERT_EQ(S_OK, control->QueryInterface(IID_IOleObject, ole.putVoid()));
    EXPECT_EQ(S_OK, ole->SetClientSite(&first));
    EXPECT_EQ(1u, first.references);
    IOleClientSite* site = nullptr;
    EXPECT_EQ(S_OK, ole->GetClientSite(&site));
    EXPECT_EQ(&first, site);
    if (site) site->Release();
    EXPECT_EQ(S_OK, ole->SetClientSite(&second));
    EXPECT_EQ(0u, first.references);
    EXPECT_EQ(1u, second.references);
    EXPECT_EQ(S_OK, ole->SetClientSite(nullptr));
    EXPECT_EQ(0u, second.references);
    EXPECT_EQ(S_OK, ole->GetClientSite(&site));
    EXPECT_EQ(nullptr, site);
    EXPECT_EQ(E_POINTER, ole->GetClientSite(nullptr));
}

TEST_F(ServerEvents, WhatIsNoSinkIsNotConnected)
{
    const ComPtr<IConnectionPoint> point = PointOf(control.Get());
    DWORD cookie = 5;
    EXPECT_EQ(E_POINTER, point->Advise(nullptr, &cookie));
    EXPECT_EQ(0u, cookie);
    Sink sink;
    EXPECT_EQ(E_POINTER, point->Advise(&sink, nullptr));
    ComPtr<IClassFactory> factory;
    dll->GetClassObject(kServerClass, IID_IClassFactory, factory.putVoid());
    EXPECT_EQ(CONNECT_E_CANNOTCONNECT, point->Advise(factory.Get(), &cookie));
    ComPtr<IConnectionPointContainer> container;
    EXPECT_EQ(S_OK, point->GetConnectionPointContainer(container.put()));
    ComPtr<IConnectionPoint> none;
    EXPECT_EQ(CONNECT_E_NOCONNECTION, container->FindConnectionPoint(IID_IPropertyNotifySink, none.put()));
    EXPECT_EQ(E_POINTER, container->FindConnectionPoint(kEventsInterface, nullptr));
    IID iid{};
    EXPECT_EQ(S_OK, point->GetConnectionInterface(&iid));
    EXPECT_TRUE(IsEqualIID(kEventsInterface, iid));
}

TEST_F(ServerEvents, AControlMayBeLetGoOfOnAnotherThread)
{
    Sink sink;
    Advise(sink);
    std::thread([this] { control.Reset(); }).join();
    EXPECT_EQ(0u, sink.References());
    // Its window goes when this thread looks at its messages.
    EXPECT_TRUE(PumpUntil([this] { return dll->CanUnloadNow() == S_OK; }));
}

TEST_F(ServerEvents, AControlOutlivesTheThreadThatMadeIt)
{
    ComPtr<IDispatch> orphan;
    std::thread([&] { orphan = NewControl(); }).join();
    Sink sink;
    DWORD cookie = 0;
    EXPECT_EQ(S_OK, PointOf(orphan.Get())->Advise(&sink, &cookie));
    EXPECT_EQ(Value(L"dGV4dA=="), kzr::test::Call(orphan.Get(), L"SOF_Base64Encode", {L"text"}).value);
    home->Pull("SN01");
    PumpUntil([] { return false; }, 700);
    EXPECT_EQ(0u, sink.events.size()) << "there is nobody whose thread it could be told on";
    orphan.Reset();
    EXPECT_EQ(0u, sink.References());
}

}  // namespace
}  // namespace kzr::test
