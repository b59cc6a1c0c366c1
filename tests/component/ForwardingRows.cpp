#include "ForwardingRows.h"

namespace kzr::test {
namespace {

LogSteps Concat(LogSteps first, const LogStep& call, const LogSteps& last)
{
    first.push_back(call);
    first.insert(first.end(), last.begin(), last.end());
    return first;
}

HRESULT StatusOf(const Answer& answer) { return answer.Unknown() ? answer.lookUp : answer.result; }

// A VARIANT_BOOL that is true without being -1.
Value OddTrue() { return Value::Raw(VT_BOOL, 1); }
Value Single(unsigned bits) { return Value::Raw(VT_R4, bits); }

struct Outcome {
    const char* name;
    Answer answer;
    Value retVal;
    bool good = false;
};

Rows RowsOf(const Forwarding& call, const std::vector<Outcome>& outcomes)
{
    Rows rows;
    for (const Outcome& outcome : outcomes)
        rows.push_back(
            RowOf(call, outcome.name, outcome.answer,
                  outcome.good ? call.after : LogSteps{Error(call.failure, StatusOf(outcome.answer))},
                  outcome.retVal));
    return rows;
}

}  // namespace

Case RowOf(const Forwarding& call, const std::string& name, const Answer& answer, const LogSteps& after,
           const Value& retVal)
{
    return {.name = call.name + name,
            .method = call.method,
            .id = call.id,
            .direct = call.direct,
            .arguments = call.arguments,
            .steps = Concat(call.before, Calls(call.backend, call.passed, answer), after),
            .retVal = retVal};
}

Case TextRow(const Forwarding& call, const std::string& name)
{
    return RowOf(call, name, L"answer", call.after, L"answer");
}

Case YesRow(const Forwarding& call, const std::string& name)
{
    return RowOf(call, name, Bool(true), call.after, I2(0));
}

Rows TextOutcomes(const Forwarding& call)
{
    const Value withNulls(std::wstring(L"one\0two\0", 8));
    return RowsOf(call, {{"GivesTheBackendsText", L"answer", L"answer", true},
                         {"TakesATextWithAPositiveStatus", Fails(S_FALSE, L"answer"), L"answer", true},
                         {"KeepsTheNullsOfAText", withNulls, withNulls, true},
                         {"KeepsAnOddByteAtTheEnd", Bytes("abcdefg"), Bytes("abcdefg"), true},
                         {"KeepsATextOfOneBlank", L" ", L" ", true},
                         {"IsEmptyForAnEmptyAnswer", L"", L""},
                         {"LogsThePositiveStatusOfAnEmptyAnswer", Fails(S_FALSE, L""), L""},
                         {"IsEmptyForANullText", NullText(), L""},
                         {"IsEmptyWhenTheCallFails", Fails(E_ACCESSDENIED), L""},
                         {"IsEmptyForAFailedCallThatLeftAText", Fails(E_FAIL, L"answer"), L""},
                         {"IsEmptyForANumber", I4(7), L""},
                         {"IsEmptyForTrue", Bool(true), L""},
                         {"IsEmptyForNoAnswer", Empty(), L""},
                         {"IsEmptyForNull", Null(), L""},
                         {"IsEmptyWhenTheBackendHasNoSuchMethod", UnknownName(), L""}});
}

Rows YesNoOutcomes(const Forwarding& call)
{
    return RowsOf(call, {{"IsZeroForTrue", Bool(true), I2(0), true},
                         {"IsZeroForTrueWithAPositiveStatus", Fails(S_FALSE, Bool(true)), I2(0), true},
                         {"IsZeroForAnyOtherTrue", OddTrue(), I2(0), true},
                         {"IsZeroForAShortNumber", I2(-5), I2(0), true},
                         {"IsZeroForALongNumberWithLow16Bits", I4(0x10001), I2(0), true},
                         {"IsZeroForABrokenNumbersLowBits", Single(0x3F800001), I2(0), true},
                         {"IsMinusOneForFalse", Bool(false), I2(-1)},
                         {"LogsThePositiveStatusOfFalse", Fails(S_FALSE, Bool(false)), I2(-1)},
                         {"IsMinusOneForALongNumberWithoutLow16Bits", I4(0x10000), I2(-1)},
                         {"IsMinusOneForABrokenNumberWithoutLow16Bits", R8(1.0), I2(-1)},
                         {"IsMinusOneForNoAnswer", Empty(), I2(-1)},
                         {"IsMinusOneForANullText", NullText(), I2(-1)},
                         {"IsMinusOneWhenTheCallFails", Fails(E_ACCESSDENIED), I2(-1)},
                         {"IsMinusOneForAFailedCallThatLeftTrue", Fails(E_FAIL, Bool(true)), I2(-1)},
                         {"IsMinusOneWhenTheBackendHasNoSuchMethod", UnknownName(), I2(-1)}});
}

Rows CodeOutcomes(const Forwarding& call, const std::function<LogSteps(int code)>& ending, int failed)
{
    Rows rows;
    const auto gives = [&](const char* name, const Answer& answer, int code) {
        rows.push_back(RowOf(call, name, answer, ending(code), I2(code)));
    };
    gives("GivesAShortNumber", I2(3), 3);
    gives("GivesALongNumber", I4(3), 3);
    gives("GivesZero", I4(0), 0);
    gives("GivesANegativeNumber", I4(-1), -1);
    gives("GivesTheLargestShort", I2(32767), 32767);
    gives("GivesTheSmallestShort", I2(-32768), -32768);
    gives("GivesTheLow16BitsOfALongNumber", I4(0x20005), 5);
    gives("TakesTheLow16BitsWithTheirSign", I4(0x1FFFF), -1);
    gives("GivesMinusOneForTrue", Bool(true), -1);
    gives("GivesTheBitsOfABrokenNumber", Single(0x3F800001), 1);
    gives("GivesZeroForNoAnswer", Empty(), 0);
    gives("GivesZeroForANullText", NullText(), 0);
    gives("TakesANumberWithAPositiveStatus", Fails(S_FALSE, I4(4)), 4);
    for (const Rows& more :
         {RowsOf(call, {{"TellsAFailedCall", Fails(E_ACCESSDENIED), I2(failed)},
                        {"TellsAFailedCallThatLeftANumber", Fails(E_FAIL, I4(3)), I2(failed)},
                        {"TellsWhenTheBackendHasNoSuchMethod", UnknownName(), I2(failed)}})})
        rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

std::vector<LookUp> LookUpsByContainer()
{
    const std::vector<User> users = DefaultUsers();
    const std::vector<User> nameless = {{L"Alice", L"", L"SN05", L"CSP5", L"EXT5"}};
    const std::vector<User> twice = {{L"Alice", L"c1", L"SN07", L"CSP7", L"EXT7"},
                                     {L"Bob", L"c1", L"SN08", L"CSP8", L"EXT8"}};
    const std::vector<User> soft = {{L"Alice", L"c1", L"SN06", L"CSP6", L"EXT6", L"soft"}};
    return {{"FindsAContainer", L"c2", L"c2", L"SN02", users},
            {"TakesAContainerUpToItsSlash", L"c1/anything", L"c1", L"SN01", users},
            {"TakesAContainerUpToItsFirstSlash", L"c2/a/b", L"c2", L"SN02", users},
            {"TakesAContainerThatEndsInASlash", L"c1/", L"c1", L"SN01", users},
            {"FindsNoContainerThatBeginsWithASlash", L"/c1", L"", L"", users},
            {"FindsNoUnknownContainer", L"c3", L"", L"", users},
            {"FindsNoContainerOfOtherLetterCase", L"C1", L"", L"", users},
            {"FindsNoContainerWithABlankMore", L"c1 ", L"", L"", users},
            {"FindsNothingForAnEmptyContainer", L"", L"", L"", users},
            {"FindsNothingForANullContainer", NullText(), L"", L"", users},
            {"FindsTheContainerWithoutAName", NullText(), L"", L"SN05", nameless},
            {"FindsTheFirstListedOfOneContainersTwoEntries", L"c1", L"c1", L"SN07", twice},
            {"FindsNoContainerOfASoftDevice", L"c1", L"", L"", soft},
            {"FindsNoContainerInAnEmptyList", L"c1", L"", L"", {}}};
}

std::vector<LookUp> LookUpsByText(const wchar_t* text, std::wstring User::*field)
{
    std::vector<User> users = DefaultUsers();
    const std::wstring second = users[1].*field;
    std::vector<User> sharing = {{L"Zoe", L"c9", L"SN09", L"", L""},
                                 {L"Yan", L"c4", L"SN04", L"", L""},
                                 {L"Xu", L"c6", L"SN06", L"", L""}};
    for (User& user : sharing) user.*field = text;
    std::vector<User> without = {{L"Alice", L"c5", L"SN05", L"", L""}};
    const std::wstring lower = [&] {
        std::wstring changed(text);
        for (wchar_t& unit : changed)
            if (unit >= L'A' && unit <= L'Z') unit = static_cast<wchar_t>(unit + 32);
        return changed;
    }();
    return {{"FindsTheSecondEntry", second, L"c2", L"SN02", users},
            {"FindsTheContainerThatSortsFirst", text, L"c4", L"SN04", sharing},
            {"FindsNothingForAnUnknownName", L"nobody", L"", L"", users},
            {"FindsNothingForAnotherLetterCase", lower, L"", L"", users},
            {"FindsNothingForTheBeginningOfAName", std::wstring(text).substr(0, 3), L"", L"", users},
            {"FindsNothingForANameWithABlankMore", std::wstring(text) + L" ", L"", L"", users},
            {"FindsNothingForAnEmptyName", L"", L"", L"", users},
            {"FindsNothingForANullName", NullText(), L"", L"", users},
            {"TakesANullNameForTheDeviceWithoutOne", NullText(), L"c5", L"SN05", without},
            {"FindsNothingInAnEmptyList", text, L"", L"", {}}};
}

Rows LookUpRows(const std::string& name, const std::vector<LookUp>& lookUps,
                const std::function<Case(const LookUp& lookUp)>& make)
{
    Rows rows;
    for (const LookUp& lookUp : lookUps) {
        Case row = make(lookUp);
        row.name = name + lookUp.name;
        row.users = lookUp.users;
        rows.push_back(row);
    }
    return rows;
}

Case TurnedAway(const Forwarding& call, const std::string& name, const Values& arguments, HRESULT result)
{
    return {.name = call.name + name,
            .method = call.method,
            .id = call.id,
            .arguments = arguments,
            .result = result};
}

Case GivenAs(Case row, const std::string& name, const Values& arguments)
{
    row.name += name;
    row.arguments = arguments;
    return row;
}

Rows Join(std::initializer_list<Rows> parts)
{
    Rows all;
    for (const Rows& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

std::string Shown(const Value& value)
{
    const std::string whole = RenderForLog(value);
    return whole.substr(0, whole.find('\0'));
}

}  // namespace kzr::test
