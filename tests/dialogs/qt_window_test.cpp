// The dialog calls over Qt's widgets, and the windows that come of the templates.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QStyleOptionGroupBox>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Common/dialogs/controls.h"
#include "tests/dialogs/qt_face.h"

namespace zv::test {
namespace {

using zvsettings::SettingsWindow;
using zvsettings::SpinArrows;
using Kind = DialogControlKind;

constexpr int kCmykTemplate = 114;
constexpr int kLabTemplate = 128;

LPCWSTR TemplateName(uintptr_t id) { return reinterpret_cast<LPCWSTR>(id); }
WId NoOwner() { return 0; }

struct Notice {
    int id;
    WORD event;
    bool operator==(const Notice&) const = default;
};
void PrintTo(const Notice& notice, std::ostream* out) { *out << notice.id << ":" << notice.event; }

/// What the procedure of the window has heard.
std::vector<Notice> notices;
std::function<void(HWND)> onOpening;

INT_PTR CALLBACK Listen(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG && onOpening) onOpening(window);
    if (message == WM_COMMAND) {
        notices.push_back({LOWORD(first), HIWORD(first)});
        EXPECT_EQ(reinterpret_cast<LPARAM>(GetDlgItem(window, LOWORD(first))), second);
    }
    return TRUE;
}

const DialogTemplate& Template(int id) { return *FindDialogTemplate(static_cast<uintptr_t>(id)); }

std::vector<QWidget*> PartsOf(const SettingsWindow& window) {
    const QList<QWidget*> parts = window.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    return {parts.begin(), parts.end()};
}

QString WithoutMark(QString text) { return text.remove(QLatin1Char('&')); }
QString TextOn(const QWidget* widget) {
    if (const auto* label = qobject_cast<const QLabel*>(widget)) return label->text();
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) return button->text();
    if (const auto* group = qobject_cast<const QGroupBox*>(widget)) return group->title();
    return {};
}
char MarkOf(const QString& text) {
    const qsizetype at = text.indexOf(QLatin1Char('&'));
    return at < 0 ? '\0' : text.at(at + 1).toUpper().toLatin1();
}
std::string PlaceAndText(const QWidget* widget) {
    return std::string(widget->metaObject()->className()) + " \"" + TextOn(widget).toStdString() + "\" at " +
           std::to_string(widget->x()) + "," + std::to_string(widget->y());
}

class QtWindow : public ::testing::Test {
protected:
    void SetUp() override {
        notices.clear();
        onOpening = nullptr;
    }
    void TearDown() override { SetUp(); }

    /// A window that shows without its own event loop.
    static void Show(SettingsWindow& window) {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    template <class Widget>
    static Widget* At(const SettingsWindow& window, int id) {
        auto* widget = dynamic_cast<Widget*>(window.control(id));
        if (widget == nullptr) throw std::runtime_error("no such control " + std::to_string(id));
        return widget;
    }
    static HWND HandleOf(QWidget* widget) { return reinterpret_cast<HWND>(widget); }
    static LRESULT Add(QComboBox* combo, const char16_t* text) {
        return SendMessageW(HandleOf(combo), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    }
};

// The place of every part, in several fonts.

struct Look {
    int dialog;
    const char* family;  ///< null for the system's own font
    int points;
};
void PrintTo(const Look& look, std::ostream* out) {
    *out << look.dialog << " " << (look.family != nullptr ? look.family : "default") << " " << look.points;
}

class QtLook : public ::testing::TestWithParam<Look> {
protected:
    void SetUp() override {
        before_ = QApplication::font();
        if (GetParam().family != nullptr) {
            const QFont font(QString::fromLatin1(GetParam().family), GetParam().points);
            ASSERT_EQ(GetParam().family, QFontInfo(font).family().toStdString()) << "is the font installed?";
            QApplication::setFont(font);
        }
        window_ = std::make_unique<SettingsWindow>(Template(GetParam().dialog), Listen, NoOwner());
        window_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
    }
    void TearDown() override {
        window_.reset();
        QApplication::setFont(before_);
        notices.clear();
    }

    /// Where the style draws the text of a widget.
    static QSize RoomForText(const QWidget* widget) {
        const QStyle* style = widget->style();
        if (const auto* label = qobject_cast<const QLabel*>(widget)) return label->contentsRect().size();
        if (qobject_cast<const QGroupBox*>(widget) != nullptr) return widget->size() - QSize(16, 0);
        QStyleOptionButton option;
        option.initFrom(widget);
        option.text = TextOn(widget);
        if (qobject_cast<const QCheckBox*>(widget) != nullptr) {
            return style->subElementRect(QStyle::SE_CheckBoxContents, &option, widget).size();
        }
        if (qobject_cast<const QRadioButton*>(widget) != nullptr) {
            return style->subElementRect(QStyle::SE_RadioButtonContents, &option, widget).size();
        }
        return style->subElementRect(QStyle::SE_PushButtonContents, &option, widget).size();
    }
    static QSize RoomInCombo(const QComboBox* combo) {
        QStyleOptionComboBox option;
        option.initFrom(combo);
        return combo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo).size();
    }
    static QSize RoomInEdit(const QLineEdit* edit) {
        QStyleOptionFrame option;
        option.initFrom(edit);
        option.lineWidth = edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit);
        const QSize contents = edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit).size();
        return contents - QSize(4, 2);  // the edit's own margins
    }
    /// Inside of the frame and below the title.
    static QRect InsideOf(const QGroupBox* group) {
        QStyleOptionGroupBox option;
        option.initFrom(group);
        option.text = group->title();
        option.lineWidth = 1;
        option.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
        return group->style()
            ->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxContents, group)
            .translated(group->pos());
    }
    static void ExpectFits(const QWidget* widget, const QString& text, QSize room) {
        const QFontMetrics metrics(widget->font());
        EXPECT_LE(metrics.horizontalAdvance(text), room.width()) << PlaceAndText(widget);
        EXPECT_LE(metrics.tightBoundingRect(text).height(), room.height()) << PlaceAndText(widget);
    }

    std::unique_ptr<SettingsWindow> window_;

