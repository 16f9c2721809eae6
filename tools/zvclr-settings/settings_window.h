// A dialog of a template in Qt's widgets, driven by the platform's dialog calls.
#ifndef ZVCLR_TOOLS_SETTINGS_WINDOW_H
#define ZVCLR_TOOLS_SETTINGS_WINDOW_H

#include <QDialog>
#include <QHash>
#include <memory>

#include "host/dialogs.h"
#include "resources/dialog_templates.h"

class QLineEdit;
class QWindow;

namespace zvsettings {

/// The arrows beside an edit for a number: what an up-down control of Windows is to its buddy.
class SpinArrows : public QWidget {
public:
    SpinArrows(QWidget* parent, QLineEdit* buddy);

    void setRange(int lowest, int highest);
    /// Writes the number into the edit, kept in the range.
    void setPosition(int position);

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void step(int by);

    QLineEdit* buddy_;
    QWidget* up_;
    QWidget* down_;
    int lowest_ = 0;
    int highest_ = 100;
    int position_ = 0;
};

class SettingsWindow : public QDialog {
public:
    /// `owner` is the number of a window of the window system, or 0.
    SettingsWindow(const zv::DialogTemplate& shape, DLGPROC procedure, WId owner);
    ~SettingsWindow() override;

    /// Opens the dialog and waits until it has ended.
    INT_PTR run(LPARAM parameter);
    void end(INT_PTR result);
    void reject() override;

    QWidget* control(int id) const { return controls_.value(id); }
    LONG_PTR userData = 0;

    HWND handle() { return reinterpret_cast<HWND>(static_cast<QWidget*>(this)); }
    /// Null for what is no widget of this program, or none any more.
    static QWidget* widgetOf(HWND window);
    /// Null for what is no dialog.
    static SettingsWindow* of(HWND window) { return dynamic_cast<SettingsWindow*>(widgetOf(window)); }

private:
    QRect placeOf(const zv::DialogControl& control) const;
    QWidget* make(const zv::DialogControl& control);
    QWidget* makeCombo(const zv::DialogControl& control, bool sorted);
    QWidget* makeButton(const zv::DialogControl& control);
    void notify(int id, WORD event);

    void belongTo(WId owner);

    DLGPROC procedure_;
    WId owner_;
    std::unique_ptr<QWindow> ownerWindow_;
    QHash<int, QWidget*> controls_;
    QLineEdit* lastEdit_ = nullptr;
    double unitWidth_;
    double unitHeight_;
    bool ended_ = false;
    INT_PTR result_ = 0;
};

}  // namespace zvsettings

#endif
