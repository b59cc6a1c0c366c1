#include "support/Dispatch.h"

namespace kzr::test {

HRESULT Member::Find(IDispatch* object, DISPID& id) const
{
    id = m_id;
    if (!m_name) return S_OK;
    std::wstring name(m_name);
    LPOLESTR names = name.data();
    return object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
}

CallResult Call(IDispatch* object, const Member& member, const Values& arguments, WORD flags)
{
    CallResult called;
    DISPID id = 0;
    called.result = member.Find(object, id);
    if (FAILED(called.result)) return called;

    std::vector<VARIANT> reversed;
    for (auto value = arguments.rbegin(); value != arguments.rend(); ++value)
        reversed.push_back(value->Get());
    DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    VARIANT result;
    VariantInit(&result);
    EXCEPINFO info{};
    called.result = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, &result, &info,
                                   &called.argument);
    called.exception = info.scode ? info.scode : info.wCode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    called.value = Value::Adopt(result);
    return called;
}

namespace detail {

Input<BSTR>::Input(const Value* value)
{
    VariantInit(&m_value);
    if (value && value->Type() == VT_BSTR) {
        m_value = value->Copy();
    } else if (value && value->Type() != VT_ERROR) {
        VariantChangeType(&m_value, const_cast<VARIANT*>(&value->Get()), 0, VT_BSTR);
    } else {
        m_value.vt = VT_BSTR;
        m_value.bstrVal = SysAllocString(L"");
    }
}

long NumberOf(const Value* value, VARTYPE type)
{
    VARIANT number;
    VariantInit(&number);
    if (!value || FAILED(VariantChangeType(&number, const_cast<VARIANT*>(&value->Get()), 0, type))) return 0;
    return type == VT_I2 ? number.iVal : number.lVal;
}

Value OutputOf(BSTR& output)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = output;
    return Value::Adopt(value);
}

}  // namespace detail

}  // namespace kzr::test
