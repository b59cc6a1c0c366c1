// What the built module's type library says, against the description of the interfaces.
#include <map>
#include <set>

#include "KzrSecX_h.h"
#include "component/TypeInfoTable.h"

namespace kzr::test {
namespace {

// One FUNCDESC that gives itself back.
class Function {
  public:
    Function(ITypeInfo* info, UINT index) : m_info(info)
    {
        EXPECT_EQ(S_OK, info->GetFuncDesc(index, &m_function));
    }
    ~Function() { m_info->ReleaseFuncDesc(m_function); }
    Function(const Function&) = delete;
    const FUNCDESC* operator->() const { return m_function; }

    // The method's name, then its parameters'.
    std::vector<std::wstring> Names() const
    {
        BSTR names[16] = {};
        UINT count = 0;
        EXPECT_EQ(S_OK, m_info->GetNames(m_function->memid, names, 16, &count));
        std::vector<std::wstring> texts;
        for (UINT i = 0; i < count; ++i) {
            texts.emplace_back(names[i], SysStringLen(names[i]));
            SysFreeString(names[i]);
        }
        return texts;
    }

    std::wstring Help() const
    {
        BSTR help = nullptr;
        EXPECT_EQ(S_OK, m_info->GetDocumentation(m_function->memid, nullptr, &help, nullptr, nullptr));
        const std::wstring text = help ? help : L"";
        SysFreeString(help);
        return text;
    }

  private:
    ITypeInfo* m_info;
    FUNCDESC* m_function = nullptr;
};

TYPEATTR AttributesOf(ITypeInfo* info)
{
    TYPEATTR* attributes = nullptr;
    EXPECT_EQ(S_OK, info->GetTypeAttr(&attributes));
    const TYPEATTR copy = *attributes;
    info->ReleaseTypeAttr(attributes);
    return copy;
}

std::wstring DocumentationOf(ITypeInfo* info, bool help)
{
    BSTR name = nullptr, text = nullptr;
    EXPECT_EQ(S_OK, info->GetDocumentation(MEMBERID_NIL, &name, &text, nullptr, nullptr));
    const std::wstring found = help ? (text ? text : L"") : name;
    SysFreeString(name);
    SysFreeString(text);
    return found;
}

class TypeInfoContent : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        ASSERT_EQ(S_OK, LoadTypeLibEx(DllPath().c_str(), REGKIND_NONE, m_library.put()));
    }
    void TearDown() override
    {
        m_library = nullptr;
        CoUninitialize();
    }

    ComPtr<ITypeInfo> Find(const wchar_t* name)
    {
        for (UINT i = 0; i < m_library->GetTypeInfoCount(); ++i) {
            ComPtr<ITypeInfo> info;
            EXPECT_EQ(S_OK, m_library->GetTypeInfo(i, info.put()));
            if (DocumentationOf(info.Get(), false) == name) return info;
        }
        ADD_FAILURE() << "the library has no " << Readable(name);
        return nullptr;
    }

    ComPtr<ITypeLib> m_library;
};

void ExpectParameter(const ScriptedParameter& expected, const ELEMDESC& found)
{
    EXPECT_EQ(expected.type, found.tdesc.vt);
    const USHORT flags = found.paramdesc.wParamFlags;
    EXPECT_EQ(PARAMFLAG_FIN, flags & (PARAMFLAG_FIN | PARAMFLAG_FOUT | PARAMFLAG_FRETVAL));
    EXPECT_EQ(expected.optional, (flags & PARAMFLAG_FOPT) != 0) << "optional";
    EXPECT_EQ(expected.optional, (flags & PARAMFLAG_FHASDEFAULT) != 0) << "default value";
    if (!expected.optional || !(flags & PARAMFLAG_FHASDEFAULT)) return;
    EXPECT_EQ(Value(L""), Value(found.paramdesc.pparamdescex->varDefaultValue));
}

void ExpectResult(VARTYPE expected, bool dual, const Function& function)
{
    EXPECT_EQ(expected, function->elemdescFunc.tdesc.vt);
    EXPECT_EQ(FUNC_DISPATCH, function->funckind) << "what a script sees";
    EXPECT_EQ(INVOKE_FUNC, function->invkind);
    // Only a dual interface has a place of its own for each method.
    if (dual) {
        EXPECT_GE(function->oVft, 7 * static_cast<short>(sizeof(void*)));
    }
}

