#include "com/Variant.h"

#include "fault/Frames.h"

namespace kzr {

void Variant::Clear() noexcept
{
    if (m_value.vt != VT_EMPTY) CallForeignQuietly([this] { return VariantClear(&m_value); }, E_FAIL);
    m_value = VARIANT{};
}

}  // namespace kzr
