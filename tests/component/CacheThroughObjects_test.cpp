// The cache as the objects use it: what a user list becomes, seen in the identifiers that reach the backend.
#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>

#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

class CacheThroughObjects : public ComponentTest {
  protected:
    // A new object reads this list; every device answers alike unless a test says otherwise.
    void Fill(const std::wstring& list)
    {
        backend->SetUserList(Value(list));
        Make(kUtil);
    }
    void AllowDevices() { backend->Allow(L"GetDeviceInfo", L"x"); }
    void FillUsers(const std::vector<User>& users)
    {
        backend->SetUsers(users);
        Make(kUtil);
    }

    // The first argument that a call of this method hands to the backend.
    std::wstring Sent(const ScriptedClass& made, DISPID id, const Values& arguments, const wchar_t* method,
                      const Answer& answer)
    {
        backend->SetUserList(L"");  // what is there stays
        const ComPtr<IDispatch> object = Make(made);
        backend->Allow(method, answer);
        backend->ForgetCalls();
        Call(object.Get(), id, arguments);
        const std::vector<RecordedCall> calls = backend->Calls();
        return calls.empty() || calls[0].arguments.empty() ? L"(no call)" : calls[0].arguments[0].AsText();
    }
    std::wstring Answered(const ScriptedClass& made, DISPID id, const Values& arguments)
    {
        backend->SetUserList(L"");
        const ComPtr<IDispatch> object = Make(made);
        return Call(object.Get(), id, arguments).value.AsText();
    }

    // One for each look-up that the objects use.
    std::wstring IdByContainer(const wchar_t* container)
    {
        return Sent(kCrypto, 5, {L"text", container}, L"SOF_SignData", L"signature");
    }
    std::wstring IdByCsp(const wchar_t* csp)
    {
        return Sent(kDeviceMgr, 1, {csp, L"1234"}, L"SOF_Login", Bool(true));
    }
    std::wstring IdByExtLib(const wchar_t* library)
    {
        return Sent(kDeviceMgr, 2, {L"", library, L"1", L"2"}, L"SOF_ChangePassWd", Bool(true));
    }
    std::wstring DeviceByExtLib(const wchar_t* library)
    {
        return Sent(kDeviceMgr, 7, {library, L"file"}, L"ReadFile", L"data");
    }
    std::wstring Containers(const wchar_t* csp) { return Answered(kDeviceMgr, 3, {csp}); }
    std::wstring Fact(const wchar_t* container, short type)
    {
        return Answered(kUtil, 4, {container, I2(type)});
    }

    std::string QuestionsAsked()
    {
        std::string text;
        for (const RecordedCall& call : backend->Calls())
            if (call.name == L"GetDeviceInfo") text += Describe(call.arguments) + " ";
        return text;
    }
};

TEST_F(CacheThroughObjects, EveryLookUpFindsTheUsersAndDevices)
{
    FillUsers({{L"Bob", L"c2", L"SN02", L"CSP1", L"EXT2"},
               {L"Alice", L"c1", L"SN01", L"CSP1", L"EXT1"},
               {L"Carol", L"c3", L"SN03", L"CSP3", L"EXT2"}});
    EXPECT_EQ(L"c1/SN01", IdByContainer(L"c1"));
    EXPECT_EQ(L"c3/SN03", IdByContainer(L"c3"));
    EXPECT_EQ(L"c1/SN01", IdByCsp(L"CSP1")) << "the first by container, not by arrival";
    EXPECT_EQ(L"c2/SN02", IdByExtLib(L"EXT2"));
    EXPECT_EQ(L"SN02", DeviceByExtLib(L"EXT2"));
    EXPECT_EQ(L"c1&&&c2&&&", Containers(L"CSP1"));
    EXPECT_EQ(L"SN03", Fact(L"c3", 13));
    EXPECT_EQ(L"CSP3", Fact(L"c3", 14));
    EXPECT_EQ(L"EXT2", Fact(L"c3", 15));
    EXPECT_EQ(L"CSP1", Fact(L"c2", 40));
    EXPECT_EQ(L"EXT1", Fact(L"c1", 41));
}

TEST_F(CacheThroughObjects, WhatIsUnknownIsEmpty)
{
    FillUsers(DefaultUsers());
    for (const wchar_t* unknown : {L"", L"c", L"C1", L"c11", L"/c1", L"/", L"csp1", L"CSP", L"CSP11"}) {
        EXPECT_EQ(L"", IdByContainer(unknown)) << Readable(unknown);
        EXPECT_EQ(L"", IdByCsp(unknown)) << Readable(unknown);
        EXPECT_EQ(L"", IdByExtLib(unknown)) << Readable(unknown);
        EXPECT_EQ(L"", Containers(unknown)) << Readable(unknown);
        EXPECT_EQ(L"", Fact(unknown, 13)) << Readable(unknown);
    }
}

