// Random calls and answers, the texts ending at a forbidden page, and the lines that the log then holds: byte
// for byte what a table of our own says, in each code page, and no byte read that is not the text's. KZR_SEED
// repeats a run.
#include <array>
#include <map>
#include <memory>
#include <set>

#include "Area.h"
#include "EmptyFolder.h"
#include "Forwarders.h"
#include "GuardedText.h"
#include "Methods.h"
#include "ShownTexts.h"
#include "Watchdog.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

// A line's bytes with its line feed, before that becomes two.
constexpr std::size_t kLineBytes = 32768;

// Of objects that show what they were given: the places of the arguments in the order of the text.
struct OwnLine {
    const wchar_t* method;
    const char* pieces[4];
    int places[3];
};
constexpr OwnLine kOwnLines[] = {
    {L"userLogin", {"CDeviceMgr: userLogin cspName(", ")..."}, {0}},
    {L"userLoginEx",
     {"CDeviceMgr: userLoginEx cspName(", ") containerName(", ") extLibName(", ")..."},
     {0, 1, 2}},
    {L"changeUserPin", {"CDeviceMgr: changeUserPin cspName(", ") extLibName(", ")..."}, {0, 1}},
    {L"getKeyRetrys", {"CDeviceMgr: getKeyRetrys extLibName(", ")..."}, {0}},
    {L"getKeyData", {"CDeviceMgr: getKeyData extLibName(", ") KeyFile(", ")..."}, {0, 1}},
    {L"setKeyData", {"CDeviceMgr: setKeyData extLibName(", ") KeyFile(", ")..."}, {0, 1}},
    {L"creatKeyFile", {"CDeviceMgr: creatKeyFile extLibName(", ") KeyFile(", ")..."}, {0, 1}},
    {L"signedDataByP7", {"CCrypto: signedDataByP7 containerName(", ")..."}, {1}},
    {L"signedData", {"CCrypto: signedData containerName(", ")..."}, {1}},
    {L"signFile", {"CCrypto: signFile containerName(", ")..."}, {1}},
};

// A text that a formatter puts in ends at its first null.
std::string UpToNull(const std::string& text) { return text.substr(0, text.find('\0')); }

std::string Shown(const Value& value, unsigned codePage)
{
    const VARIANT& bits = value.Get();
    switch (bits.vt) {
        case VT_I2:
            return std::to_string(bits.iVal);
        case VT_I4:
            return std::to_string(bits.lVal);
        case VT_BOOL:
            return bits.boolVal ? "VARIANT_TRUE" : "VARIANT_FALSE";
        case VT_BSTR:
            return NarrowByTable(value.AsText(), codePage).value_or("<a text outside the table>");
        default:
            return "";
    }
}

std::string CallLineOf(const RecordedCall& call, unsigned codePage)
{
    std::string shown;
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
        shown += (i > 0 ? "--" : "") + Shown(call.arguments[i], codePage);
    return "CAxKzrApp: call KzrAppCOM " + std::string(call.name.begin(), call.name.end()) + ", param count(" +
           std::to_string(call.arguments.size()) + ") param(s)(" + UpToNull(shown) + ")";
}

std::string ResultLineOf(const RecordedCall& call, const std::string& shown)
{
    return "CAxKzrApp: call KzrAppCOM " + std::string(call.name.begin(), call.name.end()) + ", result(" +
           UpToNull(shown) + ")...";
}

// The bytes that a record has before its message.
std::size_t PrefixOf(const LogRecord& record)
{
    const std::string status = "status(0), ";
    return record.raw.find(status) + status.size();
}

// "" when the record shows the message, or has lost it for want of room.
std::string Differs(const LogRecord& record, const std::string& message)
{
    const std::size_t prefix = record.lost ? record.raw.size() - 1 : PrefixOf(record);
    const bool fits = prefix + message.size() < kLineBytes;
    if (record.level == "trace" && record.lost != fits && (record.lost || record.message == message))
        return "";
    return Readable(std::wstring(message.begin(), message.end())).substr(0, 500) + "\nis not\n" +
           Describe(record).substr(0, 500) + (fits ? "\n" : "\n(and it has no room)\n");
}

// What a round did, and what it left in the log.
struct Round {
    std::vector<RecordedCall> calls;
    std::wstring odd;  // the backend method that gave `answer`
    Value answer;
    std::vector<std::string> ownLine;  // none or one
    std::vector<LogRecord> records;
    unsigned codePage = 0;
};

