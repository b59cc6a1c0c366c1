// Prints the type library inside a DLL, one line a fact, for comparing it with what was written from the IDL:
//     interface NAME {IDENTIFIER} HELP
//     method NUMBER NAME RESULT HELP
//     parameter NAME TYPE [optional]
// Usage: kzr_typelib_dump DLL. It reads once and ends, so it gives nothing back.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <string>

namespace {

std::string Narrow(const wchar_t* text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text ? text : L"", -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text ? text : L"", -1, narrow.data(), size, nullptr, nullptr);
    narrow.pop_back();
    return narrow;
}

const char* TypeName(VARTYPE type)
{
    switch (type) {
        case VT_BSTR:
            return "BSTR";
        case VT_I2:
            return "short";
        case VT_I4:
            return "long";
        case VT_VOID:
            return "void";
        default:
            return "other";
    }
}

bool StandsForTheEmptyText(const PARAMDESC& parameter)
{
    if (!(parameter.wParamFlags & PARAMFLAG_FHASDEFAULT) || !parameter.pparamdescex) return false;
    const VARIANT& value = parameter.pparamdescex->varDefaultValue;
    return value.vt == VT_BSTR && SysStringLen(value.bstrVal) == 0;
}

void PrintMethod(ITypeInfo* info, const FUNCDESC& method)
{
    BSTR names[16] = {};
    BSTR help = nullptr;
    UINT count = 0;
    info->GetNames(method.memid, names, 16, &count);
    info->GetDocumentation(method.memid, nullptr, &help, nullptr, nullptr);
    std::printf("method %ld %s %s %s\n", static_cast<long>(method.memid), Narrow(names[0]).c_str(),
                TypeName(method.elemdescFunc.tdesc.vt), Narrow(help).c_str());
    for (UINT i = 1; i < count; ++i) {
        const ELEMDESC& parameter = method.lprgelemdescParam[i - 1];
        const bool optional = (parameter.paramdesc.wParamFlags & PARAMFLAG_FOPT) != 0;
        std::printf("parameter %s %s%s\n", Narrow(names[i]).c_str(), TypeName(parameter.tdesc.vt),
                    !optional                                    ? ""
                    : StandsForTheEmptyText(parameter.paramdesc) ? " optional"
                                                                 : " optional-without-default");
    }
}

void PrintInterface(ITypeInfo* info, const TYPEATTR& attributes)
{
    BSTR name = nullptr;
    BSTR help = nullptr;
    wchar_t identifier[40];
    info->GetDocumentation(MEMBERID_NIL, &name, &help, nullptr, nullptr);
    StringFromGUID2(attributes.guid, identifier, 40);
    std::printf("interface %s %s %s\n", Narrow(name).c_str(), Narrow(identifier).c_str(),
                Narrow(help).c_str());
    for (UINT i = 0; i < attributes.cFuncs; ++i) {
        FUNCDESC* method = nullptr;
        // IDispatch's own are not for scripts.
        if (SUCCEEDED(info->GetFuncDesc(i, &method)) && !(method->wFuncFlags & FUNCFLAG_FRESTRICTED))
            PrintMethod(info, *method);
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    ITypeLib* library = nullptr;
    if (count != 2 || FAILED(LoadTypeLibEx(arguments[1], REGKIND_NONE, &library))) return 1;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ITypeInfo* info = nullptr;
        TYPEATTR* attributes = nullptr;
        if (FAILED(library->GetTypeInfo(i, &info)) || FAILED(info->GetTypeAttr(&attributes))) return 1;
        if (attributes->typekind == TKIND_DISPATCH) PrintInterface(info, *attributes);
    }
    std::printf("END\n");
    return 0;
}