private:
    QFont before_;
};

TEST_P(QtLook, HasEveryPartOfItsTemplate) {
    const DialogTemplate& shape = Template(GetParam().dialog);
    const std::vector<QWidget*> parts = PartsOf(*window_);
    ASSERT_EQ(shape.controls.size(), parts.size());
    for (size_t i = 0; i < parts.size(); ++i) {
        const DialogControl& control = shape.controls[i];
        EXPECT_TRUE(parts[i]->isVisible()) << PlaceAndText(parts[i]);
        EXPECT_EQ(control.text, TextOn(parts[i]).toStdString());
        EXPECT_EQ(control.id == kNoControlId ? nullptr : parts[i], window_->control(control.id));
    }
    EXPECT_EQ(shape.title, window_->windowTitle().toStdString());
    EXPECT_EQ(window_->minimumSize(), window_->maximumSize());
}

TEST_P(QtLook, NoPartLeavesTheWindowOrCoversAnother) {
    const std::vector<QWidget*> parts = PartsOf(*window_);
    for (size_t i = 0; i < parts.size(); ++i) {
        EXPECT_TRUE(window_->rect().contains(parts[i]->geometry())) << PlaceAndText(parts[i]);
        for (size_t j = i + 1; j < parts.size(); ++j) {
            const auto* group = qobject_cast<QGroupBox*>(parts[i]);
            if (!parts[i]->geometry().intersects(parts[j]->geometry())) continue;
            EXPECT_TRUE(group != nullptr && InsideOf(group).contains(parts[j]->geometry()))
                << PlaceAndText(parts[i]) << " and " << PlaceAndText(parts[j]);
        }
    }
}

TEST_P(QtLook, EveryTextHasItsRoom) {
    for (const QWidget* part : PartsOf(*window_)) {
        if (!TextOn(part).isEmpty()) ExpectFits(part, WithoutMark(TextOn(part)), RoomForText(part));
    }
    const auto* methods = dynamic_cast<QComboBox*>(window_->control(kMethodCombo));
    const auto* whites = dynamic_cast<QComboBox*>(window_->control(kWhiteCombo));
    ExpectFits(methods, QStringLiteral("Custom emulation tables"), RoomInCombo(methods));
    ExpectFits(methods, QStringLiteral("Built-in emulation tables"), RoomInCombo(methods));
    ExpectFits(whites, QStringLiteral("Custom (xyY) point"), RoomInCombo(whites));
    for (const int id : {kWhiteX, kWhiteY}) {
        const auto* edit = dynamic_cast<QLineEdit*>(window_->control(id));
        ExpectFits(edit, QStringLiteral("0.000000"), RoomInEdit(edit));
    }
    if (const auto* gcr = dynamic_cast<QLineEdit*>(window_->control(kGcrEdit))) {
        ExpectFits(gcr, QStringLiteral("1000"), RoomInEdit(gcr));
    }
}