// What other calls were answered with.
bool IsWellKnown(const LogRecord& record, const RecordedCall& call)
{
    const std::set<std::string> shown = {"20300405101112Z",
                                         "VARIANT_TRUE",
                                         "0",
                                         "7",
                                         "2049",
                                         "SN01;SN02;",
                                         "fact",
                                         "",
                                         "CSP1",
                                         "CSP2",
                                         "EXT1",
                                         "EXT2",
                                         "HARD",
                                         "Alice||c1/SN01&&&Bob||c2/SN02&&&"};
    for (const std::string& each : shown)
        if (Differs(record, ResultLineOf(call, each)).empty()) return true;
    return false;
}

std::string TroubleOf(const Round& round)
{
    std::vector<const LogRecord*> lines;
    bool ownLineStands = round.ownLine.empty();
    for (const LogRecord& record : round.records) {
        if (record.level.empty()) return "a torn record: " + record.raw.substr(0, 200);
        if (record.source == "AxKzrApp")
            lines.push_back(&record);
        else
            ownLineStands = ownLineStands || Differs(record, round.ownLine[0]).empty();
    }
    if (!ownLineStands)
        return "no line of the object shows its arguments: " + round.ownLine[0].substr(0, 500);
    if (lines.size() != 2 * round.calls.size())
        return std::to_string(lines.size()) + " lines for " + std::to_string(round.calls.size()) + " calls";
    std::string trouble;
    for (std::size_t i = 0; i < round.calls.size(); ++i) {
        const RecordedCall& call = round.calls[i];
        trouble += Differs(*lines[2 * i], CallLineOf(call, round.codePage));
        const LogRecord& result = *lines[2 * i + 1];
        if (call.name == round.odd)
            trouble += Differs(result, ResultLineOf(call, Shown(round.answer, round.codePage)));
        else if (!IsWellKnown(result, call))
            trouble += "another result: " + Describe(result).substr(0, 500);
    }
    return trouble;
}

class CallLines : public ComponentTest {
  public:
    void SetUp() override
    {
        ComponentTest::SetUp();
        AnswerEverything(*backend);
        for (const ScriptedClass* const made : kScriptedClasses) m_objects[made] = Make(*made);
        // The first call gives the control its window.
        Call(m_objects[&kControl].Get(), L"getUserList");
        StartAnew();
    }
    void TearDown() override
    {
        m_objects.clear();
        ComponentTest::TearDown();
    }

