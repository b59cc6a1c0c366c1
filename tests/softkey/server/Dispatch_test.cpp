// Automation at the server's own surface: names, numbers, and arguments of every kind.
#include <olectl.h>

#include <set>

#include "softkey/server/ServerTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

struct Expected {
    const wchar_t* name;
    const char* kinds;  // t for text, n for a number
};

// As the component calls them.
constexpr Expected kExpected[] = {
    {L"SetUserConfig", "nt"},
    {L"SOF_GetUserList", ""},
    {L"GetAllDeviceSN", ""},
    {L"GetDeviceInfo", "tn"},
    {L"SOF_ExportUserCert", "t"},
    {L"SOF_ExportExChangeUserCert", "t"},
    {L"SOF_GetCertInfo", "tn"},
    {L"SOF_GetCertInfoByOid", "tt"},
    {L"SOF_GetCertEntity", "t"},
    {L"SOF_ValidateCert", "t"},
    {L"SOF_Login", "tt"},
    {L"SOF_ChangePassWd", "ttt"},
    {L"SOF_GetPinRetryCount", "t"},
    {L"SOF_SignData", "tt"},
    {L"SOF_SignFile", "tt"},
    {L"SOF_SignMessage", "ntt"},
    {L"SOF_SignDataXML", "tt"},
    {L"SOF_VerifySignedData", "ttt"},
    {L"SOF_VerifySignedFile", "ttt"},
    {L"SOF_VerifySignedMessage", "tt"},
    {L"SOF_VerifySignedDataXML", "t"},
    {L"SOF_GetInfoFromSignedMessage", "tn"},
    {L"SOF_GetXMLSignatureInfo", "tn"},
    {L"SOF_HashData", "nt"},
    {L"SOF_HashFile", "nt"},
    {L"SOF_GenRandom", "n"},
    {L"SOF_GetEncryptMethod", ""},
    {L"SOF_SetEncryptMethod", "n"},
    {L"SOF_SymEncryptData", "tt"},
    {L"SOF_SymDecryptData", "tt"},
    {L"SOF_SymEncryptFile", "ttt"},
    {L"SOF_SymDecryptFile", "ttt"},
    {L"SOF_EncryptDataEx", "tt"},
    {L"SOF_DecryptData", "tt"},
    {L"SOF_PubKeyEncrypt", "tt"},
    {L"SOF_PriKeyDecrypt", "tt"},
    {L"SOF_SecertSegment", "tnnn"},
    {L"SOF_SecertRecovery", "t"},
    {L"SOF_Base64Encode", "t"},
    {L"SOF_Base64Decode", "t"},
    {L"Base64EncodeFile", "t"},
    {L"Base64DecodeFile", "tt"},
    {L"ReadFile", "tt"},
    {L"WriteFile", "tttn"},
};

class ServerDispatch : public ServerTest {
  public:
    HRESULT Find(std::wstring name, DISPID& id)
    {
        LPOLESTR names = name.data();
        return control->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    }
};

Values Ordinary(std::string_view kinds)
{
    Values values;
    for (const char kind : kinds) values.push_back(kind == 't' ? Value(L"text") : I2(1));
    return values;
}

TEST_F(ServerDispatch, AllMethodsOfTheInterfaceHaveNumbersOfTheirOwn)
{
    EXPECT_EQ(44u, std::size(kExpected));
    std::set<DISPID> ids;
    for (const Expected& each : kExpected) {
        DISPID id = DISPID_UNKNOWN;
        EXPECT_EQ(S_OK, Find(each.name, id)) << Readable(each.name);
        EXPECT_TRUE(ids.insert(id).second) << Readable(each.name);
    }
}