constexpr Look kLooks[] = {{kCmykTemplate, nullptr, 0},         {kLabTemplate, nullptr, 0},
                           {kCmykTemplate, "DejaVu Sans", 9},   {kLabTemplate, "DejaVu Sans", 9},
                           {kCmykTemplate, "DejaVu Sans", 16},  {kLabTemplate, "DejaVu Sans", 16},
                           {kCmykTemplate, "DejaVu Serif", 11}, {kLabTemplate, "DejaVu Serif", 11}};
INSTANTIATE_TEST_SUITE_P(Fonts, QtLook, ::testing::ValuesIn(kLooks), [](const auto& look) {
    std::string family = look.param.family != nullptr ? look.param.family : "Default";
    std::erase(family, ' ');
    return (look.param.dialog == kCmykTemplate ? "Cmyk" : "Lab") + family + std::to_string(look.param.points);
});

// The keyboard.

class QtKeys : public QtWindow, public ::testing::WithParamInterface<int> {};

TEST_P(QtKeys, LabelsLeadToTheControlsBesideThem) {
    const DialogTemplate& shape = Template(GetParam());
    SettingsWindow window(shape, Listen, NoOwner());
    Show(window);
    const std::vector<QWidget*> parts = PartsOf(window);
    ASSERT_EQ(shape.controls.size(), parts.size());
    std::set<char> marks;
    int labels = 0;
    for (size_t i = 0; i < parts.size(); ++i) {
        const char mark = MarkOf(TextOn(parts[i]));
        if (mark == '\0') continue;
        EXPECT_TRUE(marks.insert(mark).second) << "two parts answer to " << mark;
        const auto* label = qobject_cast<QLabel*>(parts[i]);
        if (label == nullptr) continue;
        ++labels;
        ASSERT_LT(i + 1, parts.size());
        EXPECT_EQ(parts[i + 1], label->buddy()) << PlaceAndText(label);
        At<QWidget>(window, IDCANCEL)->setFocus();
        QTest::keyClick(&window, static_cast<Qt::Key>(mark), Qt::AltModifier);
        EXPECT_EQ(parts[i + 1], window.focusWidget()) << mark;
    }
    EXPECT_EQ(8, labels);
    EXPECT_TRUE(notices.empty());
}

TEST_P(QtKeys, MarksOfButtonsPressThem) {
    SettingsWindow window(Template(GetParam()), Listen, NoOwner());
    Show(window);
    std::vector<Notice> expected;
    for (const QWidget* part : PartsOf(window)) {
        const auto* button = qobject_cast<const QAbstractButton*>(part);
        const char mark = MarkOf(TextOn(part));
        if (button == nullptr || mark == '\0') continue;
        for (const DialogControl& control : Template(GetParam()).controls) {
            if (window.control(control.id) == part) expected.push_back({control.id, BN_CLICKED});
        }
        QTest::keyClick(&window, static_cast<Qt::Key>(mark), Qt::AltModifier);
        EXPECT_TRUE(WaitUntil([&] { return button->isChecked(); })) << mark;
    }
    EXPECT_EQ(GetParam() == kCmykTemplate ? 2U : 4U, expected.size());
    EXPECT_EQ(expected, notices);
}

TEST_P(QtKeys, TheTabKeyGoesInTheOrderOfTheTemplate) {
    SettingsWindow window(Template(GetParam()), Listen, NoOwner());
    Show(window);
    EXPECT_EQ(window.control(kMethodCombo), window.focusWidget()) << "the first of them has the keyboard";
    if (auto* radio = dynamic_cast<QRadioButton*>(window.control(kRgbToLabRadio))) radio->setChecked(true);
    std::vector<int> expected;
    for (const DialogControl& control : Template(GetParam()).controls) {
        // Of radio buttons only the checked one.
        const std::set<Kind> passed = {Kind::kGroup, Kind::kLabel, Kind::kSpin, Kind::kRadio};
        if (!passed.contains(control.kind)) expected.push_back(control.id);
    }
    std::vector<int> visited;
    for (size_t i = 0; i < expected.size(); ++i) {
        for (const DialogControl& control : Template(GetParam()).controls) {
            if (control.id != kNoControlId && window.control(control.id) == window.focusWidget()) {
                visited.push_back(control.id);
            }
        }
        QTest::keyClick(&window, Qt::Key_Tab);
    }
    EXPECT_EQ(expected, visited);
    EXPECT_EQ(window.control(kMethodCombo), window.focusWidget()) << "and round again";
    QTest::keyClick(&window, Qt::Key_Backtab);
    EXPECT_EQ(window.control(IDCANCEL), window.focusWidget());
}

