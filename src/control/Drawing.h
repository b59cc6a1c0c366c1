// What the control looks like, and how its size converts between a container's units and pixels.
#pragma once

#include <windows.h>

namespace kzr {

// A white rectangle with an ellipse in it, in the context's own units; the context stays as it was.
void DrawControl(HDC context, const RECT& bounds) noexcept;

// Hundredths of a millimetre to pixels of the screen.
SIZE ToPixels(const SIZE& himetric) noexcept;

// The drawing as a picture of that size. The caller owns it; null when it could not be made.
HMETAFILE DrawMetafile(const SIZE& himetric) noexcept;
HENHMETAFILE DrawEnhancedMetafile(const SIZE& himetric) noexcept;

}  // namespace kzr
