// The table of forwarding methods is whole, without an exception: whatever backend call any method makes, on
// whatever way through the method, stands in a row of it.
#include <algorithm>
#include <set>

#include "EmptyFolder.h"
#include "Forwarders.h"
#include "Methods.h"

namespace kzr::test {
namespace {

// A method's way with some arguments: the backend calls that it then makes, in no order.
struct Way {
    const ScriptedClass* made;
    std::wstring method;
    std::set<std::wstring> calls;
    bool operator==(const Way&) const = default;
};

using CallOnAWay = std::pair<Way, std::wstring>;

class ForwardersTable : public QuietTest {
  protected:
    Way WayOf(const ScriptedClass& made, const wchar_t* method, const Values& arguments)
    {
        const ComPtr<IDispatch> object = Make(made);
        Call(Make(kCertificate).Get(), L"importCert", {L"MIIB", I2(1), L""});
        // The first call gives a control its window.
        if (&made == &kControl) Call(object.Get(), L"getUserList");
        backend->ForgetCalls();
        EXPECT_EQ(S_OK, Call(object.Get(), method, arguments).result) << Readable(method);
        Way way{&made, method, {}};
        for (const RecordedCall& call : backend->Calls()) way.calls.insert(call.name);
        return way;
    }

    // Of every method, with plain arguments and with every kind of each: numbers as far as any method tells
    // them apart, texts that are there and that are not.
    std::vector<Way> AllWays()
    {
        std::vector<Way> ways;
        for (const HardenedMethod& each : AllMethods()) {
            if (each.IsModal()) continue;
            const Values samples = SamplesFor(*each.method);
            const auto add = [&](const Values& arguments) {
                const Way way = WayOf(*each.made, each.method->name, arguments);
                if (std::ranges::find(ways, way) == ways.end()) ways.push_back(way);
            };
            add(samples);
            for (std::size_t place = 0; place < samples.size(); ++place) {
                Values arguments = samples;
                if (each.method->parameters[place].type == VT_BSTR) {
                    arguments[place] = L"";
                    add(arguments);
                    continue;
                }
                for (int number = 0; number <= kMostNumbers; ++number) {
                    arguments[place] = samples[place].Type() == VT_I2 ? I2(number) : I4(number);
                    add(arguments);
                }
            }
            // Neither text is there.
            Values nothing = samples;
            for (Value& value : nothing)
                if (value.Type() == VT_BSTR) value = L"";
            add(nothing);
            ++methods;
        }
        return ways;
    }

    // What each row makes misbehave, as a call on a way.
    std::vector<CallOnAWay> CallsOf(const std::vector<Forwarder>& rows)
    {
        std::vector<CallOnAWay> calls;
        for (const Forwarder& row : rows)
            calls.emplace_back(WayOf(*row.made, row.method, row.arguments), row.backend);
        return calls;
    }

    static std::vector<std::string> Missing(const std::vector<Way>& ways,
                                            const std::vector<CallOnAWay>& there)
    {
        std::vector<std::string> missing;
        for (const Way& way : ways)
            for (const std::wstring& call : way.calls)
                if (std::ranges::find(there, CallOnAWay(way, call)) == there.end())
                    missing.push_back(std::string(way.made->name) + "." + Readable(way.method) + " with " +
                                      Readable(call) + ", one of " + std::to_string(way.calls.size()));
        return missing;
    }

    // Beyond the last type and object identifier.
    static constexpr int kMostNumbers = 50;
    int methods = 0;

  private:
    const EmptyFolder m_folder;
};

TEST_F(ForwardersTable, HasARowForEveryBackendCallOfEveryMethod)
{
    const std::vector<Way> ways = AllWays();
    // All but the modal one.
    EXPECT_EQ(89, methods);
    EXPECT_EQ(std::vector<std::string>(), Missing(ways, CallsOf(Forwarders())));
}

TEST_F(ForwardersTable, HasNoRowWhoseCallIsNotMade)
{
    for (const Forwarder& each : Forwarders()) {
        const Way way = WayOf(*each.made, each.method, each.arguments);
        EXPECT_TRUE(way.calls.contains(each.backend)) << each.Name();
        if (each.when.empty()) continue;
        const auto calls = backend->Calls();
        EXPECT_EQ(1, std::ranges::count_if(calls,
                                           [&](const RecordedCall& call) {
                                               return call.name == each.backend &&
                                                      call.arguments == each.when;
                                           }))
            << each.Name();
    }
}

// Planted: a row that is the only one for its call is missed, as is that call alone.
TEST_F(ForwardersTable, IsNotWholeWithoutARow)
{
    const std::vector<Way> ways = AllWays();
    const std::vector<CallOnAWay> rows = CallsOf(Forwarders());
    std::size_t alone = 0;
    for (std::size_t left = 0; left < rows.size(); ++left) {
        std::vector<CallOnAWay> others = rows;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(left));
        const bool isAlone = std::ranges::count(rows, rows[left]) == 1;
        EXPECT_EQ(isAlone ? 1u : 0u, Missing(ways, others).size()) << Forwarders()[left].Name();
        alone += isAlone;
    }
    EXPECT_LT(rows.size() / 2, alone);
}

}  // namespace
}  // namespace kzr::test
