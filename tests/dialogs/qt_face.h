// The user of the dialogs that Qt shows, for tests of this face alone.
#pragma once

#include <QComboBox>
#include <functional>

#include "settings_window.h"
#include "tests/dialogs/dialog_user.h"

namespace zv::test {

/// Waits until it is so, and lets windows work meanwhile; false if it never is.
bool WaitUntil(const std::function<bool()>& so);

/// By the arrow keys, so that the combo itself tells the dialog.
void ChooseByKeys(QComboBox* combo, int index);

/// The dialog that is open now; null for none.
zvsettings::SettingsWindow* OpenDialog();

/// Takes that file in the chooser that `open` waits for; an empty name cancels it.
ChooserSeen VisitChooser(QWidget* owner, const Text& file, const std::function<void()>& open);

}  // namespace zv::test