TEST_P(QtKeys, EnterPressesOkAndEscapeCancels) {
    SettingsWindow window(Template(GetParam()), Listen, NoOwner());
    Show(window);
    for (const int id : {kMethodCombo, kWhiteX, kFirstProfileEdit, kBgrOrderCheck}) {
        notices.clear();
        auto* control = At<QWidget>(window, id);
        control->setFocus();
        QTest::keyClick(control, Qt::Key_Return);
        EXPECT_EQ((std::vector<Notice>{{IDOK, BN_CLICKED}}), notices) << id;
        QTest::keyClick(control, Qt::Key_Enter);
        EXPECT_EQ((std::vector<Notice>{{IDOK, BN_CLICKED}, {IDOK, BN_CLICKED}}), notices) << id;
        QTest::keyClick(control, Qt::Key_Escape);
        EXPECT_EQ((std::vector<Notice>{{IDOK, BN_CLICKED}, {IDOK, BN_CLICKED}, {IDCANCEL, BN_CLICKED}}), notices) << id;
    }
    EXPECT_TRUE(window.isVisible()) << "only EndDialog ends it";
}

TEST_P(QtKeys, EnterPressesTheButtonThatHasTheKeyboard) {
    SettingsWindow window(Template(GetParam()), Listen, NoOwner());
    Show(window);
    for (const int id : {int{kFirstProfileBrowse}, IDCANCEL, IDOK}) {
        notices.clear();
        At<QWidget>(window, id)->setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        EXPECT_EQ((std::vector<Notice>{{id, BN_CLICKED}}), notices);
    }
}

INSTANTIATE_TEST_SUITE_P(Dialogs, QtKeys, ::testing::Values(kCmykTemplate, kLabTemplate),
                         [](const auto& look) { return look.param == kCmykTemplate ? "Cmyk" : "Lab"; });

TEST_F(QtWindow, TheFrameOnlyAsksForCancel) {
    SettingsWindow window(Template(kCmykTemplate), Listen, NoOwner());
    Show(window);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ((std::vector<Notice>{{IDCANCEL, BN_CLICKED}}), notices);
}

TEST_F(QtWindow, ArrowKeysMoveBetweenRadioButtonsAndTellIt) {
    SettingsWindow window(Template(kLabTemplate), Listen, NoOwner());
    Show(window);
    auto* first = At<QRadioButton>(window, kRgbToLabRadio);
    auto* second = At<QRadioButton>(window, kLabToRgbRadio);
    SendMessageW(HandleOf(first), BM_SETCHECK, BST_CHECKED, 0);
    EXPECT_TRUE(notices.empty());
    first->setFocus();
    QTest::keyClick(first, Qt::Key_Right);
    EXPECT_TRUE(second->isChecked());
    EXPECT_FALSE(first->isChecked());
    EXPECT_EQ((std::vector<Notice>{{kLabToRgbRadio, BN_CLICKED}}), notices);
    QTest::keyClick(second, Qt::Key_Left);
    EXPECT_TRUE(first->isChecked());
    EXPECT_EQ((std::vector<Notice>{{kLabToRgbRadio, BN_CLICKED}, {kRgbToLabRadio, BN_CLICKED}}), notices);
}

// Arrows beside an edit.

class QtSpin : public QtWindow {
protected:
    void SetUp() override {
        QtWindow::SetUp();
        window_ = std::make_unique<SettingsWindow>(Template(kCmykTemplate), Listen, NoOwner());
        edit_ = At<QLineEdit>(*window_, kGcrEdit);
        spin_ = At<SpinArrows>(*window_, kGcrSpin);
        const QList<QToolButton*> arrows = spin_->findChildren<QToolButton*>();
        ASSERT_EQ(2, arrows.size());
        up_ = arrows[0]->arrowType() == Qt::UpArrow ? arrows[0] : arrows[1];
        down_ = up_ == arrows[0] ? arrows[1] : arrows[0];
        SendMessageW(HandleOf(spin_), UDM_SETRANGE, 0, MAKELPARAM(1000, 0));
        Show(*window_);
        edit_->setFocus();
    }
    void Put(int position) { SendMessageW(HandleOf(spin_), UDM_SETPOS, 77, position); }
    std::string Text() const { return edit_->text().toStdString(); }

