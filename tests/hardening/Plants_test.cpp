// Every detector of this program finds the bug that was planted for it, and nothing where there is none.
#include <gtest/gtest.h>

#include "GuardedText.h"
#include "Holdings.h"
#include "Methods.h"
#include "OtherThread.h"
#include "Planted.h"
#include "QuietTest.h"
#include "Watchdog.h"

namespace kzr::test {
namespace {

// Each leak in turn, and no bug, once and often: what the count of holdings says, a line each.
KZR_CHILD(PlantedLeaks)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const ComPtr<IDispatch> object = MakePlanted();
    if (!object) return 2;
    const struct {
        const char* name;
        Bug bug;
    } leaks[] = {{"none", Bug::None},         {"heap", Bug::HeapLeak}, {"text", Bug::TextLeak},
                 {"handle", Bug::HandleLeak}, {"slot", Bug::SlotLeak}, {"window", Bug::WindowLeak}};
    for (const int times : {50, 1})
        for (const auto& leak : leaks) {
            const std::string grown = GrowthOf(50, times, [&] { CallPlanted(object.Get(), leak.bug); });
            std::printf("%s %d: %s.\n", leak.name, times, grown.c_str());
        }
    std::puts("END");
    return 0;
}

TEST(Plants, ALeakOfEachKindIsFound)
{
    const ChildResult ended = RunWithoutTextCache("PlantedLeaks", 60000);
    EXPECT_EQ(0u, ended.code) << ended.output;
    for (const int times : {50, 1}) {
        const std::string often = " " + std::to_string(times) + ": ";
        EXPECT_NE(std::string::npos, ended.output.find("none" + often + ".")) << ended.output;
        for (const auto& [leak, found] :
             {std::pair("heap", "heap blocks"), std::pair("text", "texts"), std::pair("handle", "handles"),
              std::pair("slot", "free thread-local slots"), std::pair("window", "windows")}) {
            const std::size_t line = ended.output.find(leak + often);
            ASSERT_NE(std::string::npos, line) << leak << often << "in\n" << ended.output;
            const std::string told = ended.output.substr(line, ended.output.find('\n', line) - line);
            EXPECT_NE(std::string::npos, told.find(found)) << told;
        }
    }
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
}

TEST(Plants, AReadBeyondATextIsFound)
{
    const ComPtr<IDispatch> object = MakePlanted();
    ASSERT_TRUE(object);
    const FaultCounter faults;
    const std::wstring text = L"some text";
    const GuardedText guarded(text);
    VARIANT argument;
    argument.vt = VT_BSTR;
    argument.bstrVal = guarded.Get();
    DISPPARAMS parameters{&argument, nullptr, 1, 0};
    const auto read = [&](Bug bug) {
        EXPECT_EQ(S_OK, object->Invoke(static_cast<DISPID>(bug), IID_NULL, 0, DISPATCH_METHOD, &parameters,
                                       nullptr, nullptr, nullptr));
    };
    read(Bug::None);
    EXPECT_EQ(0, FaultCounter::Unplanned());
    read(Bug::OverRead);
    EXPECT_EQ(1, FaultCounter::Unplanned());
    EXPECT_TRUE(guarded.IsUntouched(text));
    guarded.Get()[0] = L'S';
    EXPECT_FALSE(guarded.IsUntouched(text)) << "a text that was written to is seen";
}

TEST(Plants, AFaultThatIsHiddenBehindSuccessIsFound)
{
    const ComPtr<IDispatch> object = MakePlanted();
    ASSERT_TRUE(object);
    const FaultCounter faults;
    EXPECT_EQ(S_OK, CallPlanted(object.Get(), Bug::HiddenFault).result);
    EXPECT_EQ(1, FaultCounter::Unplanned());
}

TEST(Plants, AThrowThatLeavesACallIsFound)
{
    const ComPtr<IDispatch> object = MakePlanted();
    ASSERT_TRUE(object);
    EXPECT_EQ(S_OK, InvokeWith(object.Get(), static_cast<DISPID>(Bug::None), {}, nullptr));
    EXPECT_EQ(kThrown, InvokeWith(object.Get(), static_cast<DISPID>(Bug::Throw), {}, nullptr));
}

KZR_CHILD(PlantedHang)
{
    const ComPtr<IDispatch> object = MakePlanted();
    Watchdog watchdog(500);
    watchdog.Beat("no bug");
    CallPlanted(object.Get(), Bug::None);
    watchdog.Beat("a call that hangs", 7);
    CallPlanted(object.Get(), Bug::Hang);
    return 0;
}

TEST(Plants, ACallThatDoesNotComeBackIsFound)
{
    const ChildResult ended = RunChild("PlantedHang");
    EXPECT_EQ(Watchdog::kExitCode, ended.code);
    EXPECT_NE(std::string::npos, ended.output.find("of: a call that hangs (7)")) << ended.output;
}

KZR_CHILD(PlantedLostLock)
{
    const ComPtr<IDispatch> object = MakePlanted();
    const auto comesBack = [&] {
        return ComesBackOnAnotherThread([object] { CallPlanted(object.Get(), Bug::None); }, 1000);
    };
    if (!comesBack()) return 2;
    CallPlanted(object.Get(), Bug::LostLock);
    TerminateProcess(GetCurrentProcess(), comesBack() ? 3 : 42);
    return 4;
}

TEST(Plants, ALockThatIsNotGivenBackIsFound) { EXPECT_EQ(42u, RunChild("PlantedLostLock").code); }

// The guard answers success, so only its line tells that something was caught.
class PlantedFaults : public QuietTest {};

TEST_F(PlantedFaults, AFaultThatTheGuardHidesIsCountedByItsLine)
{
    const ComPtr<IDispatch> util = Make(kUtil);
    const long errors = CountedErrorLines();
    backend->Allow(L"SOF_Base64Encode", Faults(FaultKind::Write));
    EXPECT_EQ(S_OK, Call(util.Get(), DISPID{1}, {L"abc"}).result);
    EXPECT_EQ(1, FatalLines());
    EXPECT_EQ(errors + 1, CountedErrorLines());
    EXPECT_EQ(1, FaultCounter::Planned());
    plannedFatalLines = 1;
}

}  // namespace
}  // namespace kzr::test
