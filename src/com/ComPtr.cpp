#include "com/ComPtr.h"

#include "fault/Frames.h"

namespace kzr {

void AddRefForeign(IUnknown* object) noexcept
{
    CallForeignQuietly([object] { return object->AddRef(); }, 0ul);
}

void ReleaseForeign(IUnknown* object) noexcept
{
    CallForeignQuietly([object] { return object->Release(); }, 0ul);
}

}  // namespace kzr
