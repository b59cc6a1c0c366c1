// Arguments of every shape in every place of every method, and lists that are no lists: an answer from a
// fixed table each time, and nothing else.
#include <functional>
#include <map>

#include "Area.h"
#include "Methods.h"
#include "QuietTest.h"
#include "Watchdog.h"

namespace kzr::test {
namespace {

TEST(Methods, AreNinety)
{
    EXPECT_EQ(90u, AllMethods().size());
    std::map<std::string, int> counts;
    for (const HardenedMethod& each : AllMethods()) ++counts[each.made->name];
    EXPECT_EQ((std::map<std::string, int>{{"CCertificate", 11},
                                          {"CCrypto", 40},
                                          {"CDeviceMgr", 19},
                                          {"CUtil", 9},
                                          {"CUSBKeyPnPActiveXCtrl", 11}}),
              counts);
}

// The place of a method in its interface's table, as the type library gives it.
unsigned SlotByTypeLibrary(IDispatch* object, DISPID id)
{
    ComPtr<ITypeInfo> dispatch, table;
    HREFTYPE reference = 0;
    if (FAILED(object->GetTypeInfo(0, 0, dispatch.put())) ||
        FAILED(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference)) ||
        FAILED(dispatch->GetRefTypeInfo(reference, table.put())))
        return 0;
    for (UINT i = 0;; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(table->GetFuncDesc(i, &function))) return 0;
        const bool found = function->memid == id;
        const auto slot = static_cast<unsigned>(function->oVft) / static_cast<unsigned>(sizeof(void*));
        table->ReleaseFuncDesc(function);
        if (found) return slot;
    }
}

class MalformedArguments : public QuietTest {
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

  private:
    std::map<const ScriptedClass*, ComPtr<IDispatch>> m_objects;
};

TEST_F(MalformedArguments, GoToTheSlotsThatTheTypeLibraryGives)
{
    for (const HardenedMethod& each : AllMethods()) {
        if (!each.isControl) {
            EXPECT_EQ(SlotByTypeLibrary(ObjectOf(each), each.method->id), each.slot) << each.Name();
        }
    }
}

// A value and the answer that it gets where a text, a short and a long are wanted. `negative`: as a number it
// is one, which no file can be long; those calls end in the guard, with its line.
struct Shape {
    const char* name;
    Value value;
    HRESULT text, shortNumber, longNumber;
    bool negative = false;
};

constexpr HRESULT kMismatch = DISP_E_TYPEMISMATCH, kOverflow = DISP_E_OVERFLOW, kBadType = DISP_E_BADVARTYPE;

// What the shapes with pointers point to; it lives as long as the program.
struct Targets {
    VARIANT text = Value(L"c1").Copy();
    VARIANT reference{};
    SAFEARRAY* texts = SafeArrayCreateVector(VT_BSTR, 0, 3);
    Targets()
    {
        reference.vt = VT_BYREF | VT_BSTR;
        reference.pbstrVal = &text.bstrVal;
    }
};

ULONGLONG AddressOf(const void* pointer) { return reinterpret_cast<ULONGLONG>(pointer); }