    // One call of a forwarding method, its arguments and one answer of the backend chosen at random.
    Round Play(std::mt19937& random)
    {
        Round round;
        round.codePage = GetACP();
        const Forwarder& each = AnyForwarder(random);
        backend->ForgetEverything();
        AnswerEverything(*backend);
        Call(m_objects[&kCertificate].Get(), DISPID{1}, {L"MIIB", I2(1), L""});
        log->Take();
        backend->ForgetCalls();
        round.odd = each.backend;
        round.answer = AnyAnswer(random);
        backend->Allow(each.backend, round.answer);

        const HardenedMethod& method = MethodOf(each);
        const Values given = AnyArguments(random, each, *method.method);
        std::vector<VARIANT> arguments = BitsOf(given);
        std::vector<std::unique_ptr<GuardedText>> guarded;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            if (arguments[i].vt != VT_BSTR) continue;
            guarded.push_back(std::make_unique<GuardedText>(given[i].AsText()));
            arguments[i].bstrVal = guarded.back()->Get();
        }
        if (method.isControl || random() % 2) {
            VARIANT result;
            VariantInit(&result);
            EXPECT_EQ(S_OK, InvokeWith(m_objects[each.made].Get(), method.method->id, arguments, &result));
            VariantClear(&result);
        } else {
            EXPECT_EQ(S_OK, CallByTable(m_objects[each.made].Get(), method, arguments));
        }
        round.records = log->Take();
        round.calls = backend->Calls();
        round.ownLine = OwnLineOf(each, given, round.codePage);
        return round;
    }

    // The log would grow to gigabytes; a reader begins at the end of the file.
    void StartAnew()
    {
        DeleteFileW(log->Path().c_str());
        log = std::make_unique<LogReader>();
    }

    void ShowWhatTheTableSays(unsigned codePage)
    {
        ASSERT_EQ(codePage, GetACP()) << "the process was started with another ANSI code page";
        const EmptyFolder folder;
        Watchdog watchdog(20000);
        std::mt19937 random(Seed());
        const int rounds = Rounds(2000, 40000);
        long long lines = 0, ownLines = 0, lost = 0;
        for (int i = 0; i < rounds; ++i) {
            watchdog.Beat("a call whose lines are compared", i);
            const Round round = Play(random);
            ASSERT_EQ("", TroubleOf(round)) << "in round " << i;
            ASSERT_EQ(0, FaultCounter::Unplanned())
                << "round " << i << ": " << FaultCounter::FirstUnplanned();
            lines += 2 * static_cast<long long>(round.calls.size());
            ownLines += static_cast<long long>(round.ownLine.size());
            for (const LogRecord& record : round.records) {
                lost += record.lost;
                EXPECT_EQ(std::string::npos, record.message.find("receive a fatal error"))
                    << Describe(record);
            }
            if (i % 200 == 0) StartAnew();
        }
        EXPECT_LE(rounds, lines) << "hardly a call came to the backend";
        EXPECT_LE(rounds / 200, lost) << "hardly a line was too long";
        EXPECT_LE(rounds / 20, ownLines);
        Did("argument rendering", lines + ownLines, "lines compared");
    }

  private:
    // Lists of users and devices have a parser, which has a fuzzer of its own; a date that is none ends in
    // the guard.
    static const Forwarder& AnyForwarder(std::mt19937& random)
    {
        for (;;) {
            const Forwarder& each = Forwarders()[random() % Forwarders().size()];
            if (each.turns != Turns::List && each.turns != Turns::Days) return each;
        }
    }

    static const HardenedMethod& MethodOf(const Forwarder& each)
    {
        for (const HardenedMethod& method : AllMethods())
            if (method.made == each.made && std::wstring_view(method.method->name) == each.method)
                return method;
        ADD_FAILURE() << "there is no " << each.Name();
        return AllMethods()[0];
    }

    static Value AnyAnswer(std::mt19937& random)
    {
        const auto number = static_cast<int>(random());
        switch (random() % 10) {
            case 0:
                return I2(static_cast<short>(number));
            case 1:
                return I4(number);
            case 2:
                return Bool(number % 2 == 0);
            case 3:
                return number % 2 ? R8(number / 3.0) : UI4(static_cast<unsigned>(number));
            case 4:
                return number % 2 ? Empty() : NullText();
            default:
                return Value(AnyShownText(random, GetACP()));
        }
    }

    static Values AnyArguments(std::mt19937& random, const Forwarder& each, const ScriptedMethod& method)
    {
        Values given;
        for (std::size_t i = 0; i < method.parameters.size(); ++i) {
            const ScriptedParameter& parameter = method.parameters[i];
            const Value usual = i < each.arguments.size() ? each.arguments[i] : SampleFor(parameter);
            // As many bytes as that are made for a key file.
            const bool stays = random() % 4 == 0 || std::wstring_view(parameter.name) == L"nMaxLen";
            const auto number = static_cast<int>(random());
            given.push_back(stays                       ? usual
                            : parameter.type == VT_BSTR ? Value(AnyShownText(random, GetACP()))
                            : parameter.type == VT_I2   ? I2(static_cast<short>(number))
                                                        : I4(number));
        }
        return given;
    }

    static std::vector<std::string> OwnLineOf(const Forwarder& each, const Values& given, unsigned codePage)
    {
        for (const OwnLine& own : kOwnLines) {
            if (std::wstring_view(own.method) != each.method) continue;
            std::string line = own.pieces[0];
            for (std::size_t i = 1; i < std::size(own.pieces) && own.pieces[i]; ++i)
                line += UpToNull(Shown(given[static_cast<std::size_t>(own.places[i - 1])], codePage)) +
                        own.pieces[i];
            return {line};
        }
        return {};
    }

    std::map<const ScriptedClass*, ComPtr<IDispatch>> m_objects;
};

using CodePage936CallLines = CallLines;
using CodePage65001CallLines = CallLines;

TEST_F(CallLines, ShowEveryTextAndNumberAsTheTableSays) { ShowWhatTheTableSays(1252); }
TEST_F(CodePage936CallLines, ShowEveryTextAndNumberAsTheTableSays) { ShowWhatTheTableSays(936); }
TEST_F(CodePage65001CallLines, ShowEveryTextAndNumberAsTheTableSays) { ShowWhatTheTableSays(65001); }