TEST_F(CacheThroughObjects, AWholeIdentifierServesAsItsContainer)
{
    FillUsers(DefaultUsers());
    for (const wchar_t* name : {L"c1", L"c1/", L"c1/SN01", L"c1/anything", L"c1/a/b"}) {
        EXPECT_EQ(L"c1/SN01", IdByContainer(name)) << Readable(name);
        EXPECT_EQ(L"SN01", Fact(name, 13)) << Readable(name);
    }
}

TEST_F(CacheThroughObjects, EachUsersDeviceIsAskedForThreeFactsInTheirOrder)
{
    backend->SetUsers(DefaultUsers());
    Make(kUtil);
    EXPECT_EQ(Describe(Values{L"SN01", I2(9)}) + " " + Describe(Values{L"SN01", I2(8)}) + " " +
                  Describe(Values{L"SN01", I2(7)}) + " " + Describe(Values{L"SN02", I2(9)}) + " " +
                  Describe(Values{L"SN02", I2(8)}) + " " + Describe(Values{L"SN02", I2(7)}) + " ",
              QuestionsAsked());
}

TEST_F(CacheThroughObjects, SoftwareStoresAreLeftOutInAnyLetterCase)
{
    for (const wchar_t* type : {L"SOFT", L"soft", L"Soft", L"sOfT"}) {
        FillUsers({{L"Alice", L"c1", L"SN01", L"CSP1", L"EXT1", type}});
        EXPECT_EQ(L"", IdByContainer(L"c1")) << Readable(type);
    }
    for (const wchar_t* type : {L"", L"SOF", L"SOFTY", L" SOFT", L"S\u00f6FT", L"HARD"}) {
        FillUsers({{L"Alice", L"c1", L"SN01", L"CSP1", L"EXT1", type}});
        EXPECT_EQ(L"c1/SN01", IdByContainer(L"c1")) << Readable(type);
    }
}

TEST_F(CacheThroughObjects, AListOfSoftwareStoresEmptiesTheCache)
{
    FillUsers(DefaultUsers());
    FillUsers({{L"Carol", L"c3", L"SN03", L"CSP3", L"EXT3", L"SOFT"}});
    EXPECT_EQ(L"", IdByContainer(L"c1"));
}

TEST_F(CacheThroughObjects, TheFirstOfTwoEqualContainersStays)
{
    FillUsers({{L"Alice", L"c1", L"SN01", L"CSP1", L"EXT1"}, {L"Bob", L"c1", L"SN02", L"CSP2", L"EXT2"}});
    EXPECT_EQ(L"c1/SN01", IdByContainer(L"c1"));
    EXPECT_EQ(L"", IdByCsp(L"CSP2"));
}

TEST_F(CacheThroughObjects, AFailedOrMissingFactIsEmpty)
{
    backend->SetUsers(DefaultUsers());
    backend->Allow(L"GetDeviceInfo", {L"SN01", I2(9)}, Fails(E_ACCESSDENIED));
    backend->Allow(L"GetDeviceInfo", {L"SN01", I2(8)}, Empty());
    backend->Allow(L"GetDeviceInfo", {L"SN02", I2(8)}, I4(17));
    Make(kUtil);
    EXPECT_EQ(L"", Fact(L"c1", 14));
    EXPECT_EQ(L"", Fact(L"c1", 15));
    EXPECT_EQ(L"17", Fact(L"c2", 15)) << "a number becomes its text";
    // The empty name finds the one that has none.
    EXPECT_EQ(L"c1/SN01", IdByCsp(L""));
}

TEST_F(CacheThroughObjects, JunkInTheListGivesEmptyFieldsAndEndsAlways)
{
    struct Row {
        const wchar_t* list;
        const wchar_t* container;
        const wchar_t* identifier;
        std::size_t questions;
    };
    const Row rows[] = {
        {L"Alice||c1SN01&&&", L"", L"/c1SN01", 3},
        // The text goes on behind "||", two characters a time.
        {L"A||c/S", L"c", L"c/", 6},
        {L"Alice||c1/SN01&&&Bob", L"c1", L"c1/SN01", 6},
        {L"|", L"", L"/", 3},
        {L"&&&", L"", L"/", 3},
        {L"||", L"", L"/", 3},
        {L"a", L"", L"/", 3},
        {L"||||c/S&&&", L"||c", L"||c/S", 3},
    };
    AllowDevices();
    for (const Row& row : rows) {
        SCOPED_TRACE(Readable(row.list));
        backend->ForgetCalls();
        Fill(row.list);
        EXPECT_EQ(row.questions, backend->CallsOf(L"GetDeviceInfo"));
        EXPECT_EQ(row.identifier, IdByContainer(row.container));
    }
}

TEST_F(CacheThroughObjects, AListOfTwoThousandUsersIsReadOnce)
{
    AllowDevices();
    std::wstring list;
    for (int i = 0; i < 2000; ++i) {
        const std::wstring number = std::to_wstring(i);
        list += L"User" + number + L"||c" + number + L"/SN" + number + L"&&&";
    }
    Fill(list);
    EXPECT_EQ(6000u, backend->CallsOf(L"GetDeviceInfo"));
    EXPECT_EQ(L"c1999/SN1999", IdByContainer(L"c1999"));
    EXPECT_EQ(L"c0/SN0", IdByContainer(L"c0"));
}

