// Texts of every length and kind that end where memory ends, in every place that takes one, through both
// ways into the component; and the values that have broken other components.
#include <cmath>
#include <map>

#include "Area.h"
#include "EmptyFolder.h"
#include "GuardedText.h"
#include "Methods.h"
#include "QuietTest.h"
#include "Watchdog.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

constexpr std::size_t kLengths[] = {0,    1,    2,    3,     7,     8,     15,    16,    31,     32,
                                    63,   64,   100,  127,   128,   255,   256,   257,   259,    260,
                                    261,  511,  512,  1023,  1024,  1025,  2047,  2048,  4095,   4096,
                                    4097, 8191, 8192, 16384, 32767, 32768, 65535, 65536, 262144, 524288};
static_assert(std::size(kLengths) == 40 && kLengths[39] * sizeof(wchar_t) == 1 << 20);

// What a text is filled with, over and over.
const std::wstring_view kContents[] = {
    L"a",
    L" ",
    std::wstring_view(L"\0", 1),
    std::wstring_view(L"c1/SN01\0x", 9),
    L"\xFFFF",
    L"\xD83D",        // half a pair
    L"\xDE00",        // the other half
    L"\xD83D\xDE00",  // a pair
    L"\x4E2D\x6587",
    L"%n%s%x%99999d",
    L"\\",
    L"/",
    L"name||container/device&&&",
    L"\r\n[error] ",
    L"'\"<>;`",
    L"\x0001\x007F\x0080\x00FF\x0100\x2028\xFEFF",
};
static_assert(std::size(kContents) == 16);

std::wstring Filled(std::wstring_view content, std::size_t length)
{
    std::wstring text(length, L'\0');
    for (std::size_t i = 0; i < length; ++i) text[i] = content[i % content.size()];
    return text;
}

class MalformedTexts : public QuietTest {
  public:
    void SetUp() override
    {
        QuietTest::SetUp();
        for (const ScriptedClass* const made : kScriptedClasses) m_objects[made] = Make(*made);
    }
    void TearDown() override
    {
        m_objects.clear();
        QuietTest::TearDown();
    }

    IDispatch* ObjectOf(const HardenedMethod& each) { return m_objects[each.made].Get(); }

    // By `Invoke` and, where there is one, by the table; the other arguments are good ones. `what` is told of
    // the text when a call fails.
    void PassAt(const HardenedMethod& each, std::size_t place, const GuardedText& text,
                const std::string& what)
    {
        const auto where = [&](const char* way) {
            return what + " as argument " + std::to_string(place) + " of " + each.Name() + way;
        };
        const Values samples = SamplesFor(*each.method);
        std::vector<VARIANT> arguments = BitsOf(samples);
        arguments[place].vt = VT_BSTR;
        arguments[place].bstrVal = text.Get();
        VARIANT result;
        VariantInit(&result);
        EXPECT_EQ(S_OK, InvokeWith(ObjectOf(each), each.method->id, arguments, &result))
            << where(" by Invoke");
        VariantClear(&result);
        ++calls;
        ASSERT_EQ(0, FaultCounter::Unplanned()) << where(" by Invoke: ") << FaultCounter::FirstUnplanned();
        if (each.isControl) return;

        EXPECT_EQ(S_OK, CallByTable(ObjectOf(each), each, arguments)) << where(" by the table");
        ++calls;
        ASSERT_EQ(0, FaultCounter::Unplanned()) << where(" by the table: ") << FaultCounter::FirstUnplanned();
    }

    long long calls = 0;

  private:
    const EmptyFolder m_folder;
    std::map<const ScriptedClass*, ComPtr<IDispatch>> m_objects;
};

// In a usual run each place meets every length once and the kinds in turn; in a full one every pair.
TEST_F(MalformedTexts, ThatEndAtAForbiddenPageAreReadNoFurther)
{
    Watchdog watchdog(60000);
    const int kinds = Rounds(1, static_cast<int>(std::size(kContents)));
    for (std::size_t l = 0; l < std::size(kLengths); ++l) {
        for (std::size_t k = 0; k < std::size(kContents); ++k) {
            const std::wstring text = Filled(kContents[k], kLengths[l]);
            const GuardedText guarded(text);
            const std::string what = std::to_string(kLengths[l]) + " units of kind " + std::to_string(k) +
                                     " (" + Readable(kContents[k]) + ")";
            std::size_t turn = l;
            for (const HardenedMethod& each : AllMethods()) {
                for (std::size_t place = 0; place < each.method->parameters.size(); ++place) {
                    if (each.method->parameters[place].type != VT_BSTR) continue;
                    if (kinds == 1 && turn++ % std::size(kContents) != k) continue;
                    watchdog.Beat(each.made->name, each.method->id);
                    PassAt(each, place, guarded, what);
                    if (HasFatalFailure()) return;
                    backend->ForgetCalls();
                }
            }
            EXPECT_TRUE(guarded.IsUntouched(text)) << what;
        }
    }
    EXPECT_EQ(kinds == 1 ? 40 * (153 * 2 + 8) : 40 * 16 * (153 * 2 + 8), calls);
    Did("malformed calls", calls, "calls with a text at a forbidden page");
}

