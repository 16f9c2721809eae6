// A user of the settings dialogs. The same tests run against three faces: dialog calls that only keep records, the
// windows of Windows, and those of Qt. Each test program brings its own PlayDialogOf.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "zvclr.h"

namespace zv::test {

/// A name or text of the library's interface, for strings of the tests.
using Text = std::basic_string<ZvChar>;

/// What a file chooser showed.
struct ChooserSeen {
    bool opened = false;
    Text title;
    Text filterText;
    Text filterPattern;  ///< empty where a person cannot see it
};

/// Looks at an open dialog and works with it as a person does: what is disabled does not react.
class DialogUser {
public:
    virtual ~DialogUser() = default;

    virtual Text Title() = 0;
    virtual bool Exists(int control) = 0;
    virtual bool IsEnabled(int control) = 0;
    virtual bool IsChecked(int control) = 0;
    /// Of an edit, a button or a group.
    virtual Text TextOf(int control) = 0;
    virtual std::vector<Text> Items(int combo) = 0;
    virtual int Selected(int combo) = 0;

    virtual void Choose(int combo, int index) = 0;
    /// Replaces the text of an edit by typing.
    virtual void Type(int edit, const Text& text) = 0;
    /// A check box, a radio button, OK or Cancel.
    virtual void Click(int button) = 0;
    /// Presses a button "..." and takes that file in the chooser; an empty name cancels it.
    virtual ChooserSeen Browse(int button, const Text& file) = 0;
    /// Closes the window by its frame.
    virtual void Close() = 0;
};

/// Makes a call that may show one dialog, and runs `script` as the user of that dialog. A script that leaves the dialog
/// open fails the test, and the dialog is cancelled. Returns the result of the call.
int32_t PlayDialogOf(const std::function<int32_t()>& call, const std::function<void(DialogUser&)>& script);

inline int32_t PlayDialog(int32_t dialogType, ClrHandle** converterOut, ClrParams* params,
                          const std::function<void(DialogUser&)>& script) {
    return PlayDialogOf([&] { return Zv_ClrDlg(dialogType, nullptr, converterOut, params); }, script);
}

/// Dialogs that this face has opened so far.
int DialogsOpened();

}  // namespace zv::test