TEST_F(ServerDispatch, NamesAreFoundInAnyLetterCase)
{
    DISPID exact = 0, lower = 0, upper = 0;
    EXPECT_EQ(S_OK, Find(L"SOF_GetUserList", exact));
    EXPECT_EQ(S_OK, Find(L"sof_getuserlist", lower));
    EXPECT_EQ(S_OK, Find(L"SOF_GETUSERLIST", upper));
    EXPECT_EQ(exact, lower);
    EXPECT_EQ(exact, upper);
}

TEST_F(ServerDispatch, UnknownNamesAreRefused)
{
    for (const wchar_t* name :
         {L"", L"SOF_", L"SOF_GetUserList2", L" SOF_GetUserList", L"SetUserConfi\x0261"}) {
        DISPID id = 77;
        EXPECT_EQ(DISP_E_UNKNOWNNAME, Find(name, id)) << Readable(name);
        EXPECT_EQ(DISPID_UNKNOWN, id) << Readable(name);
    }
    LPOLESTR names[2] = {const_cast<LPOLESTR>(L"ReadFile"), const_cast<LPOLESTR>(L"name")};
    DISPID ids[2] = {7, 7};
    EXPECT_EQ(DISP_E_UNKNOWNNAME, control->GetIDsOfNames(IID_NULL, names, 2, 0, ids));
    EXPECT_EQ(DISPID_UNKNOWN, ids[1]);
    EXPECT_EQ(DISP_E_UNKNOWNINTERFACE, control->GetIDsOfNames(IID_IDispatch, names, 1, 0, ids));
    EXPECT_EQ(E_INVALIDARG, control->GetIDsOfNames(IID_NULL, nullptr, 1, 0, ids));
    EXPECT_EQ(E_INVALIDARG, control->GetIDsOfNames(IID_NULL, names, 1, 0, nullptr));
    EXPECT_EQ(E_INVALIDARG, control->GetIDsOfNames(IID_NULL, names, 0, 0, ids));
    LPOLESTR null = nullptr;
    EXPECT_EQ(DISP_E_UNKNOWNNAME, control->GetIDsOfNames(IID_NULL, &null, 1, 0, ids));
}

TEST_F(ServerDispatch, EveryMethodWantsItsOwnNumberOfArguments)
{
    for (const Expected& each : kExpected) {
        Values tooMany = Ordinary(each.kinds);
        tooMany.push_back(L"more");
        EXPECT_EQ(DISP_E_BADPARAMCOUNT, Refusal(each.name, tooMany)) << Readable(each.name);
        if (*each.kinds == '\0') continue;
        Values tooFew = Ordinary(each.kinds);
        tooFew.pop_back();
        EXPECT_EQ(DISP_E_BADPARAMCOUNT, Refusal(each.name, tooFew)) << Readable(each.name);
    }
}

// What no argument can be, of either kind.
Values HostileValues()
{
    Values hostile = {Empty(),
                      Null(),
                      Missing(),
                      R8(1.5),
                      Bool(true),
                      Value::Raw(VT_DISPATCH, 0),
                      Value::Raw(VT_ARRAY | VT_BSTR, 0),
                      Value::Raw(VT_ARRAY | VT_UI1, 16)};
    for (const ULONGLONG nowhere : {0ull, 1ull, 16ull, 0x1234567890ull, ~0ull, 0x7FFFFFFFFFFFull}) {
        hostile.push_back(Value::Raw(VT_BYREF | VT_VARIANT, nowhere));
        hostile.push_back(Value::Raw(VT_BYREF | VT_BSTR, nowhere));
        hostile.push_back(Value::Raw(VT_BYREF | VT_I2, nowhere));
        hostile.push_back(Value::Raw(VT_BYREF | VT_I4, nowhere));
        if (nowhere != 0) hostile.push_back(Value::Raw(VT_BSTR, nowhere));
    }
    for (const VARTYPE type : {VT_I8, VT_CY, VT_DATE, VT_UNKNOWN, VT_DECIMAL, VT_RECORD, VT_CLSID, VT_VECTOR})
        hostile.push_back(Value::Raw(type, 0x41));
    hostile.push_back(Value::Raw(0xFFFF, 0x41));
    return hostile;
}

