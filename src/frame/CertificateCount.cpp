#include "frame/CertificateCount.h"

namespace kzr {
namespace {

// Equal as automation compares: both null, or of one type and equal by value.
bool AreEqual(const Variant& left, const Variant& right)
{
    if (left.Type() == VT_NULL && right.Type() == VT_NULL) return true;
    if (left.Type() != right.Type()) return false;
    return VarCmp(const_cast<VARIANT*>(&left.Get()), const_cast<VARIANT*>(&right.Get()), LOCALE_USER_DEFAULT,
                  0) == static_cast<HRESULT>(VARCMP_EQ);
}

}  // namespace

const wchar_t* CertificateCountText(const Variant& signing, const Variant& exchange)
{
    if (exchange.HasText()) return AreEqual(signing, exchange) ? L"1" : L"2";
    return signing.HasText() ? L"1" : L"0";
}

}  // namespace kzr
