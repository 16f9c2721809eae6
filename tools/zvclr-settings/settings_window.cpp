#include "settings_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontMetricsF>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QWindow>
#include <algorithm>

namespace zvsettings {

namespace {

using Kind = zv::DialogControlKind;

// The height of a closed combo: that of an edit. Templates give the open list's.
constexpr int kComboHeight = 14;
// Qt's edits have their text in the middle, a little lower than those of Windows: labels go with it.
constexpr int kLabelDrop = 1;

QToolButton* makeArrow(QWidget* parent, Qt::ArrowType arrow) {
    auto* button = new QToolButton(parent);
    button->setArrowType(arrow);
    button->setAutoRepeat(true);
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

}  // namespace

SpinArrows::SpinArrows(QWidget* parent, QLineEdit* buddy) : QWidget(parent), buddy_(buddy) {
    auto* up = makeArrow(this, Qt::UpArrow);
    auto* down = makeArrow(this, Qt::DownArrow);
    up_ = up;
    down_ = down;
    connect(up, &QToolButton::clicked, this, [this] { step(1); });
    connect(down, &QToolButton::clicked, this, [this] { step(-1); });
    buddy_->installEventFilter(this);
}

void SpinArrows::setRange(int lowest, int highest) {
    lowest_ = lowest;
    highest_ = highest;
}

void SpinArrows::setPosition(int position) {
    position_ = std::clamp(position, lowest_, highest_);
    buddy_->setText(QString::number(position_));
}

void SpinArrows::step(int by) {
    if (!buddy_->isEnabled()) return;
    bool isNumber = false;
    const int typed = buddy_->text().toInt(&isNumber);
    // From the last position if what was typed is none.
    setPosition((isNumber && typed >= lowest_ && typed <= highest_ ? typed : position_) + by);
}

void SpinArrows::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const int half = height() / 2;
    up_->setGeometry(0, 0, width(), half);
    down_->setGeometry(0, half, width(), height() - half);
}

bool SpinArrows::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::EnabledChange) {
        up_->setEnabled(buddy_->isEnabled());
        down_->setEnabled(buddy_->isEnabled());
    }
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            step(key == Qt::Key_Up ? 1 : -1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

SettingsWindow::SettingsWindow(const zv::DialogTemplate& shape, DLGPROC procedure, WId owner)
    : procedure_(procedure), owner_(owner) {
    setWindowTitle(QString::fromLatin1(shape.title));
    // Dialog units follow the font: a quarter of its mean width and an eighth of its height.
    const QFontMetricsF metrics(font());
    const QString letters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    unitWidth_ = metrics.horizontalAdvance(letters) / static_cast<double>(letters.size()) / 4;
    unitHeight_ = metrics.height() / 8;
    setFixedSize(qRound(shape.width * unitWidth_), qRound(shape.height * unitHeight_));
    QLabel* label = nullptr;
    for (const zv::DialogControl& control : shape.controls) {
        QWidget* widget = make(control);
        widget->setGeometry(placeOf(control));
        if (control.id != zv::kNoControlId) controls_.insert(control.id, widget);
        if (label != nullptr && control.kind != Kind::kLabel && control.kind != Kind::kGroup) label->setBuddy(widget);
        label = qobject_cast<QLabel*>(widget);
    }
}

SettingsWindow::~SettingsWindow() = default;

QWidget* SettingsWindow::widgetOf(HWND window) {
    auto* widget = reinterpret_cast<QWidget*>(window);
    return QApplication::allWidgets().contains(widget) ? widget : nullptr;
}

QRect SettingsWindow::placeOf(const zv::DialogControl& control) const {
    const bool combo = control.kind == Kind::kMethods || control.kind == Kind::kWhites;
    const int top = control.y + (control.kind == Kind::kLabel ? kLabelDrop : 0);
    const QPoint topLeft(qRound(control.x * unitWidth_), qRound(top * unitHeight_));
    const int right = qRound((control.x + control.width) * unitWidth_);
    const int bottom = qRound((top + (combo ? kComboHeight : control.height)) * unitHeight_);
    return {topLeft, QPoint(right - 1, bottom - 1)};
}

QWidget* SettingsWindow::make(const zv::DialogControl& control) {
    const QString text = QString::fromLatin1(control.text);
    switch (control.kind) {
        case Kind::kGroup:
            return new QGroupBox(text, this);
        case Kind::kLabel:
            return new QLabel(text, this);
        case Kind::kMethods:
            return makeCombo(control, false);
        case Kind::kWhites:
            return makeCombo(control, true);
        case Kind::kName:
        case Kind::kNumber:
            lastEdit_ = new QLineEdit(this);
            lastEdit_->setReadOnly(control.kind == Kind::kName);
            return lastEdit_;
        case Kind::kSpin:
            return new SpinArrows(this, lastEdit_);
        default:
            return makeButton(control);
    }
}

QWidget* SettingsWindow::makeCombo(const zv::DialogControl& control, bool sorted) {
    auto* combo = new QComboBox(this);
    combo->setInsertPolicy(sorted ? QComboBox::InsertAlphabetically : QComboBox::InsertAtBottom);
    connect(combo, &QComboBox::activated, this, [this, id = control.id] { notify(id, CBN_SELCHANGE); });
    return combo;
}

QWidget* SettingsWindow::makeButton(const zv::DialogControl& control) {
    const QString text = QString::fromLatin1(control.text);
    QAbstractButton* button = nullptr;
    if (control.kind == Kind::kCheck) {
        button = new QCheckBox(text, this);
    } else if (control.kind == Kind::kFirstRadio || control.kind == Kind::kRadio) {
        button = new QRadioButton(text, this);
    } else {
        auto* push = new QPushButton(text, this);
        push->setDefault(control.kind == Kind::kDefaultButton);
        button = push;
    }
    connect(button, &QAbstractButton::clicked, this, [this, id = control.id] { notify(id, BN_CLICKED); });
    return button;
}

void SettingsWindow::notify(int id, WORD event) {
    if (!ended_) procedure_(handle(), WM_COMMAND, MAKEWPARAM(id, event), reinterpret_cast<LPARAM>(control(id)));
}

void SettingsWindow::belongTo(WId owner) {
    if (owner == 0 || QGuiApplication::platformName() != QLatin1String("xcb")) return;
    ownerWindow_.reset(QWindow::fromWinId(owner));
    winId();  // makes the window that has an owner
    windowHandle()->setTransientParent(ownerWindow_.get());
}

INT_PTR SettingsWindow::run(LPARAM parameter) {
    procedure_(handle(), WM_INITDIALOG, 0, parameter);
    if (ended_) return result_;
    belongTo(owner_);
    exec();
    return ended_ ? result_ : -1;
}

void SettingsWindow::end(INT_PTR result) {
    if (!ended_) result_ = result;
    ended_ = true;
    done(0);
}

void SettingsWindow::reject() { notify(IDCANCEL, BN_CLICKED); }

}  // namespace zvsettings