const std::vector<Shape>& Shapes()
{
    static Targets targets;
    static const std::vector<Shape> shapes = {
        {"Empty", Empty(), S_OK, S_OK, S_OK},
        {"Null", Null(), kMismatch, kMismatch, kMismatch},
        {"Byte", Value::Raw(VT_UI1, 255), S_OK, S_OK, S_OK},
        {"SmallestShort", I2(-32768), S_OK, S_OK, S_OK, true},
        {"SmallestLong", I4(-2147483647 - 1), S_OK, kOverflow, S_OK},
        // Of the width that is wanted, so its bits are taken.
        {"LargestUnsigned", UI4(0xFFFFFFFF), S_OK, kOverflow, S_OK},
        {"LargestHyper", Value::Raw(VT_I8, 0x7FFFFFFFFFFFFFFF), S_OK, kOverflow, kOverflow},
        {"NotANumber", Value::Raw(VT_R4, 0x7FC00000), S_OK, S_OK, S_OK, true},
        {"HugeDouble", R8(1e300), S_OK, kOverflow, kOverflow},
        {"FarDate", Value::Raw(VT_DATE, 0x41CDCD6500000000), E_INVALIDARG, kOverflow, S_OK},
        {"OddTrue", Value::Raw(VT_BOOL, 2), S_OK, S_OK, S_OK},
        {"Missing", Missing(), kMismatch, kMismatch, kMismatch},
        {"Failure", Error(E_FAIL), kMismatch, kMismatch, kMismatch},
        {"Decimal", Value::Raw(VT_DECIMAL, ~0ull), S_OK, kOverflow, kOverflow},
        {"NullText", NullText(), S_OK, kMismatch, kMismatch},
        {"Word", Value(L"12abc"), S_OK, kMismatch, kMismatch},
        {"NullUnknown", Value::Raw(VT_UNKNOWN, 0), kMismatch, kMismatch, kMismatch},
        {"NullDispatch", Value::Raw(VT_DISPATCH, 0), kBadType, kBadType, kBadType},
        {"ArrayOfTexts", Value::Raw(VT_ARRAY | VT_BSTR, AddressOf(targets.texts)), kMismatch, kMismatch,
         kMismatch},
        {"ReferenceToText", Value::Raw(VT_BYREF | VT_BSTR, AddressOf(&targets.text.bstrVal)), S_OK, kMismatch,
         kMismatch},
        {"ReferenceToReference", Value::Raw(VT_BYREF | VT_VARIANT, AddressOf(&targets.reference)), S_OK,
         kMismatch, kMismatch},
        {"TextReferenceToNowhere", Value::Raw(VT_BYREF | VT_BSTR, 0), kMismatch, kMismatch, kMismatch},
        {"VariantReferenceToNowhere", Value::Raw(VT_BYREF | VT_VARIANT, 0), kMismatch, kMismatch, kMismatch},
        {"UnknownType", Value::Raw(0x0FFF, 0x1234), kBadType, kBadType, kBadType}};
    return shapes;
}

HRESULT AnswerTo(const Shape& shape, const ScriptedParameter& parameter)
{
    // Left out: that is what an optional text is for.
    if (parameter.optional && shape.value == Missing()) return S_OK;
    return parameter.type == VT_BSTR ? shape.text
           : parameter.type == VT_I2 ? shape.shortNumber
                                     : shape.longNumber;
}

TEST_F(MalformedArguments, OfEveryShapeInEveryPlaceAnswerAsTheTableSays)
{
    EXPECT_EQ(24u, Shapes().size());
    Watchdog watchdog(20000);
    long long calls = 0;
    const auto call = [&](const Shape& shape, const HardenedMethod& each, std::size_t place) {
        Values samples = SamplesFor(*each.method);
        samples[place] = shape.value;
        VARIANT result;
        VariantInit(&result);
        const ScriptedParameter& parameter = each.method->parameters[place];
        const bool impossible = shape.negative && std::wstring_view(parameter.name) == L"nMaxLen";
        plannedFatalLines += impossible;
        watchdog.Beat(shape.name, each.method->id);
        EXPECT_EQ(AnswerTo(shape, parameter),
                  InvokeWith(ObjectOf(each), each.method->id, BitsOf(samples), &result))
            << shape.name << " as argument " << place << " of " << each.Name();
        VariantClear(&result);
        backend->ForgetCalls();
        ++calls;
    };
    for (const Shape& shape : Shapes())
        for (const HardenedMethod& each : AllMethods())
            for (std::size_t place = 0; place < each.method->parameters.size(); ++place)
                call(shape, each, place);
    EXPECT_EQ(4, plannedFatalLines);
    EXPECT_EQ(24 * 185, calls);
    Did("malformed calls", calls, "calls with a malformed argument");
}

// A list that is none, made of good arguments in the order of the call; what an object and the control
// answer.
struct Malformed {
    const char* name;
    HRESULT object, control;
    std::function<HRESULT(IDispatch* object, DISPID id, DISPPARAMS list)> call;
    bool needsArguments = false;
    // It leaves out the last argument, as a caller may when that is an optional text.
    bool leavesOneOut = false;
};

HRESULT CallMethod(IDispatch* object, DISPID id, DISPPARAMS list)
{
    VARIANT result;
    VariantInit(&result);
    const HRESULT answer = InvokeAsIs(object, id, DISPATCH_METHOD, &list, &result);
    VariantClear(&result);
    return answer;
}

HRESULT WithoutTheLast(IDispatch* object, DISPID id, DISPPARAMS list)
{
    --list.cArgs;
    ++list.rgvarg;
    return CallMethod(object, id, list);
}

HRESULT WithThreeMore(IDispatch* object, DISPID id, DISPPARAMS list)
{
    std::vector<VARIANT> more(3, I4(1).Get());
    more.insert(more.end(), list.rgvarg, list.rgvarg + list.cArgs);
    list.rgvarg = more.data();
    list.cArgs += 3;
    return CallMethod(object, id, list);
}