// A byte more than a hundred mebibytes would be odd; this is a unit more.
TEST_F(MalformedTexts, OfAHundredMebibytesAreAnswered)
{
    if (Rounds(0, 1) == 0) GTEST_SKIP() << "only in a full run: script/harden --full";
    Watchdog watchdog(300000);
    const std::wstring text = Filled(L"name||container/device&&&", (std::size_t{100} << 20) / 2 + 1);
    const GuardedText guarded(text);
    for (const HardenedMethod& each : AllMethods())
        for (std::size_t place = 0; place < each.method->parameters.size(); ++place)
            if (each.method->parameters[place].type == VT_BSTR) {
                watchdog.Beat(each.made->name, each.method->id);
                PassAt(each, place, guarded, "100 MiB and a unit");
                if (HasFatalFailure()) return;
                backend->ForgetCalls();
            }
    EXPECT_EQ(153 * 2 + 8, calls);
    EXPECT_TRUE(guarded.IsUntouched(text));
    Did("malformed calls", calls, "calls with a text of 100 MiB and more");
}

// No name here is a file's: one of the methods renames what it is given.
Values FuzzingValues()
{
    Values values;
    for (const std::size_t length : {14356u, 1044u, 6164u, 3092u, 65000u})
        values.push_back(Value(std::wstring(length, L'A')));
    for (const wchar_t* const text : {L"%n%n%n%n%n%n%n%n",
                                      L"%s%s%s%s%s%s%s%s",
                                      L"%1!s!",
                                      L"..\\..\\..\\..\\kzr-absent\\boot.ini",
                                      L"../../../../../etc/kzr-absent",
                                      L"\\\\kzr-absent\\share\\x",
                                      L"file:///C:/kzr-absent.txt",
                                      L"http://test/kzr-absent?a=b&c=%00",
                                      L"javascript:alert(1)",
                                      L"<script>alert(1)</script>",
                                      L"' or 1=1 --",
                                      L"-1",
                                      L"4294967296",
                                      L"1e400",
                                      L"0x7fffffff",
                                      L"TRUE",
                                      L"",
                                      L"con.kzr-absent",
                                      L"c1/SN01",
                                      L"c1/../c2",
                                      L"||&&&//",
                                      L"\x202E\x4E2D"})
        values.push_back(Value(text));
    for (const int number :
         {0, -1, 1, 127, -128, 255, 256, 32767, -32768, 65535, 65536, 2147483647, -2147483647, 0x3FFFFFFF})
        values.push_back(I4(number));
    for (const double number : {0.0, -0.0, 1e-300, -1e30, 3.14, 32767.5, 2147483647.5})
        values.push_back(R8(number));
    values.push_back(Bool(true));
    values.push_back(Bool(false));
    return values;
}

bool Becomes(const Value& value, VARTYPE type, long& number)
{
    VARIANT changed;
    VariantInit(&changed);
    const HRESULT result = VariantChangeType(&changed, const_cast<VARIANT*>(&value.Get()), 0, type);
    if (SUCCEEDED(result)) number = type == VT_I2 ? changed.iVal : type == VT_I4 ? changed.lVal : 0;
    VariantClear(&changed);
    return SUCCEEDED(result);
}

// What they answer follows from the platform's change of type alone: the component adds nothing to it.
TEST_F(MalformedTexts, AndOtherFuzzingValuesInBothOrdersAreAnsweredByTheirTypes)
{
    Watchdog watchdog(20000);
    const Values values = FuzzingValues();
    const auto pass = [&](const HardenedMethod& each, std::size_t first, bool reversed) {
        const auto& parameters = each.method->parameters;
        std::vector<VARIANT> arguments;
        bool convertible = true, negative = false;
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const std::size_t turn = first + (reversed ? parameters.size() - 1 - i : i) * 7;
            const Value& value = values[turn % values.size()];
            arguments.push_back(value.Get());
            long number = 0;
            convertible &= Becomes(value, parameters[i].type, number);
            negative |= number < 0 && std::wstring_view(parameters[i].name) == L"nMaxLen";
        }
        plannedFatalLines += convertible && negative;
        const auto where = [&] {
            return each.Name() + " from value " + std::to_string(first) + (reversed ? " backwards" : "");
        };
        VARIANT result;
        VariantInit(&result);
        watchdog.Beat(each.made->name, each.method->id);
        const HRESULT answer = InvokeWith(ObjectOf(each), each.method->id, arguments, &result);
        if (convertible)
            EXPECT_EQ(S_OK, answer) << where();
        else
            EXPECT_TRUE(answer == DISP_E_TYPEMISMATCH || answer == DISP_E_OVERFLOW)
                << std::hex << answer << ": " << where();
        VariantClear(&result);
        ++calls;
    };
    for (const HardenedMethod& each : AllMethods()) {
        if (each.method->parameters.empty()) continue;
        for (std::size_t first = 0; first < values.size(); ++first)
            for (const bool reversed : {false, true}) pass(each, first, reversed);
        backend->ForgetCalls();
    }
    Did("malformed calls", calls, "calls with fuzzing values");
}

}  // namespace
}  // namespace kzr::test
