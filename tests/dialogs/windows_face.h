// The user of the dialogs that Windows shows.
#pragma once

#include "host/dialogs.h"
#include "tests/dialogs/dialog_user.h"

namespace zv::test {

/// What PlayDialogOf gives a script here; works from a thread of its own, so it only sees what the dialog's thread
/// answers.
class WindowsUser : public DialogUser {
public:
    explicit WindowsUser(HWND dialog) : dialog_(dialog) {}
    static WindowsUser& Of(DialogUser& user) { return dynamic_cast<WindowsUser&>(user); }

    HWND Dialog() const { return dialog_; }
    HWND Control(int id) const;
    /// The dialog's thread answers within a time limit, or the script ends here.
    LRESULT Send(HWND window, UINT message, WPARAM first = 0, LPARAM second = 0) const;
    Text TextOf(HWND window) const;
    /// The control that the keyboard goes to; null for none.
    HWND Focus() const;
    /// Presses a key wherever the keyboard goes to now.
    void Press(WPARAM key) const;
    void PressWithAlt(char letter) const;
    /// Waits until it is so, within a time limit; false if it never is.
    bool Becomes(const std::function<bool()>& so) const;

    Text Title() override;
    bool Exists(int control) override;
    bool IsEnabled(int control) override;
    bool IsChecked(int control) override;
    Text TextOf(int control) override;
    std::vector<Text> Items(int combo) override;
    int Selected(int combo) override;
    void Choose(int combo, int index) override;
    void Type(int edit, const Text& text) override;
    void Click(int button) override;
    ChooserSeen Browse(int button, const Text& file) override;
    void Close() override;

private:
    void PostKey(UINT message, WPARAM key, LPARAM details) const;

    HWND dialog_;
};

/// What the library last asked the system's file chooser for.
struct ChooserRequest {
    int count = 0;    ///< requests so far
    int answers = 0;  ///< and how many came back
    HWND owner = nullptr;
    Text title;
    Text filterText;
    Text filterPattern;
    bool filterEnds = false;
    DWORD filterIndex = 0;
    DWORD length = 0;
    DWORD flags = 0;
    bool emptyName = false;
};
ChooserRequest LastChooserRequest();

}  // namespace zv::test
