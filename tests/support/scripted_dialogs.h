// The platform's dialog calls for tests on systems that have none: windows that are only records, and a user who is a
// function.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/dialogs.h"
#include "resources/dialog_templates.h"

namespace zv::test {

/// A dialog or one of its controls.
struct ScriptedWindow {
    // of a control
    ScriptedWindow* dialog = nullptr;
    int id = 0;
    DialogControlKind kind = DialogControlKind::kLabel;
    bool enabled = true;
    bool checked = false;
    std::u16string text;
    size_t textLimit = SIZE_MAX;
    std::vector<std::u16string> items;
    int selected = -1;
    WPARAM spinRangeFirst = 0;
    LPARAM spinRange = 0;
    WPARAM spinPosFirst = 0;
    LPARAM spinPosSecond = 0;
    int enableCalls = 0;
    // of a dialog
    const DialogTemplate* shape = nullptr;
    DLGPROC procedure = nullptr;
    LONG_PTR userData = 0;
    HWND parent = nullptr;
    bool ended = false;
    INT_PTR result = 0;
    std::vector<ScriptedWindow> controls;

    HWND Handle() { return reinterpret_cast<HWND>(this); }
    static ScriptedWindow* Of(HWND handle) { return reinterpret_cast<ScriptedWindow*>(handle); }
    /// Gives a dialog the controls of a template.
    void Make(const DialogTemplate& dialogShape);
    /// Null if there is none.
    ScriptedWindow* Find(int control);
    /// Sends what a control tells its dialog.
    INT_PTR Notify(int control, WORD event);
};

/// Who plays the user, and what was asked for.
struct ScriptedDesktop {
    /// Works with a dialog after its opening, until it has ended. Without one, dialogs cannot be made.
    std::function<void(ScriptedWindow& dialog)> user;
    /// Answers a file chooser: fills lpstrFile and returns true, or returns false. Without one, choosers are cancelled.
    std::function<bool(OPENFILENAMEW& request)> chooser;
    int dialogsOpened = 0;
    /// Ids that a dialog was asked for and does not have.
    std::vector<int> missingControls;

    static ScriptedDesktop& Get();
    void Reset() { *this = {}; }
};

}  // namespace zv::test
