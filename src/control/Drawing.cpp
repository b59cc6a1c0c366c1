#include "control/Drawing.h"

#include <algorithm>

#include "fault/Frames.h"

namespace kzr {
namespace {

constexpr int kHimetricPerInch = 2540;

// No device is wider. Some systems fault when an ellipse is much larger than their coordinates.
constexpr LONG kFarthest = 32767;

LONG Within(LONG coordinate) noexcept { return std::clamp(coordinate, -kFarthest, kFarthest); }

}  // namespace

// The container's context may hold any brush and pen, so both are chosen here. The context is its own, too,
// and may be a printer's: what its driver does with these bounds must not end in a function that cannot
// throw.
void DrawControl(HDC context, const RECT& asked) noexcept
{
    const RECT bounds = {Within(asked.left), Within(asked.top), Within(asked.right), Within(asked.bottom)};
    CallForeignQuietly(
        [&] {
            const int saved = SaveDC(context);
            FillRect(context, &bounds, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
            SelectObject(context, GetStockObject(WHITE_BRUSH));
            SelectObject(context, GetStockObject(BLACK_PEN));
            Ellipse(context, bounds.left, bounds.top, bounds.right, bounds.bottom);
            return RestoreDC(context, saved);
        },
        FALSE);
}

SIZE ToPixels(const SIZE& himetric) noexcept
{
    const HDC screen = GetDC(nullptr);
    const SIZE perInch = {GetDeviceCaps(screen, LOGPIXELSX), GetDeviceCaps(screen, LOGPIXELSY)};
    ReleaseDC(nullptr, screen);
    return {MulDiv(himetric.cx, perInch.cx, kHimetricPerInch),
            MulDiv(himetric.cy, perInch.cy, kHimetricPerInch)};
}

HMETAFILE DrawMetafile(const SIZE& himetric) noexcept
{
    const HDC context = CreateMetaFileW(nullptr);
    if (!context) return nullptr;
    const SIZE pixels = ToPixels(himetric);
    // The frame that plays it scales from these bounds.
    SetWindowOrgEx(context, 0, 0, nullptr);
    SetWindowExtEx(context, pixels.cx, pixels.cy, nullptr);
    DrawControl(context, {0, 0, pixels.cx, pixels.cy});
    return CloseMetaFile(context);
}

HENHMETAFILE DrawEnhancedMetafile(const SIZE& himetric) noexcept
{
    const RECT frame = {0, 0, himetric.cx, himetric.cy};
    const HDC context = CreateEnhMetaFileW(nullptr, nullptr, &frame, nullptr);
    if (!context) return nullptr;
    const SIZE pixels = ToPixels(himetric);
    DrawControl(context, {0, 0, pixels.cx, pixels.cy});
    return CloseEnhMetaFile(context);
}

}  // namespace kzr