void ExpectMethod(const ScriptedInterface& in, const ScriptedMethod& expected, const Function& function)
{
    SCOPED_TRACE(Readable(in.name) + "." + Readable(expected.name));
    const std::vector<std::wstring> names = function.Names();
    ASSERT_EQ(1 + expected.parameters.size(), names.size());
    EXPECT_EQ(expected.name, names[0]);
    ASSERT_EQ(expected.parameters.size(), static_cast<std::size_t>(function->cParams));
    for (std::size_t i = 0; i < expected.parameters.size(); ++i) {
        SCOPED_TRACE(Readable(expected.parameters[i].name));
        EXPECT_EQ(expected.parameters[i].name, names[i + 1]);
        ExpectParameter(expected.parameters[i], function->lprgelemdescParam[i]);
    }
    ExpectResult(expected.result, in.dual, function);
    const std::wstring help = function.Help();
    EXPECT_GE(help.size(), 10u) << "no help for whoever reads the library";
}

TEST_F(TypeInfoContent, EveryMethodIsAsDescribedAndThereIsNoOther)
{
    for (const ScriptedInterface& in : ScriptedInterfaces()) {
        SCOPED_TRACE(Readable(in.name));
        const ComPtr<ITypeInfo> info = Find(in.name);
        ASSERT_TRUE(info);
        const TYPEATTR attributes = AttributesOf(info.Get());
        EXPECT_EQ(TKIND_DISPATCH, attributes.typekind);
        EXPECT_EQ(in.dual, (attributes.wTypeFlags & TYPEFLAG_FDUAL) != 0);
        EXPECT_NE(L"", DocumentationOf(info.Get(), true));

        std::map<DISPID, const ScriptedMethod*> expected;
        for (const ScriptedMethod& method : in.methods) expected[method.id] = &method;
        for (UINT i = 0; i < attributes.cFuncs; ++i) {
            const Function function(info.Get(), i);
            // A dual interface lists what it has of IDispatch, too.
            if (function->wFuncFlags & FUNCFLAG_FRESTRICTED) continue;
            const auto found = expected.find(function->memid);
            ASSERT_NE(expected.end(), found) << "a method too many, number " << function->memid;
            ExpectMethod(in, *found->second, function);
            expected.erase(found);
        }
        for (const auto& [id, method] : expected) ADD_FAILURE() << "missing: " << Readable(method->name);
    }
}

// The same interfaces as a compiler sees them: an HRESULT, and the answer as the last parameter.
TEST_F(TypeInfoContent, TheVtableReturnsAStatusAndTakesThePlaceOfTheAnswerLast)
{
    for (const ScriptedInterface& in : ScriptedInterfaces()) {
        if (!in.dual) continue;
        const ComPtr<ITypeInfo> dispatch = Find(in.name);
        HREFTYPE reference = 0;
        ASSERT_EQ(S_OK, dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
        ComPtr<ITypeInfo> table;
        ASSERT_EQ(S_OK, dispatch->GetRefTypeInfo(reference, table.put()));
        const TYPEATTR attributes = AttributesOf(table.Get());
        EXPECT_EQ(TKIND_INTERFACE, attributes.typekind);
        ASSERT_EQ(in.methods.size(), attributes.cFuncs);
        for (UINT i = 0; i < attributes.cFuncs; ++i) {
            const Function function(table.Get(), i);
            SCOPED_TRACE(Readable(in.name) + "." + Readable(in.methods[i].name));
            EXPECT_EQ(in.methods[i].id, function->memid) << "the table's order is the numbers' order";
            EXPECT_EQ(static_cast<short>((7 + i) * sizeof(void*)), function->oVft);
            EXPECT_EQ(VT_HRESULT, function->elemdescFunc.tdesc.vt);
            ASSERT_EQ(in.methods[i].parameters.size() + 1, static_cast<std::size_t>(function->cParams));
            const ELEMDESC& last = function->lprgelemdescParam[function->cParams - 1];
            ASSERT_EQ(VT_PTR, last.tdesc.vt);
            EXPECT_EQ(in.methods[i].result, last.tdesc.lptdesc->vt);
            EXPECT_EQ(PARAMFLAG_FOUT | PARAMFLAG_FRETVAL, last.paramdesc.wParamFlags);
            EXPECT_EQ(L"retVal", function.Names().back());
        }
    }
}

TEST_F(TypeInfoContent, TheLibraryHasItsIdentityVersionAndHelp)
{
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, m_library->GetLibAttr(&attributes));
    const GUID expected = {0xB006C93F, 0x3057, 0x4F95, {0x81, 0x84, 0x93, 0x82, 0x03, 0x5E, 0x26, 0xFB}};
    EXPECT_TRUE(IsEqualGUID(expected, attributes->guid));
    EXPECT_EQ(1, attributes->wMajorVerNum);
    EXPECT_EQ(0, attributes->wMinorVerNum);
    EXPECT_EQ(SYS_WIN64, attributes->syskind);
    m_library->ReleaseTLibAttr(attributes);

    BSTR name = nullptr;
    EXPECT_EQ(S_OK, m_library->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::wstring(L"TOLVSECCOMLib"), name);
    SysFreeString(name);
}

