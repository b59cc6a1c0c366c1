#include "backend/Arguments.h"

#include "com/Bstr.h"
#include "com/Error.h"
#include "fault/Frames.h"

namespace kzr {

void Argument::CopyTo(VARIANT* to) const
{
    switch (m_kind) {
        case VT_BSTR:
            to->bstrVal = Bstr(m_text).Detach();
            break;
        case VT_I2:
            to->iVal = static_cast<short>(m_number);
            break;
        case VT_I4:
            to->lVal = m_number;
            break;
        default: {
            const HRESULT copied =
                CallForeign([&] { return VariantCopy(to, const_cast<VARIANT*>(&m_result->Get())); });
            if (FAILED(copied)) Fail(copied);
            return;
        }
    }
    to->vt = m_kind;
}

Arguments::Arguments(const Argument* values, unsigned count) : m_count(count)
{
    for (unsigned i = 0; i < count; ++i) values[i].CopyTo(m_reversed[count - 1 - i].raw());
}

}  // namespace kzr
