#include "com/Variant.h"

#include "fault/Frames.h"

namespace kzr {

void Variant::Clear() noexcept
{
    if (m_value.vt == VT_EMPTY) return;
    CallForeignQuietly([this] { return VariantClear(&m_value); }, E_FAIL);
    VariantInit(&m_value);
}

}  // namespace kzr