TEST_F(CallLines, AreWrittenUpToTheLastByteOfALineAndLostBeyondIt)
{
    const ComPtr<IDispatch> util = Make(kUtil);
    log->Take();
    // The call's line and the answer's, each as long as the text makes it.
    const auto linesOf = [&](const std::wstring& argument, const std::wstring& answer) {
        backend->Allow(L"SOF_Base64Encode", Value(answer));
        EXPECT_EQ(Value(answer), Call(util.Get(), L"base64EncodeString", {argument}).value);
        std::vector<LogRecord> lines = log->Take();
        std::erase_if(lines, [](const LogRecord& record) { return record.source != "AxKzrApp"; });
        return lines;
    };
    const std::vector<LogRecord> shortest = linesOf(L"a", L"b");
    ASSERT_EQ(2u, shortest.size());
    for (const std::size_t which : {0u, 1u}) {
        const std::size_t rest = PrefixOf(shortest[which]) + shortest[which].message.size() - 1;
        for (int over = -3; over <= 3; ++over) {
            const std::wstring text(kLineBytes - 1 - rest + static_cast<std::size_t>(over), L'x');
            const std::vector<LogRecord> lines = which == 0 ? linesOf(text, L"b") : linesOf(L"a", text);
            ASSERT_EQ(2u, lines.size()) << over;
            EXPECT_EQ(over > 0, lines[which].lost) << over << " bytes over, line " << which;
            EXPECT_FALSE(lines[1 - which].lost);
            if (over > 0) continue;
            EXPECT_EQ(kLineBytes + static_cast<std::size_t>(over) + 1, lines[which].raw.size());
            EXPECT_NE(std::string::npos, lines[which].message.find(std::string(text.begin(), text.end())));
        }
    }
}

// The plants for them: each kind of mistake that rendering could make, put into lines that were right.
TEST_F(CallLines, WithAMistakeOfAnyKindWouldBeSeen)
{
    std::mt19937 random(4711);
    Round round = Play(random);
    while (round.calls.size() != 1 || round.calls[0].arguments.size() < 2 || round.odd != round.calls[0].name)
        round = Play(random);
    round.calls[0].arguments = {Value(L"ab\x20AC"), I2(-1), Value(L"-")};
    round.answer = Value(std::wstring(L"x\0y", 3));
    round.ownLine.clear();
    std::vector<LogRecord*> lines;
    for (LogRecord& record : round.records)
        if (record.source == "AxKzrApp") lines.push_back(&record);
    const std::string right = CallLineOf({round.calls[0].name, round.calls[0].arguments}, 1252);
    ASSERT_TRUE(right.ends_with(", param count(3) param(s)(ab\x80---1---)")) << right;
    lines[1]->message = ResultLineOf(round.calls[0], "x");
    lines[0]->message = right;
    ASSERT_EQ("", TroubleOf(round));
    const std::string start = right.substr(0, right.find("param(s)("));
    for (const char* const wrong : {"param(s)(ab?---1---)", "param(s)(ab\x80--65535---)",
                                    "param(s)(ab\x80---1----)", "param(s)(ab\x80-1---)", "param(s)(a---1---)",
                                    "param(s)(ab\x80---1---", "param(s)(----1---ab\x80)", "param(s)()"}) {
        lines[0]->message = start + wrong;
        EXPECT_NE("", TroubleOf(round)) << wrong;
    }
    lines[0]->message = right;
    lines[0]->lost = true;
    EXPECT_NE("", TroubleOf(round)) << "a line that was lost though it had room";
    lines[0]->lost = false;
    lines[1]->message = ResultLineOf(round.calls[0], "xy");
    EXPECT_NE("", TroubleOf(round)) << "a text that goes on behind its null";
    std::erase_if(round.records, [&](const LogRecord& record) { return &record == lines[1]; });
    EXPECT_NE("", TroubleOf(round)) << "a line that is missing";
}

// A text that says that it is two characters longer than its memory: whoever believes it reads what is
// forbidden, and the guard hides it.
TEST_F(CallLines, ThatNeededAByteTooManyWouldBeSeen)
{
    allowFatalErrors = true;
    const GuardedText guarded(L"some text");
    reinterpret_cast<DWORD*>(guarded.Get())[-1] += 2 * sizeof(wchar_t);
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    const auto signedData = std::find_if(AllMethods().begin(), AllMethods().end(), [](const auto& method) {
        return method.Name() == "CCrypto.signedData";
    });
    ASSERT_NE(AllMethods().end(), signedData);
    VARIANT text;
    text.vt = VT_BSTR;
    text.bstrVal = guarded.Get();
    EXPECT_EQ(S_OK, CallByTable(crypto.Get(), *signedData, {Value(L"text").Get(), text}));
    EXPECT_LT(0, FaultCounter::Unplanned());
    std::string lines;
    for (const LogRecord& record : log->Take()) lines += Describe(record) + "\n";
    EXPECT_NE(std::string::npos, lines.find("receive a fatal error")) << lines;
    FaultCounter::Reset();
}

}  // namespace
}  // namespace kzr::test
