// Random texts of every kind, each ending at a page that cannot be read: the two conversions take what
// belongs to the text and not a byte more, and give what the platform gives. KZR_SEED repeats a run.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "com/Text.h"
#include "support/Faults.h"
#include "support/Rounds.h"

namespace kzr {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kRoom = 16 * kPage;

// Room whose end is followed by a page that nobody may touch.
class GuardedRoom {
  public:
    GuardedRoom()
        : m_base(static_cast<char*>(VirtualAlloc(nullptr, kRoom + kPage, MEM_COMMIT, PAGE_READWRITE)))
    {
        DWORD before;
        VirtualProtect(m_base + kRoom, kPage, PAGE_NOACCESS, &before);
    }
    GuardedRoom(const GuardedRoom&) = delete;
    GuardedRoom& operator=(const GuardedRoom&) = delete;
    ~GuardedRoom() { VirtualFree(m_base, 0, MEM_RELEASE); }

    char* PutLast(const void* bytes, std::size_t count)
    {
        char* const place = m_base + kRoom - count;
        std::memcpy(place, bytes, count);
        return place;
    }

  private:
    char* const m_base;
};

// An automation string of these units that has no terminator: its last unit ends at the page.
BSTR PutText(GuardedRoom& room, const std::wstring& text)
{
    const auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    std::string block(sizeof(bytes) + bytes, '\0');
    std::memcpy(block.data(), &bytes, sizeof(bytes));
    std::memcpy(block.data() + sizeof(bytes), text.data(), bytes);
    return reinterpret_cast<BSTR>(room.PutLast(block.data(), block.size()) + sizeof(bytes));
}

std::wstring RandomText(std::mt19937& random)
{
    constexpr wchar_t kLast[] = {0x7f, 0xff, 0x4ff, 0x9fff, 0xdfff, 0xffff};
    const wchar_t last = kLast[random() % std::size(kLast)];
    std::wstring text(random() % (random() % 50 ? 80 : 9000), L'\0');
    for (wchar_t& unit : text)
        unit = static_cast<wchar_t>(last == 0xdfff ? 0xd800 + random() % 0x800 : random() % (last + 1u));
    return text;
}

std::string Plainly(const std::wstring& text)
{
    std::string narrow(text.size() * 4, '\0');
    const int made =
        text.empty() ? 0
                     : WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                           narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(static_cast<std::size_t>(made));
    return narrow;
}

std::wstring PlainlyWide(const std::string& text)
{
    std::wstring wide(text.size(), L'\0');
    const int made = text.empty()
                         ? 0
                         : MultiByteToWideChar(CP_THREAD_ACP, 0, text.data(), static_cast<int>(text.size()),
                                               wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(made));
    return wide;
}

void ConvertRandomTexts()
{
    std::mt19937 random(test::Seed());
    GuardedRoom room;
    const test::FaultCounter faults;
    const int texts = test::Rounds(20000, 1000000);
    int wrong = 0;
    for (int i = 0; i < texts; ++i) {
        const std::wstring text = RandomText(random);
        const BSTR guarded = PutText(room, text);
        wrong += BstrToString(guarded) != Plainly(text);
        wrong += WideText(guarded) != text;

        // The way back reads up to the terminator, which here is the last byte before the page.
        const std::string narrow = Plainly(text).c_str();
        const char* const ended = room.PutLast(narrow.c_str(), narrow.size() + 1);
        const std::wstring back = StringToWide(ended);
        wrong += back != PlainlyWide(narrow);
    }
    EXPECT_EQ(0, wrong) << "of " << texts;
    EXPECT_EQ(0, test::FaultCounter::Unplanned()) << test::FaultCounter::FirstUnplanned();
    std::printf("did: text conversion: %d texts\n", texts);
}

TEST(GuardedTexts, AreConvertedWithoutAByteTooMany) { ConvertRandomTexts(); }
TEST(CodePage936GuardedTexts, AreConvertedWithoutAByteTooMany) { ConvertRandomTexts(); }
TEST(CodePage65001GuardedTexts, AreConvertedWithoutAByteTooMany) { ConvertRandomTexts(); }

// The plant for them: a reading by the terminator, which is not there.
TEST(GuardedTexts, AReadingByTheTerminatorWouldBeSeen)
{
    GuardedRoom room;
    const BSTR guarded = PutText(room, L"text");
    const test::FaultCounter faults;
    EXPECT_THROW(CallForeign([&] { return lstrlenW(guarded) + std::wcslen(guarded); }), Fault);
    EXPECT_GT(test::FaultCounter::Unplanned(), 0);
}

}  // namespace
}  // namespace kzr