TEST_F(ServerDispatch, HostileValuesAreWrongTypesInEveryPlaceOfEveryMethod)
{
    const Values hostile = HostileValues();
    for (const Expected& each : kExpected) {
        const std::string_view kinds = each.kinds;
        for (std::size_t place = 0; place < kinds.size(); ++place) {
            for (const Value& value : hostile) {
                Values arguments = Ordinary(kinds);
                arguments[place] = value;
                const CallResult called = Call(each.name, arguments);
                EXPECT_EQ(DISP_E_TYPEMISMATCH, called.result)
                    << Readable(each.name) << " " << place << " " << Describe(value);
                EXPECT_EQ(kinds.size() - 1 - place, called.argument) << Readable(each.name);
            }
        }
    }
}

TEST_F(ServerDispatch, TextAndNumbersAreNotTakenForEachOther)
{
    for (const Expected& each : kExpected) {
        const std::string_view kinds = each.kinds;
        for (std::size_t place = 0; place < kinds.size(); ++place) {
            Values arguments = Ordinary(kinds);
            arguments[place] = kinds[place] == 't' ? I4(1) : Value(L"1");
            EXPECT_EQ(DISP_E_TYPEMISMATCH, Refusal(each.name, arguments)) << Readable(each.name) << place;
        }
    }
}

TEST_F(ServerDispatch, NumbersMayBeShortOrLongAndBehindReferences)
{
    const Value digest = Ask(L"SOF_HashData", {I2(4), L"text"});
    EXPECT_EQ(digest, Ask(L"SOF_HashData", {I4(4), L"text"}));
    EXPECT_EQ(digest, Ask(L"SOF_HashData", {ByRef(I2(4)), L"text"}));
    EXPECT_EQ(digest, Ask(L"SOF_HashData", {ByRef(I4(4)), L"text"}));
    EXPECT_EQ(digest, Ask(L"SOF_HashData", {ByVariant(I4(4)), L"text"}));
    EXPECT_EQ(digest, Ask(L"SOF_HashData", {Value::Raw(VT_UI1, 4), L"text"}));
}

TEST_F(ServerDispatch, TextMayBeBehindReferencesAndANullOneIsEmpty)
{
    const Value encoded = Ask(L"SOF_Base64Encode", {L"text"});
    EXPECT_EQ(Value(L"dGV4dA=="), encoded);
    EXPECT_EQ(encoded, Ask(L"SOF_Base64Encode", {ByRef(L"text")}));
    EXPECT_EQ(encoded, Ask(L"SOF_Base64Encode", {ByVariant(L"text")}));
    EXPECT_EQ(encoded, Ask(L"SOF_Base64Encode", {ByVariant(ByRef(L"text"))}));
    EXPECT_EQ(Value(L""), Ask(L"SOF_Base64Encode", {NullText()}));
    EXPECT_EQ(Ask(L"SOF_HashData", {I2(4), L""}), Ask(L"SOF_HashData", {I2(4), NullText()}));
}

TEST_F(ServerDispatch, AReferenceToAReferenceToAValueIsTooDeep)
{
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Refusal(L"SOF_Base64Encode", {ByVariant(ByVariant(L"text"))}));
}

TEST_F(ServerDispatch, TextOfHalfACharacterIsABadArgument)
{
    const wchar_t high[] = {0xD83D, 0}, low[] = {0xDE00, L'x', 0}, both[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_Base64Encode", {high}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_Base64Encode", {low}));
    EXPECT_EQ(Value(L"8J+YgA=="), Ask(L"SOF_Base64Encode", {both}));
}

TEST_F(ServerDispatch, ALengthThatIsNoneIsAWrongType)
{
    // In front of a text stands its length in bytes.
    std::vector<unsigned> memory(8, 0xFFFFFFFFu);
    const auto text = reinterpret_cast<ULONGLONG>(memory.data() + 4);
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Refusal(L"SOF_Base64Encode", {Value::Raw(VT_BSTR, text)}));
    memory[3] = 256u << 20;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, Refusal(L"SOF_Base64Encode", {Value::Raw(VT_BSTR, text)}));
}