    std::unique_ptr<SettingsWindow> window_;
    QLineEdit* edit_ = nullptr;
    SpinArrows* spin_ = nullptr;
    QToolButton* up_ = nullptr;
    QToolButton* down_ = nullptr;
};

TEST_F(QtSpin, StandsBesideItsEditOneAboveTheOther) {
    EXPECT_EQ(edit_->geometry().right() + 1, spin_->geometry().left());
    EXPECT_EQ(edit_->geometry().top(), spin_->geometry().top());
    EXPECT_EQ(edit_->geometry().bottom(), spin_->geometry().bottom());
    EXPECT_LT(up_->y(), down_->y());
    EXPECT_EQ(spin_->rect(), up_->geometry().united(down_->geometry()));
}

TEST_F(QtSpin, TakesItsPositionFromTheSecondArgumentAndKeepsItInTheRange) {
    Put(250);
    EXPECT_EQ("250", Text());
    Put(1001);
    EXPECT_EQ("1000", Text());
    Put(0);
    EXPECT_EQ("0", Text());
}

TEST_F(QtSpin, ArrowsAndKeysCountBetweenTheLimits) {
    Put(0);
    QTest::mouseClick(up_, Qt::LeftButton);
    EXPECT_EQ("1", Text());
    QTest::mouseClick(down_, Qt::LeftButton);
    EXPECT_EQ("0", Text());
    QTest::mouseClick(down_, Qt::LeftButton);
    EXPECT_EQ("0", Text());
    QTest::keyClick(edit_, Qt::Key_Down);
    EXPECT_EQ("0", Text());
    QTest::keyClick(edit_, Qt::Key_Up);
    EXPECT_EQ("1", Text());
    Put(999);
    QTest::keyClick(edit_, Qt::Key_Up);
    QTest::keyClick(edit_, Qt::Key_Up);
    EXPECT_EQ("1000", Text());
    QTest::mouseClick(up_, Qt::LeftButton);
    EXPECT_EQ("1000", Text());
    EXPECT_EQ(edit_, window_->focusWidget()) << "arrows take the keyboard from nobody";
    EXPECT_TRUE(notices.empty());
}

TEST_F(QtSpin, GoOnFromWhatWasTypedIfItIsAPosition) {
    Put(5);
    edit_->selectAll();
    QTest::keyClicks(edit_, QStringLiteral("41"));
    QTest::keyClick(edit_, Qt::Key_Up);
    EXPECT_EQ("42", Text());
    for (const char* other : {"abc", "", "1001", "-1", "99999999999"}) {
        Put(5);
        edit_->selectAll();
        QTest::keyClick(edit_, Qt::Key_Delete);
        QTest::keyClicks(edit_, QString::fromLatin1(other));
        EXPECT_EQ(other, Text());
        QTest::keyClick(edit_, Qt::Key_Up);
        EXPECT_EQ("6", Text()) << other;
    }
}

TEST_F(QtSpin, RestWhileTheEditIsDisabled) {
    Put(5);
    EnableWindow(HandleOf(edit_), FALSE);
    EXPECT_FALSE(up_->isEnabled());
    EXPECT_FALSE(down_->isEnabled());
    QTest::mouseClick(up_, Qt::LeftButton);
    QTest::keyClick(edit_, Qt::Key_Up);
    EXPECT_EQ("5", Text());
    EnableWindow(HandleOf(edit_), TRUE);
    QTest::mouseClick(up_, Qt::LeftButton);
    EXPECT_EQ("6", Text());
}

// Combos.

