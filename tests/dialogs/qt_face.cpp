// The dialogs as Qt shows them: everything happens on the thread of the call, in the event loop of the dialog.
#include "tests/dialogs/qt_face.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QGroupBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <exception>

namespace zv::test {

using zvsettings::SettingsWindow;

namespace {

// Far more than a busy machine takes, and less than the time limit of a test.
constexpr std::chrono::seconds kPatience{25};
constexpr std::chrono::milliseconds kGlance{2};

int dialogsOpened = 0;

Text TextFrom(const QString& text) {
    const std::u16string units = text.toStdU16String();
    return {units.begin(), units.end()};
}
QString StringFrom(const Text& text) { return QString::fromUtf16(text.c_str(), static_cast<qsizetype>(text.size())); }

/// The window that has stopped all others.
template <class Window>
Window* ModalWindow() {
    return dynamic_cast<Window*>(QApplication::activeModalWidget());
}

/// What a person does in a chooser; the chooser's own event loop runs it.
class ChooserVisit {
public:
    ChooserVisit(QWidget* dialog, const Text& file) : dialog_(dialog), file_(file) {
        QObject::connect(&glances_, &QTimer::timeout, [this] { Look(); });
        glances_.start(kGlance);
    }
    const ChooserSeen& Seen() const { return seen_; }

private:
    void Look() {
        if (auto* complaint = ModalWindow<QMessageBox>()) {
            ADD_FAILURE() << "the chooser says: " << complaint->text().toStdString();
            complaint->reject();
            if (auto* chooser = ModalWindow<QFileDialog>()) chooser->reject();
            return;
        }
        auto* chooser = ModalWindow<QFileDialog>();
        if (chooser == nullptr || seen_.opened || !chooser->isVisible()) return;
        seen_.opened = true;
        seen_.title = TextFrom(chooser->windowTitle());
        seen_.filterText = TextFrom(chooser->selectedNameFilter());
        // What the list of files goes by.
        if (const auto* files = chooser->findChild<QFileSystemModel*>()) {
            seen_.filterPattern = TextFrom(files->nameFilters().join(QLatin1Char(' ')));
        }
        EXPECT_EQ(dialog_, chooser->parentWidget());
        auto* buttons = chooser->findChild<QDialogButtonBox*>();
        auto* name = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        if (buttons == nullptr || name == nullptr) {
            ADD_FAILURE() << "the chooser is not Qt's own";
            return chooser->reject();
        }
        EXPECT_EQ("", name->text().toStdString());
        name->setText(StringFrom(file_));
        QPushButton* button = buttons->button(file_.empty() ? QDialogButtonBox::Cancel : QDialogButtonBox::Open);
        if (!button->isEnabled()) {
            ADD_FAILURE() << "the chooser does not take the file";
            return chooser->reject();
        }
        // Not in this turn of the timer, which could then not look at a complaint.
        QTimer::singleShot(0, button, [button] { QTest::mouseClick(button, Qt::LeftButton); });
    }

    QWidget* dialog_;
    Text file_;
    ChooserSeen seen_;
    QTimer glances_;
};

class QtUser : public DialogUser {
public:
    explicit QtUser(SettingsWindow& dialog) : dialog_(dialog) {}

    Text Title() override { return TextFrom(dialog_.windowTitle()); }
    bool Exists(int control) override { return dialog_.control(control) != nullptr; }
    bool IsEnabled(int control) override { return At<QWidget>(control)->isEnabled(); }
    bool IsChecked(int control) override { return At<QAbstractButton>(control)->isChecked(); }
    Text TextOf(int control) override {
        auto* widget = At<QWidget>(control);
        if (auto* edit = qobject_cast<QLineEdit*>(widget)) return TextFrom(edit->text());
        if (auto* group = qobject_cast<QGroupBox*>(widget)) return TextFrom(group->title());
        return TextFrom(At<QAbstractButton>(control)->text());
    }
    std::vector<Text> Items(int combo) override {
        auto* widget = At<QComboBox>(combo);
        std::vector<Text> items;
        for (int i = 0; i < widget->count(); ++i) items.push_back(TextFrom(widget->itemText(i)));
        return items;
    }
    int Selected(int combo) override { return At<QComboBox>(combo)->currentIndex(); }