TEST_F(ServerDispatch, OnlyPlainCallsAreTaken)
{
    DISPID id = 0;
    ASSERT_EQ(S_OK, Find(L"SOF_GetEncryptMethod", id));
    DISPPARAMS none{};
    const auto invoke = [&](DISPID which, REFIID iid, WORD flags, DISPPARAMS* parameters) {
        return control->Invoke(which, iid, LOCALE_USER_DEFAULT, flags, parameters, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(S_OK, invoke(id, IID_NULL, DISPATCH_METHOD, &none)) << "a null result is none of its business";
    EXPECT_EQ(S_OK, invoke(id, IID_NULL, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &none));
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, invoke(id, IID_NULL, DISPATCH_PROPERTYGET, &none));
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, invoke(id, IID_NULL, DISPATCH_PROPERTYPUT, &none));
    EXPECT_EQ(DISP_E_UNKNOWNINTERFACE, invoke(id, IID_IDispatch, DISPATCH_METHOD, &none));
    EXPECT_EQ(E_INVALIDARG, invoke(id, IID_NULL, DISPATCH_METHOD, nullptr));
    for (const DISPID unknown : {0l, 45l, -1l, 1000000l, LONG_MIN, LONG_MAX})
        EXPECT_EQ(DISP_E_MEMBERNOTFOUND, invoke(unknown, IID_NULL, DISPATCH_METHOD, &none)) << unknown;
    DISPPARAMS lost{nullptr, nullptr, 1, 0};
    ASSERT_EQ(S_OK, Find(L"SOF_Base64Encode", id));
    EXPECT_EQ(DISP_E_BADPARAMCOUNT, invoke(id, IID_NULL, DISPATCH_METHOD, &lost));
    VARIANT argument = Value(L"text").Copy();
    DISPID name = 0;
    DISPPARAMS named{&argument, &name, 1, 1};
    EXPECT_EQ(DISP_E_NONAMEDARGS, invoke(id, IID_NULL, DISPATCH_METHOD, &named));
    VariantClear(&argument);
    UINT count = 7;
    EXPECT_EQ(S_OK, control->GetTypeInfoCount(&count));
    EXPECT_EQ(0u, count);
}

TEST_F(ServerDispatch, TheObjectAnswersWhatTheComponentAsksFor)
{
    for (const IID* iid : {&IID_IUnknown, &IID_IDispatch, &IID_IOleObject, &IID_IConnectionPointContainer}) {
        ComPtr<IUnknown> found;
        EXPECT_EQ(S_OK, control->QueryInterface(*iid, found.putVoid()));
    }
    void* nothing = this;
    EXPECT_EQ(E_NOINTERFACE, control->QueryInterface(IID_IPersistStreamInit, &nothing));
    EXPECT_EQ(nullptr, nothing);
    EXPECT_EQ(E_POINTER, control->QueryInterface(IID_IDispatch, nullptr));
}

TEST_F(ServerDispatch, OneClassIsHandedOutWithoutAggregation)
{
    void* object = this;
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, dll->GetClassObject(IID_IDispatch, IID_IClassFactory, &object));
    EXPECT_EQ(nullptr, object);
    EXPECT_EQ(E_NOINTERFACE, dll->GetClassObject(kServerClass, IID_IDispatch, &object));
    EXPECT_EQ(E_POINTER, dll->GetClassObject(kServerClass, IID_IClassFactory, nullptr));
    EXPECT_EQ(CLASS_E_NOAGGREGATION, dll->Create(kServerClass, IID_IUnknown, &object, control.Get()));
    EXPECT_EQ(nullptr, object);
}

}  // namespace
}  // namespace kzr::test