TEST_F(QtWindow, OnlyTheWhitePointComboSorts) {
    SettingsWindow window(Template(kLabTemplate), Listen, NoOwner());
    auto* whites = At<QComboBox>(window, kWhiteCombo);
    EXPECT_EQ(0, Add(whites, u"D50"));
    EXPECT_EQ(1, Add(whites, u"d93"));
    EXPECT_EQ(1, Add(whites, u"D65"));
    EXPECT_EQ(0, Add(whites, u"Custom"));
    EXPECT_EQ(4, Add(whites, u"D93"));
    std::vector<std::string> texts;
    for (int i = 0; i < whites->count(); ++i) texts.push_back(whites->itemText(i).toStdString());
    EXPECT_EQ((std::vector<std::string>{"Custom", "D50", "D65", "d93", "D93"}), texts);

    auto* methods = At<QComboBox>(window, kMethodCombo);
    EXPECT_EQ(0, Add(methods, u"b"));
    EXPECT_EQ(1, Add(methods, u"a"));
    EXPECT_EQ("b", methods->itemText(0).toStdString());
}

TEST_F(QtWindow, ACombosChoiceIsTheUsersOrThatOfTheMessage) {
    SettingsWindow window(Template(kLabTemplate), Listen, NoOwner());
    Show(window);
    auto* combo = At<QComboBox>(window, kMethodCombo);
    const HWND handle = HandleOf(combo);
    EXPECT_EQ(CB_ERR, SendMessageW(handle, CB_GETCURSEL, 0, 0));
    for (const char16_t* text : {u"one", u"two", u"three"}) Add(combo, text);
    EXPECT_EQ(CB_ERR, SendMessageW(handle, CB_GETCURSEL, 0, 0)) << "adding chooses nothing";
    EXPECT_EQ(2, SendMessageW(handle, CB_SETCURSEL, 2, 0));
    EXPECT_EQ(2, SendMessageW(handle, CB_GETCURSEL, 0, 0));
    EXPECT_EQ(CB_ERR, SendMessageW(handle, CB_SETCURSEL, 3, 0));
    EXPECT_EQ(CB_ERR, SendMessageW(handle, CB_GETCURSEL, 0, 0));
    EXPECT_EQ(1, SendMessageW(handle, CB_SETCURSEL, 1, 0));
    EXPECT_EQ(CB_ERR, SendMessageW(handle, CB_SETCURSEL, ~WPARAM{0}, 0));
    SendMessageW(handle, CB_SETCURSEL, 1, 0);
    EXPECT_TRUE(notices.empty()) << "messages are not the user";

    ChooseByKeys(combo, 2);
    EXPECT_EQ((std::vector<Notice>{{kMethodCombo, CBN_SELCHANGE}}), notices);
    EXPECT_EQ(2, SendMessageW(handle, CB_GETCURSEL, 0, 0));
}

TEST_F(QtWindow, TheOpenListTakesAClick) {
    SettingsWindow window(Template(kCmykTemplate), Listen, NoOwner());
    Show(window);
    auto* combo = At<QComboBox>(window, kMethodCombo);
    for (const char16_t* text : {u"one", u"two", u"three"}) Add(combo, text);
    SendMessageW(HandleOf(combo), CB_SETCURSEL, 0, 0);
    QTest::mouseClick(combo, Qt::LeftButton);
    ASSERT_TRUE(WaitUntil([&] { return combo->view()->isVisible(); }));
    // A list that has just opened takes the release of the same click for none.
    QTest::qWait(QApplication::doubleClickInterval());
    const QRect place = combo->view()->visualRect(combo->model()->index(1, 0));
    QTest::mouseMove(combo->view()->viewport(), place.center());
    QTest::mouseClick(combo->view()->viewport(), Qt::LeftButton, Qt::NoModifier, place.center());
    ASSERT_TRUE(WaitUntil([&] { return !combo->view()->isVisible(); }));
    EXPECT_EQ(1, combo->currentIndex());
    EXPECT_EQ((std::vector<Notice>{{kMethodCombo, CBN_SELCHANGE}}), notices);
}

// Other controls.

TEST_F(QtWindow, NamesAreReadButNotTyped) {
    SettingsWindow window(Template(kLabTemplate), Listen, NoOwner());
    Show(window);
    for (const int id : {kFirstProfileEdit, kSecondProfileEdit, kLabTableEdit, kLabToRgbTableEdit}) {
        auto* edit = At<QLineEdit>(window, id);
        QTest::keyClicks(edit, QStringLiteral("typed"));
        EXPECT_EQ("", edit->text().toStdString());
        EXPECT_EQ(TRUE, SetWindowTextW(HandleOf(edit), u"browsed"));
        QTest::keyClick(edit, Qt::Key_Backspace);
        EXPECT_EQ("browsed", edit->text().toStdString());
    }
}