HRESULT WithoutAnArray(IDispatch* object, DISPID id, DISPPARAMS list)
{
    list.rgvarg = nullptr;
    return CallMethod(object, id, list);
}

HRESULT WithANameThatNoParameterHas(IDispatch* object, DISPID id, DISPPARAMS list)
{
    DISPID names[] = {999};
    list.rgdispidNamedArgs = names;
    list.cNamedArgs = 1;
    return CallMethod(object, id, list);
}

HRESULT WithMoreNamesThanArguments(IDispatch* object, DISPID id, DISPPARAMS list)
{
    DISPID names[16] = {};
    list.rgdispidNamedArgs = names;
    list.cNamedArgs = 16;
    return CallMethod(object, id, list);
}

HRESULT WithoutAnArrayOfNames(IDispatch* object, DISPID id, DISPPARAMS list)
{
    list.cNamedArgs = 1;
    return CallMethod(object, id, list);
}

HRESULT AsAProperty(IDispatch* object, DISPID id, DISPPARAMS list)
{
    return InvokeAsIs(object, id, DISPATCH_PROPERTYPUT, &list, nullptr);
}

HRESULT WithoutFlags(IDispatch* object, DISPID id, DISPPARAMS list)
{
    return InvokeAsIs(object, id, 0, &list, nullptr);
}

HRESULT ByAnotherNumber(IDispatch* object, DISPID id, DISPPARAMS list)
{
    return CallMethod(object, id + 1000, list);
}

HRESULT WithoutAList(IDispatch* object, DISPID id, DISPPARAMS)
{
    return InvokeAsIs(object, id, DISPATCH_METHOD, nullptr, nullptr);
}

const Malformed kMalformedLists[] = {
    {"WithoutTheLast", DISP_E_BADPARAMCOUNT, DISP_E_BADPARAMCOUNT, WithoutTheLast, true, true},
    {"WithThreeMore", DISP_E_BADPARAMCOUNT, DISP_E_BADPARAMCOUNT, WithThreeMore},
    {"WithoutAnArray", E_INVALIDARG, E_INVALIDARG, WithoutAnArray, true},
    {"WithANameThatNoParameterHas", DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND, WithANameThatNoParameterHas,
     true, true},
    {"WithMoreNamesThanArguments", E_INVALIDARG, DISP_E_BADPARAMCOUNT, WithMoreNamesThanArguments},
    {"WithoutAnArrayOfNames", E_INVALIDARG, E_INVALIDARG, WithoutAnArrayOfNames},
    {"AsAProperty", DISP_E_MEMBERNOTFOUND, DISP_E_MEMBERNOTFOUND, AsAProperty},
    {"WithoutFlags", DISP_E_MEMBERNOTFOUND, DISP_E_MEMBERNOTFOUND, WithoutFlags},
    {"ByAnotherNumber", DISP_E_MEMBERNOTFOUND, DISP_E_MEMBERNOTFOUND, ByAnotherNumber},
    {"WithoutAList", E_INVALIDARG, E_POINTER, WithoutAList},
};

HRESULT AnswerTo(const Malformed& list, const HardenedMethod& each)
{
    const bool mayLeaveOneOut = !each.method->parameters.empty() && each.method->parameters.back().optional;
    if (list.leavesOneOut && mayLeaveOneOut) return S_OK;
    return each.isControl ? list.control : list.object;
}

TEST_F(MalformedArguments, InListsThatAreNoneAnswerAsTheTableSays)
{
    Watchdog watchdog(20000);
    long long calls = 0;
    for (const Malformed& list : kMalformedLists) {
        for (const HardenedMethod& each : AllMethods()) {
            const Values samples = SamplesFor(*each.method);
            if (list.needsArguments && samples.empty()) continue;
            std::vector<VARIANT> reversed;
            for (auto value = samples.rbegin(); value != samples.rend(); ++value)
                reversed.push_back(value->Get());
            const DISPPARAMS whole{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
            watchdog.Beat(list.name, each.method->id);
            EXPECT_EQ(AnswerTo(list, each), list.call(ObjectOf(each), each.method->id, whole))
                << each.Name() << " " << list.name;
            ++calls;
        }
        backend->ForgetCalls();
    }
    Did("malformed calls", calls, "calls with a malformed list");
}

}  // namespace
}  // namespace kzr::test