    void Choose(int combo, int index) override { ChooseByKeys(At<QComboBox>(combo), index); }

    void Type(int edit, const Text& text) override {
        auto* widget = At<QLineEdit>(edit);
        QTest::mouseClick(widget, Qt::LeftButton);
        QTest::keyClick(widget, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(widget, Qt::Key_Backspace);
        QTest::keyClicks(widget, StringFrom(text));
    }

    void Click(int button) override {
        auto* widget = At<QAbstractButton>(button);
        // Check boxes react where they show something.
        QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, QPoint(8, widget->height() / 2));
    }

    ChooserSeen Browse(int button, const Text& file) override {
        return VisitChooser(&dialog_, file, [&] { Click(button); });
    }

    void Close() override { dialog_.close(); }

private:
    template <class Widget>
    Widget* At(int control) {
        auto* widget = dynamic_cast<Widget*>(dialog_.control(control));
        if (widget == nullptr) throw std::runtime_error("no such control " + std::to_string(control));
        return widget;
    }

    SettingsWindow& dialog_;
};

void RunScript(SettingsWindow& dialog, const std::function<void(DialogUser&)>& script) {
    ++dialogsOpened;
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog)) << "the keyboard does not go to the dialog";
    QtUser user(dialog);
    try {
        script(user);
    } catch (const std::exception& fault) {
        ADD_FAILURE() << "the script ended by: " << fault.what();
    }
    if (!dialog.isVisible()) return;
    ADD_FAILURE() << "the dialog was left open";
    dialog.reject();
}

}  // namespace

bool WaitUntil(const std::function<bool()>& so) {
    return QTest::qWaitFor(so, static_cast<int>(std::chrono::milliseconds(kPatience).count()));
}

void ChooseByKeys(QComboBox* combo, int index) {
    if (!combo->isEnabled()) return;
    for (int at = combo->currentIndex(); at != index;) {
        QTest::keyClick(combo, at < index ? Qt::Key_Down : Qt::Key_Up);
        const int now = combo->currentIndex();
        if (now == at) {
            ADD_FAILURE() << "the combo stays at " << at << " on the way to " << index;
            return;
        }
        at = now;
    }
}

SettingsWindow* OpenDialog() {
    auto* dialog = ModalWindow<SettingsWindow>();
    return dialog != nullptr && dialog->isVisible() ? dialog : nullptr;
}

ChooserSeen VisitChooser(QWidget* owner, const Text& file, const std::function<void()>& open) {
    const ChooserVisit visit(owner, file);
    open();
    return visit.Seen();
}

int32_t PlayDialogOf(const std::function<int32_t()>& call, const std::function<void(DialogUser&)>& script) {
    bool played = false;
    QTimer glances;
    QObject::connect(&glances, &QTimer::timeout, [&] {
        SettingsWindow* dialog = OpenDialog();
        if (dialog == nullptr) return;
        EXPECT_FALSE(played) << "a second dialog";
        played = true;
        RunScript(*dialog, script);
    });
    glances.start(kGlance);
    QTimer patience;
    QObject::connect(&patience, &QTimer::timeout, [] {
        ADD_FAILURE() << "a window is stuck";
        if (auto* window = ModalWindow<QDialog>()) window->reject();
    });
    patience.start(kPatience);
    return call();
}

int DialogsOpened() { return dialogsOpened; }

}  // namespace zv::test

namespace {

/// Without what the offscreen platform says of every window.
void Report(QtMsgType, const QMessageLogContext&, const QString& text) {
    if (!text.startsWith(QLatin1String("This plugin does not support"))) std::fprintf(stderr, "%s\n", qPrintable(text));
}

}  // namespace

int main(int argc, char** argv) {
    // Without a display, unless somebody wants to watch.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(Report);
    ::testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
