// The platform's dialog calls over Qt's widgets.
#include <QAbstractButton>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <algorithm>
#include <utility>

#include "host/dialogs.h"
#include "settings_window.h"

using zvsettings::SettingsWindow;
using zvsettings::SpinArrows;

namespace {

/// The texts of a filter: pairs of what it is called and what it matches, behind the last a zero.
QStringList filtersOf(LPCWSTR filter) {
    QStringList filters;
    while (filter != nullptr && *filter != 0) {
        const QString text = QString::fromUtf16(filter);
        filter += text.size() + 1;
        const QString pattern = QString::fromUtf16(filter);
        filter += pattern.size() + 1;
        // Qt takes the pattern from the brackets.
        filters << text.section(QLatin1Char('('), 0, 0).trimmed() + QStringLiteral(" (%1)").arg(pattern);
    }
    return filters;
}

LRESULT addToCombo(QComboBox* combo, LPARAM text) {
    const QString added = QString::fromUtf16(reinterpret_cast<const char16_t*>(text));
    int index = combo->count();
    if (combo->insertPolicy() == QComboBox::InsertAlphabetically) {
        index = 0;
        while (index < combo->count() && QString::compare(combo->itemText(index), added, Qt::CaseInsensitive) <= 0) {
            ++index;
        }
    }
    const int selected = combo->currentIndex();
    combo->insertItem(index, added);
    // Qt chooses the first item by itself.
    if (selected < 0) combo->setCurrentIndex(-1);
    return index;
}

LRESULT comboMessage(QComboBox* combo, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case CB_ADDSTRING:
            return addToCombo(combo, second);
        case CB_GETCURSEL:
            return combo->currentIndex();
        case CB_SETCURSEL:
            combo->setCurrentIndex(first < static_cast<WPARAM>(combo->count()) ? static_cast<int>(first) : -1);
            return combo->currentIndex();
        default:
            return 0;
    }
}

LRESULT buttonMessage(QAbstractButton* button, UINT message, WPARAM first) {
    switch (message) {
        case BM_GETCHECK:
            return static_cast<LRESULT>(button->isChecked() ? BST_CHECKED : BST_UNCHECKED);
        case BM_SETCHECK:
            button->setChecked(first == BST_CHECKED);
            return 0;
        default:
            return 0;
    }
}

LRESULT spinMessage(SpinArrows* spin, UINT message, LPARAM second) {
    switch (message) {
        case UDM_SETRANGE:
            spin->setRange(static_cast<int16_t>(HIWORD(second)), static_cast<int16_t>(LOWORD(second)));
            return 0;
        case UDM_SETPOS:
            spin->setPosition(static_cast<int16_t>(LOWORD(second)));
            return 0;
        default:
            return 0;
    }
}

}  // namespace

INT_PTR DialogBoxParamW(HINSTANCE, LPCWSTR templateName, HWND parent, DLGPROC procedure, LPARAM parameter) {
    const zv::DialogTemplate* shape = zv::FindDialogTemplate(reinterpret_cast<uintptr_t>(templateName));
    if (shape == nullptr) return -1;
    SettingsWindow window(*shape, procedure, reinterpret_cast<WId>(parent));
    return window.run(parameter);
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
    SettingsWindow* window = SettingsWindow::of(dialog);
    if (window == nullptr) return FALSE;
    window->end(result);
    return TRUE;
}

HWND GetDlgItem(HWND dialog, int id) {
    const SettingsWindow* window = SettingsWindow::of(dialog);
    return window == nullptr ? nullptr : reinterpret_cast<HWND>(window->control(id));
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM first, LPARAM second) {
    QWidget* widget = SettingsWindow::widgetOf(window);
    if (auto* combo = qobject_cast<QComboBox*>(widget)) return comboMessage(combo, message, first, second);
    if (auto* button = qobject_cast<QAbstractButton*>(widget)) return buttonMessage(button, message, first);
    if (auto* spin = dynamic_cast<SpinArrows*>(widget)) return spinMessage(spin, message, second);
    if (auto* edit = qobject_cast<QLineEdit*>(widget); edit != nullptr && message == EM_LIMITTEXT) {
        edit->setMaxLength(static_cast<int>(first));
        return 1;
    }
    return 0;
}

BOOL EnableWindow(HWND window, BOOL enable) {
    QWidget* widget = SettingsWindow::widgetOf(window);
    if (widget == nullptr) return FALSE;
    const bool before = widget->isEnabled();
    widget->setEnabled(enable != FALSE);
    return before ? FALSE : TRUE;
}

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
    QWidget* widget = SettingsWindow::widgetOf(window);
    const QString value = QString::fromUtf16(text);
    if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
        edit->setText(value);
    } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
        button->setText(value);
    } else if (auto* dialog = qobject_cast<QDialog*>(widget)) {
        dialog->setWindowTitle(value);
    } else {
        return FALSE;
    }
    return TRUE;
}

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
    const SettingsWindow* dialog = SettingsWindow::of(window);
    return dialog != nullptr && index == GWLP_USERDATA ? dialog->userData : 0;
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    SettingsWindow* dialog = SettingsWindow::of(window);
    return dialog != nullptr && index == GWLP_USERDATA ? std::exchange(dialog->userData, value) : 0;
}

BOOL GetOpenFileNameW(OPENFILENAMEW* request) {
    if (request == nullptr || request->lpstrFile == nullptr) return FALSE;
    QFileDialog chooser(SettingsWindow::widgetOf(request->hwndOwner), QString::fromUtf16(request->lpstrTitle));
    chooser.setFileMode(QFileDialog::ExistingFile);
    QStringList filters = filtersOf(request->lpstrFilter);
    if (request->nFilterIndex >= 1 && request->nFilterIndex <= static_cast<DWORD>(filters.size())) {
        filters.move(static_cast<qsizetype>(request->nFilterIndex) - 1, 0);
    }
    // In the chooser of Windows a typed pattern shows all files; that of Qt needs a filter for it.
    filters << QFileDialog::tr("All Files (*)");
    chooser.setNameFilters(filters);
    if (chooser.exec() != QDialog::Accepted || chooser.selectedFiles().size() != 1) return FALSE;
    const QString name = chooser.selectedFiles().constFirst();
    if (static_cast<DWORD>(name.size()) >= request->nMaxFile) return FALSE;
    std::copy_n(reinterpret_cast<const char16_t*>(name.utf16()), name.size() + 1, request->lpstrFile);
    return TRUE;
}
