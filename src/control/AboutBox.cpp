#include "control/AboutBox.h"

#include "com/Error.h"
#include "com/ModulePath.h"
#include "fault/Frames.h"
#include "resources/ResourceIds.h"

namespace kzr {
namespace {

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wide, LPARAM) noexcept
{
    switch (message) {
        case WM_INITDIALOG:
            return TRUE;
        case WM_COMMAND:
            if (LOWORD(wide) != IDOK && LOWORD(wide) != IDCANCEL) return FALSE;
            EndDialog(dialog, LOWORD(wide));
            return TRUE;
    }
    return FALSE;
}

}  // namespace

void ShowAboutBox(HWND inside)
{
    const HWND owner = inside ? GetAncestor(inside, GA_ROOT) : GetActiveWindow();
    // Other windows' code runs below the dialog's message loop.
    const INT_PTR ended = CallForeign([&] {
        return DialogBoxParamW(ThisModule(), MAKEINTRESOURCEW(KZR_DIALOG_ABOUT), owner, &Procedure, 0);
    });
    if (ended <= 0) Fail(E_FAIL);
}

}  // namespace kzr