TEST_F(QtWindow, ALimitStopsTypingAndPasting) {
    SettingsWindow window(Template(kLabTemplate), Listen, NoOwner());
    Show(window);
    auto* edit = At<QLineEdit>(window, kWhiteX);
    SendMessageW(HandleOf(edit), EM_LIMITTEXT, 8, 0);
    QTest::keyClicks(edit, QStringLiteral("0.123456789"));
    EXPECT_EQ("0.123456", edit->text().toStdString());
    EXPECT_TRUE(notices.empty());
}

TEST_F(QtWindow, ChecksAreToldOnlyWhenTheUserMakesThem) {
    SettingsWindow window(Template(kCmykTemplate), Listen, NoOwner());
    Show(window);
    auto* check = At<QCheckBox>(window, kBgrOrderCheck);
    EXPECT_EQ(0, SendMessageW(HandleOf(check), BM_SETCHECK, BST_CHECKED, 0));
    EXPECT_EQ(static_cast<LRESULT>(BST_CHECKED), SendMessageW(HandleOf(check), BM_GETCHECK, 0, 0));
    SendMessageW(HandleOf(check), BM_SETCHECK, BST_UNCHECKED, 0);
    EXPECT_EQ(static_cast<LRESULT>(BST_UNCHECKED), SendMessageW(HandleOf(check), BM_GETCHECK, 0, 0));
    EXPECT_TRUE(notices.empty());
    check->setFocus();
    QTest::keyClick(check, Qt::Key_Space);
    EXPECT_EQ((std::vector<Notice>{{kBgrOrderCheck, BN_CLICKED}}), notices);
    EXPECT_EQ(static_cast<LRESULT>(BST_CHECKED), SendMessageW(HandleOf(check), BM_GETCHECK, 0, 0));
}

TEST_F(QtWindow, CallsTellWhatWasBefore) {
    SettingsWindow window(Template(kCmykTemplate), Listen, NoOwner());
    const HWND handle = window.handle();
    EXPECT_EQ(0, SetWindowLongPtrW(handle, GWLP_USERDATA, 0x123456789ABCDEF0));
    EXPECT_EQ(0x123456789ABCDEF0, GetWindowLongPtrW(handle, GWLP_USERDATA)) << "all 64 bits";
    EXPECT_EQ(0x123456789ABCDEF0, SetWindowLongPtrW(handle, GWLP_USERDATA, 5));
    EXPECT_EQ(0, SetWindowLongPtrW(handle, 0, 7));
    EXPECT_EQ(0, GetWindowLongPtrW(handle, 0));
    EXPECT_EQ(5, GetWindowLongPtrW(handle, GWLP_USERDATA));

    const HWND edit = GetDlgItem(handle, kWhiteX);
    EXPECT_EQ(FALSE, EnableWindow(edit, FALSE)) << "it was not disabled before";
    EXPECT_FALSE(window.control(kWhiteX)->isEnabled());
    EXPECT_EQ(TRUE, EnableWindow(edit, TRUE));
    EXPECT_TRUE(window.control(kWhiteX)->isEnabled());

    EXPECT_EQ(TRUE, SetWindowTextW(handle, u"title \u20AC"));
    EXPECT_EQ("title \u20AC", window.windowTitle().toStdString());
    EXPECT_EQ(TRUE, SetWindowTextW(GetDlgItem(handle, IDOK), u"Yes"));
    EXPECT_EQ("Yes", TextOn(window.control(IDOK)).toStdString());
    EXPECT_EQ(FALSE, SetWindowTextW(GetDlgItem(handle, kMethodCombo), u"no text of its own"));
}

