#include "tests/support/scripted_dialogs.h"

#include <algorithm>
#include <iterator>
#include <utility>

using zv::test::ScriptedDesktop;
using zv::test::ScriptedWindow;

namespace zv::test {

ScriptedDesktop& ScriptedDesktop::Get() {
    static ScriptedDesktop desktop;
    return desktop;
}

void ScriptedWindow::Make(const DialogTemplate& dialogShape) {
    shape = &dialogShape;
    for (const DialogControl& control : dialogShape.controls) {
        ScriptedWindow& window = controls.emplace_back();
        window.dialog = this;
        window.id = control.id;
        window.kind = control.kind;
        for (const char* c = control.text; *c != 0; ++c) window.text.push_back(static_cast<char16_t>(*c));
    }
}

ScriptedWindow* ScriptedWindow::Find(int control) {
    const auto found = std::ranges::find(controls, control, &ScriptedWindow::id);
    return found == controls.end() ? nullptr : &*found;
}

INT_PTR ScriptedWindow::Notify(int control, WORD event) {
    return procedure(Handle(), WM_COMMAND, MAKEWPARAM(control, event),
                     reinterpret_cast<LPARAM>(GetDlgItem(Handle(), control)));
}

namespace {

/// In the edit before the arrows, which they belong to.
void ShowPosition(const ScriptedWindow& spin) {
    const auto low = static_cast<int16_t>(HIWORD(spin.spinRange));
    const auto high = static_cast<int16_t>(LOWORD(spin.spinRange));
    const int shown = std::clamp<int>(static_cast<int16_t>(LOWORD(spin.spinPosSecond)), low, high);
    auto& controls = spin.dialog->controls;
    const auto place = std::ranges::find(controls, spin.id, &ScriptedWindow::id);
    const std::string digits = std::to_string(shown);
    if (place != controls.begin()) std::prev(place)->text.assign(digits.begin(), digits.end());
}

}  // namespace

}  // namespace zv::test

using zv::test::ShowPosition;

INT_PTR DialogBoxParamW(HINSTANCE, LPCWSTR templateName, HWND parent, DLGPROC procedure, LPARAM parameter) {
    ScriptedDesktop& desktop = ScriptedDesktop::Get();
    ScriptedWindow dialog;
    const zv::DialogTemplate* const shape = zv::FindDialogTemplate(reinterpret_cast<uintptr_t>(templateName));
    if (shape == nullptr || !desktop.user) return -1;
    ++desktop.dialogsOpened;
    dialog.procedure = procedure;
    dialog.parent = parent;
    dialog.Make(*shape);
    procedure(dialog.Handle(), WM_INITDIALOG, 0, parameter);
    if (!dialog.ended) desktop.user(dialog);
    return dialog.ended ? dialog.result : -1;
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
    ScriptedWindow* window = ScriptedWindow::Of(dialog);
    if (window == nullptr) return FALSE;
    if (!window->ended) window->result = result;
    window->ended = true;
    return TRUE;
}

HWND GetDlgItem(HWND dialog, int id) {
    ScriptedWindow* window = ScriptedWindow::Of(dialog);
    ScriptedWindow* control = window == nullptr ? nullptr : window->Find(id);
    if (control == nullptr) ScriptedDesktop::Get().missingControls.push_back(id);
    return control == nullptr ? nullptr : control->Handle();
}

LRESULT SendMessageW(HWND handle, UINT message, WPARAM first, LPARAM second) {
    ScriptedWindow* window = ScriptedWindow::Of(handle);
    if (window == nullptr) return 0;
    switch (message) {
        case CB_ADDSTRING: {
            const std::u16string text = reinterpret_cast<const char16_t*>(second);
            const bool sorted = window->kind == zv::DialogControlKind::kWhites;
            const auto place = sorted ? std::ranges::upper_bound(window->items, text) : window->items.end();
            return window->items.insert(place, text) - window->items.begin();
        }
        case CB_SETCURSEL:
            window->selected = first < window->items.size() ? static_cast<int>(first) : -1;
            return window->selected;
        case CB_GETCURSEL:
            return window->selected;
        case EM_LIMITTEXT:
            window->textLimit = first;
            return 1;
        case BM_GETCHECK:
            return window->checked ? 1 : 0;
        case BM_SETCHECK:
            window->checked = first == BST_CHECKED;
            return 0;
        case UDM_SETRANGE:
            window->spinRangeFirst = first;
            window->spinRange = second;
            return 0;
        case UDM_SETPOS:
            window->spinPosFirst = first;
            window->spinPosSecond = second;
            ShowPosition(*window);
            return 0;
        default:
            return 0;
    }
}

BOOL EnableWindow(HWND handle, BOOL enable) {
    ScriptedWindow* window = ScriptedWindow::Of(handle);
    if (window == nullptr) return FALSE;
    ++window->enableCalls;
    const bool before = window->enabled;
    window->enabled = enable != FALSE;
    return before ? FALSE : TRUE;
}

BOOL SetWindowTextW(HWND handle, LPCWSTR text) {
    ScriptedWindow* window = ScriptedWindow::Of(handle);
    if (window == nullptr) return FALSE;
    window->text = text;
    return TRUE;
}

LONG_PTR GetWindowLongPtrW(HWND handle, int index) {
    return index == GWLP_USERDATA && handle != nullptr ? ScriptedWindow::Of(handle)->userData : 0;
}

LONG_PTR SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
    if (index != GWLP_USERDATA || handle == nullptr) return 0;
    return std::exchange(ScriptedWindow::Of(handle)->userData, value);
}

BOOL GetOpenFileNameW(OPENFILENAMEW* request) {
    const auto& chooser = ScriptedDesktop::Get().chooser;
    return chooser && chooser(*request) ? TRUE : FALSE;
}
