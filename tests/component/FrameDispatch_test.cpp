// Names, numbers and type information of the scripted objects: always what the type information itself
// answers, however it is kept.
#include <algorithm>
#include <cwctype>
#include <set>

#include "component/FrameClasses.h"
#include "component/TypeInfoTable.h"

namespace kzr::test {
namespace {

constexpr DISPID kUntouched = 0x5A5A5A5A;

struct Found {
    HRESULT result = E_FAIL;
    std::vector<DISPID> ids;
    bool operator==(const Found&) const = default;
};

void PrintTo(const Found& found, std::ostream* out)
{
    *out << std::hex << found.result << std::dec;
    for (const DISPID id : found.ids) *out << " " << id;
}

template <class Asked>
Found Ask(Asked* asked, std::vector<std::wstring> names)
{
    std::vector<LPOLESTR> pointers;
    for (std::wstring& name : names) pointers.push_back(name.data());
    Found found;
    found.ids.assign(names.size(), kUntouched);
    const auto count = static_cast<UINT>(names.size());
    if constexpr (std::is_same_v<Asked, IDispatch>) {
        found.result =
            asked->GetIDsOfNames(IID_NULL, pointers.data(), count, LOCALE_USER_DEFAULT, found.ids.data());
    } else {
        found.result = asked->GetIDsOfNames(pointers.data(), count, found.ids.data());
    }
    return found;
}

std::wstring Changed(std::wstring text, wint_t (*change)(wint_t))
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [&](wchar_t c) { return static_cast<wchar_t>(change(c)); });
    return text;
}

class FrameDispatch : public OnEachClass {
  protected:
    void SetUp() override
    {
        ComponentTest::SetUp();
        m_object = MakeOne();
        ASSERT_TRUE(m_object);
        ComPtr<ITypeLib> library;
        ASSERT_EQ(S_OK, LoadTypeLibEx(DllPath().c_str(), REGKIND_NONE, library.put()));
        ASSERT_EQ(S_OK, library->GetTypeInfoOfGuid(Shared().iid, m_info.put()));
    }
    void TearDown() override
    {
        m_info = nullptr;
        m_object = nullptr;
        ComponentTest::TearDown();
    }

    void ExpectAsTypeInfo(const std::vector<std::wstring>& names)
    {
        EXPECT_EQ(Ask(m_info.Get(), names), Ask(m_object.Get(), names))
            << (names.empty() ? "(none)" : Readable(names[0])) << ", " << names.size() << " names";
    }

    ComPtr<IDispatch> m_object;
    ComPtr<ITypeInfo> m_info;
};

TEST_P(FrameDispatch, EveryNameIsFoundInAnyLetterCase)
{
    for (const ScriptedMethod& method : InterfaceOf(Shared().tested).methods) {
        const std::wstring exact = method.name;
        for (const std::wstring& name : {exact, Changed(exact, towlower), Changed(exact, towupper)}) {
            const Found found = Ask(m_object.Get(), {name});
            EXPECT_EQ(S_OK, found.result) << Readable(name);
            EXPECT_EQ(method.id, found.ids[0]) << Readable(name);
            ExpectAsTypeInfo({name});
        }
    }
}

TEST_P(FrameDispatch, UnknownNamesAnswerAsTheTypeInformation)
{
    for (const wchar_t* name :
         {L"", L" ", L"noSuchMethod", L"importCert ", L" importCert", L"importCer", L"importCertx",
          L"QueryInterface", L"Invoke", L"GetIDsOfNames", L"retVal", L"sign\u0435dData", L"\u4e2d\u6587",
          L"s\u0131gnedData", L"@", L"[", L"`", L"{"})
        ExpectAsTypeInfo({name});
    EXPECT_EQ(DISP_E_UNKNOWNNAME, Ask(m_object.Get(), {L"noSuchMethod"}).result);
}

TEST_P(FrameDispatch, ParameterNamesAnswerAsTheTypeInformation)
{
    std::set<std::wstring> alone;
    for (const ScriptedMethod& method : InterfaceOf(Shared().tested).methods) {
        std::vector<std::wstring> all = {method.name};
        for (const ScriptedParameter& parameter : method.parameters) {
            alone.insert(parameter.name);
            all.push_back(parameter.name);
            ExpectAsTypeInfo({method.name, parameter.name});
            ExpectAsTypeInfo({method.name, Changed(parameter.name, towupper)});
            ExpectAsTypeInfo({method.name, parameter.name, L"noSuchParameter"});
        }
        ExpectAsTypeInfo(all);
        std::reverse(all.begin() + 1, all.end());
        ExpectAsTypeInfo(all);
        ExpectAsTypeInfo({method.name, L"noSuchParameter"});
        ExpectAsTypeInfo({L"noSuchMethod", method.name});
    }
    for (const std::wstring& name : alone) ExpectAsTypeInfo({name});
}

