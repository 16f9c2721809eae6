// A dialog whose procedure a test calls itself.
#pragma once

#ifndef _WIN32
#    include <gtest/gtest.h>

#    include <string>

#    include "Common/dialogs/controls.h"
#    include "tests/support/scripted_dialogs.h"

namespace zv::test {

class OpenDialog {
public:
    explicit OpenDialog(ClrDialog dialog) : dialog_(dialog) {
        ScriptedDesktop::Get().Reset();
        const bool cmyk = dialog == ClrDialog::kCmyk;
        const DialogTemplate* const shape = FindDialogTemplate(cmyk ? 114 : 128);
        EXPECT_NE(nullptr, shape);
        if (shape != nullptr) window.Make(*shape);
        window.procedure = cmyk ? ClrCmykDlgProc : ClrLabDlgProc;
        ClrBeginDialog(dialog, &state);
    }
    ~OpenDialog() {
        EXPECT_TRUE(ScriptedDesktop::Get().missingControls.empty());
        ScriptedDesktop::Get().Reset();
    }
    OpenDialog(const OpenDialog&) = delete;
    OpenDialog& operator=(const OpenDialog&) = delete;

    ClrDialog Kind() const { return dialog_; }
    /// What WM_INITDIALOG answers.
    INT_PTR Open() { return Send(WM_INITDIALOG, 0, reinterpret_cast<LPARAM>(&state.context)); }
    INT_PTR Send(UINT message, WPARAM first, LPARAM second) {
        return window.procedure(window.Handle(), message, first, second);
    }
    INT_PTR Command(int control, WORD event) { return Send(WM_COMMAND, MAKEWPARAM(control, event), 0); }
    INT_PTR Click(int control) { return Command(control, BN_CLICKED); }
    INT_PTR Choose(int combo, int index) {
        At(combo).selected = index;
        return Command(combo, CBN_SELCHANGE);
    }
    ScriptedWindow& At(int control) {
        ScriptedWindow* const found = window.Find(control);
        if (found != nullptr) return *found;
        ADD_FAILURE() << "no control " << control;
        return window;
    }

    ScriptedWindow window;
    ClrDlgState state;

private:
    ClrDialog dialog_;
};

}  // namespace zv::test
#endif