TEST_F(TypeInfoContent, EachClassNamesItsDefaultInterface)
{
    struct Row {
        const wchar_t* coclass;
        const ScriptedClass& made;
        const wchar_t* interfaceName;
        const wchar_t* help;
    };
    const Row rows[] = {{L"Certificate", kCertificate, L"ICertificate", L"Certificate Class"},
                        {L"Crypto", kCrypto, L"ICrypto", L"Crypto Class"},
                        {L"DeviceMgr", kDeviceMgr, L"IDeviceMgr", L"DeviceMgr Class"},
                        {L"Util", kUtil, L"IUtil", L"Util Class"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.made.name);
        const ComPtr<ITypeInfo> info = Find(row.coclass);
        ASSERT_TRUE(info);
        const TYPEATTR attributes = AttributesOf(info.Get());
        EXPECT_EQ(TKIND_COCLASS, attributes.typekind);
        EXPECT_TRUE(IsEqualGUID(row.made.clsid, attributes.guid));
        EXPECT_NE(0, attributes.wTypeFlags & TYPEFLAG_FCANCREATE);
        EXPECT_EQ(row.help, DocumentationOf(info.Get(), true));
        ASSERT_EQ(1, attributes.cImplTypes);
        int flags = 0;
        EXPECT_EQ(S_OK, info->GetImplTypeFlags(0, &flags));
        EXPECT_EQ(IMPLTYPEFLAG_FDEFAULT, flags);
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> implemented;
        ASSERT_EQ(S_OK, info->GetRefTypeOfImplType(0, &reference));
        ASSERT_EQ(S_OK, info->GetRefTypeInfo(reference, implemented.put()));
        EXPECT_EQ(row.interfaceName, DocumentationOf(implemented.Get(), false));
    }
}

TEST_F(TypeInfoContent, TheControlNamesItsMethodsAndItsEvents)
{
    const ComPtr<ITypeInfo> info = Find(L"USBKeyPnPActiveX");
    ASSERT_TRUE(info);
    const TYPEATTR attributes = AttributesOf(info.Get());
    EXPECT_TRUE(IsEqualGUID(kControl.clsid, attributes.guid));
    EXPECT_NE(0, attributes.wTypeFlags & TYPEFLAG_FCONTROL);
    ASSERT_EQ(2, attributes.cImplTypes);
    const int expected[] = {IMPLTYPEFLAG_FDEFAULT, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE};
    const GUID interfaces[] = {
        {0x8080AF8D, 0x857A, 0x45C4, {0x82, 0x96, 0xAB, 0x13, 0x01, 0xAD, 0xFA, 0x28}},
        {0x931F33F5, 0x525B, 0x4613, {0xA5, 0xA7, 0xD0, 0xE2, 0x81, 0x15, 0xDD, 0x9A}}};
    for (UINT i = 0; i < 2; ++i) {
        int flags = 0;
        EXPECT_EQ(S_OK, info->GetImplTypeFlags(i, &flags));
        EXPECT_EQ(expected[i], flags);
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> implemented;
        ASSERT_EQ(S_OK, info->GetRefTypeOfImplType(i, &reference));
        ASSERT_EQ(S_OK, info->GetRefTypeInfo(reference, implemented.put()));
        EXPECT_TRUE(IsEqualGUID(interfaces[i], AttributesOf(implemented.Get()).guid));
    }
}

}  // namespace
}  // namespace kzr::test
