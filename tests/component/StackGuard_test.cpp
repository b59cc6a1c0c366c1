// The guard of the DLL's stack frames: there, hard to guess, and the end of the process when a frame is
// overrun.
#include <cstdint>
#include <cstdio>
#include <set>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

using Slots = std::vector<std::uintptr_t*>;

// What may be the value of the guard among the module's variables: all of it random but for the lowest byte.
std::set<std::uintptr_t> GuardsLike(HMODULE module)
{
    std::set<std::uintptr_t> found;
    const auto base = reinterpret_cast<std::uintptr_t>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const header =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(base + static_cast<std::uintptr_t>(dos->e_lfanew));
    const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(header);
    for (int i = 0; i < header->FileHeader.NumberOfSections; ++i, ++section) {
        if (!(section->Characteristics & IMAGE_SCN_MEM_WRITE)) continue;
        const auto* const words = reinterpret_cast<const std::uintptr_t*>(base + section->VirtualAddress);
        for (std::size_t word = 0; word < section->Misc.VirtualSize / sizeof(std::uintptr_t); ++word) {
            const std::uintptr_t value = words[word];
            // No address looks like this.
            if ((value & 0xff) == 0 && value >> 48 != 0 && value >> 48 != 0xffff) found.insert(value);
        }
    }
    return found;
}

// Where such a value stands on this thread's stack, innermost first, up to the frame of the caller's caller.
Slots GuardedFrames(HMODULE module, const void* outermost)
{
    Slots slots;
    const std::set<std::uintptr_t> guards = GuardsLike(module);
    auto* word = static_cast<std::uintptr_t*>(__builtin_frame_address(0));
    for (; word < outermost; ++word)
        if (guards.contains(*word)) slots.push_back(word);
    return slots;
}

// Calls a method whose backend call runs `inside`, with the guards of the frames in between.
int CallWith(const std::function<void(const Slots&)>& inside)
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const void* const outermost = __builtin_frame_address(0);
    ScriptedBackend backend;
    const TestDll dll;
    const ComPtr<IDispatch> util = dll.Create<IDispatch>(kUtil.clsid);
    if (!util) return 3;
    backend.Allow(L"SOF_Base64Encode",
                  Answer(L"YWJj").Running([&] { inside(GuardedFrames(dll.Module(), outermost)); }));
    return Call(util.Get(), DISPID{1}, {L"abc"}).value == Value(L"YWJj") ? 0 : 4;
}

constexpr wchar_t kWhich[] = L"KZR_FRAME";

// Overruns one frame, the one whose number stands in the environment; without a number it only tells the
// guard.
KZR_CHILD(OverrunsAFrame)
{
    wchar_t text[12];
    const bool overruns = GetEnvironmentVariableW(kWhich, text, 12) != 0;
    const auto which = overruns ? static_cast<std::size_t>(_wtoi(text)) : 0;
    return CallWith([=](const Slots& slots) {
        std::printf("%u places\n", static_cast<unsigned>(slots.size()));
        if (slots.empty()) return;
        std::printf("guard %016llx\n", static_cast<unsigned long long>(*slots.front()));
        std::fflush(stdout);
        if (overruns && which < slots.size()) *slots[which] ^= 0x4141414141410000;
    });
}

ChildResult RunOverrun(const wchar_t* which)
{
    SetEnvironmentVariableW(kWhich, which);
    ChildResult ended = RunChild("OverrunsAFrame");
    SetEnvironmentVariableW(kWhich, nullptr);
    return ended;
}

// The rest of the line that begins so.
std::string After(const std::string& begin, const std::string& output)
{
    const std::size_t at = output.find(begin);
    return at == std::string::npos ? "" : output.substr(at + begin.size(), 16);
}

TEST(StackGuard, IsAnotherInEveryProcess)
{
    std::set<std::string> guards;
    for (int i = 0; i < 3; ++i) {
        const ChildResult ended = RunOverrun(nullptr);
        ASSERT_EQ(0u, ended.code) << ended.output;
        guards.insert(After("guard ", ended.output));
    }
    EXPECT_EQ(3u, guards.size());
    EXPECT_FALSE(guards.contains(""));
}

// Not as a caught fault: a handler would run on the very stack that was overrun.
TEST(StackGuard, AFrameThatWasOverrunEndsTheProcess)
{
    const std::string output = RunOverrun(nullptr).output;
    const std::size_t at = output.find(" places");
    ASSERT_NE(std::string::npos, at) << output;
    const int places = std::atoi(output.substr(output.rfind('\n', at) + 1).c_str());
    int ends = 0;
    for (int i = 0; i < places; ++i) {
        const DWORD code = RunOverrun(std::to_wstring(i).c_str()).code;
        // Some places are only what an earlier call has left behind.
        EXPECT_TRUE(code == 0 || code == static_cast<DWORD>(STATUS_STACK_BUFFER_OVERRUN)) << code;
        ends += code != 0;
    }
    EXPECT_LE(3, ends) << "of " << places;
}

}  // namespace
}  // namespace kzr::test