TEST_P(FrameDispatch, AQuestionWithoutNamesOrRoomIsInvalid)
{
    std::wstring text = Shared().method;
    LPOLESTR name = text.data();
    LPOLESTR none = nullptr;
    DISPID id = kUntouched;
    IDispatch* const object = m_object.Get();
    EXPECT_EQ(E_INVALIDARG, object->GetIDsOfNames(IID_NULL, nullptr, 1, 0x0400, &id));
    EXPECT_EQ(E_INVALIDARG, object->GetIDsOfNames(IID_NULL, &name, 1, 0x0400, nullptr));
    EXPECT_EQ(E_INVALIDARG, object->GetIDsOfNames(IID_NULL, &name, 0, 0x0400, &id));
    EXPECT_EQ(E_INVALIDARG, object->GetIDsOfNames(IID_NULL, &none, 1, 0x0400, &id));
    EXPECT_EQ(kUntouched, id);
}

TEST_P(FrameDispatch, TypeInformationIsThereOnce)
{
    UINT count = 7;
    EXPECT_EQ(S_OK, m_object->GetTypeInfoCount(&count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(E_POINTER, m_object->GetTypeInfoCount(nullptr));

    ComPtr<ITypeInfo> info;
    EXPECT_EQ(S_OK, m_object->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put()));
    ASSERT_TRUE(info);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, info->GetTypeAttr(&attributes));
    EXPECT_TRUE(IsEqualIID(Shared().iid, attributes->guid));
    info->ReleaseTypeAttr(attributes);

    EXPECT_EQ(E_POINTER, m_object->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr));
    for (const UINT index : {1u, 2u, 0xFFFFFFFFu}) {
        auto* untouched = reinterpret_cast<ITypeInfo*>(this);
        EXPECT_EQ(DISP_E_BADINDEX, m_object->GetTypeInfo(index, LOCALE_USER_DEFAULT, &untouched));
        EXPECT_EQ(nullptr, untouched);
    }
}

TEST_P(FrameDispatch, WrongCallsAreRefusedBeforeAnyMethodRuns)
{
    log->Take();
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(m_object.Get(), DISPID{999}).result);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(m_object.Get(), DISPID{26}).result);
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Call(m_object.Get(), DISPID{0}).result);
    const Values many(9, Value(L"1"));
    EXPECT_EQ(DISP_E_BADPARAMCOUNT, Call(m_object.Get(), Shared().id, many).result);
    Values wrong = Shared().arguments;
    wrong[0] = Error(E_FAIL);
    EXPECT_TRUE(FAILED(Call(m_object.Get(), Shared().id, wrong).result));
    EXPECT_TRUE(log->Take().empty());
}

TEST_P(FrameDispatch, AMethodIsCalledWithArgumentsOfAnyConvertibleType)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> object = MakeOne();
    backend->Allow(Shared().backendMethod, Shared().backendArguments, Shared().backendAnswer);
    Values references;
    for (const Value& argument : Shared().arguments) references.push_back(ByVariant(argument));
    EXPECT_EQ(Shared().answer, Call(object.Get(), Shared().id, references).value);
    // Script hosts ask for a property or a method when they cannot tell.
    EXPECT_EQ(
        Shared().answer,
        Call(object.Get(), Shared().id, Shared().arguments, DISPATCH_METHOD | DISPATCH_PROPERTYGET).value);
}

KZR_ON_EACH_CLASS(FrameDispatch);

double SecondsFor(IDispatch* object, const wchar_t* text, int times)
{
    std::wstring copy = text;
    LPOLESTR name = copy.data();
    DISPID id = 0;
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    for (int i = 0; i < times; ++i) object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// The platform's own search costs thirty times as much for the last of forty as for the first.
TEST_F(ComponentTest, FrameFindsTheLastOfFortyNamesAboutAsFastAsTheFirst)
{
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    SecondsFor(crypto.Get(), L"setUserCfg", 100);
    double first = 1, last = 1;
    for (int round = 0; round < 20; ++round) {
        first = std::min(first, SecondsFor(crypto.Get(), L"setUserCfg", 2000));
        last = std::min(last, SecondsFor(crypto.Get(), L"setUserCfgEx", 2000));
    }
    EXPECT_LT(last, 4 * first) << first << " against " << last;
}

}  // namespace
}  // namespace kzr::test