// A body on another thread, whose failure to end is a lost lock: nothing after it could be trusted.
void RunElsewhere(const std::function<void()>& body)
{
    std::atomic<bool> done = false;
    std::thread thread([&] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        body();
        CoUninitialize();
        done = true;
    });
    for (int i = 0; i < 1000 && !done; ++i) Sleep(10);
    if (!done) {
        std::puts("a lock was never given back: another thread waits for it");
        std::fflush(stdout);
        TerminateProcess(GetCurrentProcess(), 3);
    }
    thread.join();
}

TEST_F(CacheThroughObjects, AFaultInARebuildLeavesBothLocksFreeAndEveryLookUpWorking)
{
    FillUsers(DefaultUsers());
    backend->SetUserList(L"");
    const ComPtr<IDispatch> crypto = Make(kCrypto), manager = Make(kDeviceMgr), util = Make(kUtil);
    for (const FaultKind kind : kAllFaults) {
        for (const short fact : {short{9}, short{8}, short{7}}) {
            SCOPED_TRACE(std::string(NameOf(kind)) + " at " + std::to_string(fact));
            backend->SetUsers(DefaultUsers());
            backend->Allow(L"GetDeviceInfo", {L"SN02", I2(fact)}, Faults(kind));
            void* refused = nullptr;
            EXPECT_EQ(E_FAIL, dll->Create(kUtil.clsid, IID_IDispatch, &refused));
            backend->SetUserList(L"");

            backend->Allow(L"SOF_SignData", L"signature");
            backend->Allow(L"SOF_Login", Bool(true));
            backend->Allow(L"SOF_ChangePassWd", Bool(true));
            backend->Allow(L"ReadFile", L"data");
            Value containers, fact13;
            RunElsewhere([&] {
                EXPECT_EQ(S_OK, Call(crypto.Get(), DISPID{5}, {L"text", L"c2"}).result);
                EXPECT_EQ(S_OK, Call(manager.Get(), DISPID{1}, {L"CSP2", L"1234"}).result);
                EXPECT_EQ(S_OK, Call(manager.Get(), DISPID{2}, {L"", L"EXT2", L"1", L"2"}).result);
                EXPECT_EQ(S_OK, Call(manager.Get(), DISPID{7}, {L"EXT2", L"file"}).result);
                containers = Call(manager.Get(), DISPID{3}, {L"CSP1"}).value;
                for (const short type : {short{13}, short{14}, short{15}})
                    EXPECT_EQ(S_OK, Call(util.Get(), DISPID{4}, {L"c2", I2(type)}).result);
                fact13 = Call(util.Get(), DISPID{4}, {L"c1", I2(13)}).value;
            });
            // What was read before the fault is there, whole; the rest is not.
            EXPECT_EQ(Value(L"c1&&&"), containers);
            EXPECT_EQ(Value(L"SN01"), fact13);
        }
    }
    FillUsers(DefaultUsers());
    EXPECT_EQ(L"c2/SN02", IdByContainer(L"c2")) << "and the next list fills it again";
}

TEST_F(CacheThroughObjects, ABackendMayLetAReaderInWhileItIsAsked)
{
    FillUsers(DefaultUsers());
    backend->SetUserList(L"");
    const ComPtr<IDispatch> manager = Make(kDeviceMgr);
    std::wstring seen = L"(nobody came)";
    backend->SetUsers(DefaultUsers());
    backend->Allow(L"GetDeviceInfo", {L"SN02", I2(9)}, Answer(L"CSP2").Running([&] {
        seen = Call(manager.Get(), DISPID{3}, {L"CSP1"}).value.AsText();
    }));
    Make(kUtil);
    EXPECT_EQ(L"c1&&&", seen) << "the list as far as it is read";
    EXPECT_EQ(L"c2&&&", Containers(L"CSP2"));
}

TEST_F(CacheThroughObjects, ReadersAndRebuildsOnManyThreadsNeverWaitForEver)
{
    FillUsers(DefaultUsers());
    const ComPtr<IDispatch> manager = Make(kDeviceMgr), crypto = Make(kCrypto);
    backend->Allow(L"SOF_SignData", L"signature");
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i)
        readers.emplace_back([&] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            while (!stop) {
                const std::wstring containers = Call(manager.Get(), DISPID{3}, {L"CSP1"}).value.AsText();
                wrong += !containers.empty() && containers != L"c1&&&";
                wrong += Call(crypto.Get(), DISPID{5}, {L"text", L"c1"}).value != Value(L"signature");
            }
            CoUninitialize();
        });
    for (int i = 0; i < 50; ++i) Make(kUtil);
    stop = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(0, backend->Overlaps());
}

}  // namespace
}  // namespace kzr::test