TEST_F(QtWindow, UnknownHandlesAndMessagesDoNothing) {
    SettingsWindow window(Template(kCmykTemplate), Listen, NoOwner());
    const HWND real = window.handle();
    QWidget stranger;
    auto* gone = new QWidget;
    const HWND dead = HandleOf(gone);
    delete gone;
    const HWND handles[] = {nullptr, HandleOf(&stranger), dead, reinterpret_cast<HWND>(uintptr_t{0x10})};
    for (const HWND handle : handles) {
        EXPECT_EQ(FALSE, EndDialog(handle, 1));
        EXPECT_EQ(nullptr, GetDlgItem(handle, IDOK));
        EXPECT_EQ(0, SetWindowLongPtrW(handle, GWLP_USERDATA, 1));
        EXPECT_EQ(0, GetWindowLongPtrW(handle, GWLP_USERDATA));
        EXPECT_EQ(FALSE, SetWindowTextW(handle, u"text"));
        for (const UINT message : {CB_ADDSTRING, CB_SETCURSEL, CB_GETCURSEL, BM_GETCHECK, BM_SETCHECK, EM_LIMITTEXT,
                                   UDM_SETRANGE, UDM_SETPOS, WM_COMMAND}) {
            EXPECT_EQ(0, SendMessageW(handle, message, 0, 0));
        }
    }
    EXPECT_EQ(FALSE, EnableWindow(nullptr, FALSE));
    EXPECT_EQ(FALSE, EnableWindow(dead, FALSE));
    EXPECT_EQ(nullptr, GetDlgItem(real, 999));
    EXPECT_EQ(nullptr, GetDlgItem(real, kNoControlId));
    EXPECT_EQ(FALSE, EndDialog(GetDlgItem(real, IDOK), 1)) << "a control is no dialog";
    for (const DialogControl& control : Template(kCmykTemplate).controls) {
        if (control.id == kNoControlId) continue;
        for (const UINT message : {0U, UINT{WM_COMMAND}, 0xFFFFU}) {
            EXPECT_EQ(0, SendMessageW(GetDlgItem(real, control.id), message, 1, 1)) << control.id;
        }
        // What one kind understands is nothing to the others.
        EXPECT_LE(SendMessageW(GetDlgItem(real, control.id), EM_LIMITTEXT, 8, 0), 1);
        EXPECT_LE(SendMessageW(GetDlgItem(real, control.id), UDM_SETPOS, 0, 0), 0);
    }
    EXPECT_TRUE(notices.empty());
    EXPECT_EQ(FALSE, GetOpenFileNameW(nullptr));
    OPENFILENAMEW request = {};
    EXPECT_EQ(FALSE, GetOpenFileNameW(&request)) << "there is no room for a name";
}

// The run of a dialog.

TEST_F(QtWindow, ATemplateThatIsNoneShowsNothing) {
    onOpening = [](HWND) { ADD_FAILURE() << "a dialog opened"; };
    for (const uintptr_t id : {uintptr_t{0}, uintptr_t{115}, uintptr_t{129}, ~uintptr_t{0}}) {
        EXPECT_EQ(-1, DialogBoxParamW(nullptr, TemplateName(id), nullptr, Listen, 0));
    }
}

TEST_F(QtWindow, ADialogMayEndWhileItOpens) {
    bool shown = false;
    onOpening = [&](HWND window) {
        EXPECT_EQ(TRUE, EndDialog(window, 42));
        EXPECT_EQ(TRUE, EndDialog(window, 43)) << "but the first result counts";
        shown = SettingsWindow::of(window)->isVisible();
    };
    EXPECT_EQ(42, DialogBoxParamW(nullptr, TemplateName(kCmykTemplate), nullptr, Listen, 0));
    EXPECT_FALSE(shown);
}

TEST_F(QtWindow, AnEndedDialogTellsItsProcedureNothing) {
    INT_PTR result = 0;
    QTimer::singleShot(0, [&] {
        SettingsWindow* window = OpenDialog();
        ASSERT_NE(nullptr, window);
        EXPECT_EQ(TRUE, EndDialog(window->handle(), 7));
        At<QPushButton>(*window, IDOK)->click();
        window->close();
    });
    result = DialogBoxParamW(nullptr, TemplateName(kLabTemplate), nullptr, Listen, 0);
    EXPECT_EQ(7, result);
    EXPECT_TRUE(notices.empty());
}

TEST_F(QtWindow, TheProcedureGetsTheParameterFirst) {
    static std::vector<std::pair<UINT, LPARAM>> heard;
    heard.clear();
    const DLGPROC procedure = [](HWND window, UINT message, WPARAM, LPARAM second) -> INT_PTR {
        heard.emplace_back(message, second);
        EndDialog(window, -5);
        return TRUE;
    };
    EXPECT_EQ(-5, DialogBoxParamW(nullptr, TemplateName(kCmykTemplate), nullptr, procedure, 0x123456789ABCDEF0));
    EXPECT_EQ((std::vector<std::pair<UINT, LPARAM>>{{WM_INITDIALOG, 0x123456789ABCDEF0}}), heard);
}

}  // namespace
}  // namespace zv::test
