// The dialogs where this program can show windows itself.
#include "Common/dialogs/controls.h"
#include "Common/lookup.h"
#include "resources/dialog_list.h"

namespace zv {

bool ClrRunDialog(ClrDialog dialog, void* parentWindow, ClrDlgState* state) noexcept {
    const bool cmyk = dialog == ClrDialog::kCmyk;
    const uint16_t id = cmyk ? ZVCLR_CMYK_DIALOG_ID : ZVCLR_LAB_DIALOG_ID;
    InitCommonControls();
    return DialogBoxParamW(static_cast<HINSTANCE>(ClrResourceModule()), MAKEINTRESOURCEW(id),
                           static_cast<HWND>(parentWindow), cmyk ? ClrCmykDlgProc : ClrLabDlgProc,
                           reinterpret_cast<LPARAM>(&state->context)) == IDOK;
}

}  // namespace zv
