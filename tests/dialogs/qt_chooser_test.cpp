// The file chooser over Qt's own.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "tests/dialogs/dialog_records.h"
#include "tests/dialogs/qt_face.h"

namespace zv::test {
namespace {

class QtChooser : public ::testing::Test {
protected:
    QtChooser() {
        request_.lStructSize = sizeof request_;
        request_.lpstrFilter = u"ICC Files (*.ICM)\0*.ICM\0TIFF Files (*.TIF)\0*.TIF\0";
        request_.nFilterIndex = 1;
        request_.lpstrFile = name_.data();
        request_.lpstrTitle = u"Open";
    }
    /// Asks for a name with that much room, its end counted.
    BOOL Ask(const Text& file, size_t room) {
        name_.assign(room + 1, u'#');
        request_.lpstrFile = name_.data();
        request_.nMaxFile = static_cast<DWORD>(room);
        BOOL result = FALSE;
        seen_ = VisitChooser(nullptr, file, [&] { result = GetOpenFileNameW(&request_); });
        EXPECT_TRUE(seen_.opened);
        EXPECT_EQ(u'#', name_[room]) << "written beyond the end";
        return result;
    }

    DialogFiles files_;
    OPENFILENAMEW request_ = {};
    Text name_;
    ChooserSeen seen_;
};

TEST_F(QtChooser, TakesNamesThatFitAndRefusesOthers) {
    const std::filesystem::path folder = files_.Path() / std::string(100, 'f');
    std::filesystem::create_directories(folder);
    const size_t length = NameOf(folder).size() + 1;
    ASSERT_LT(length, 250U);
    for (const size_t size : {size_t{258}, size_t{259}, size_t{260}}) {
        const std::filesystem::path file = folder / (std::string(size - length - 4, 'n') + ".ICM");
        std::ofstream(file) << "nothing";
        ASSERT_EQ(size, NameOf(file).size());
        EXPECT_EQ(size < 260 ? TRUE : FALSE, Ask(NameOf(file), 260));
        const Text untouched(260, u'#');
        EXPECT_EQ(size < 260 ? NameOf(file) + Text(1, 0) : untouched, name_.substr(0, size < 260 ? size + 1 : 260));
    }
}

TEST_F(QtChooser, ShowsTheFilterOfTheIndexFirst) {
    const Text file = files_.Make("some.ICM");
    struct {
        DWORD index;
        const char* text;
        const char* pattern;
    } const cases[] = {{1, "ICC Files (*.ICM)", "*.ICM"},
                       {2, "TIFF Files (*.TIF)", "*.TIF"},
                       {0, "ICC Files (*.ICM)", "*.ICM"},
                       {3, "ICC Files (*.ICM)", "*.ICM"}};
    for (const auto& one : cases) {
        request_.nFilterIndex = one.index;
        EXPECT_EQ(TRUE, Ask(file, 260));
        EXPECT_EQ(T(one.text), seen_.filterText) << one.index;
        EXPECT_EQ(T(one.pattern), seen_.filterPattern) << one.index;
    }
    request_.lpstrFilter = nullptr;
    EXPECT_EQ(TRUE, Ask(file, 260));
    EXPECT_EQ(T("All Files (*)"), seen_.filterText);
}

TEST_F(QtChooser, CancelLeavesTheNameAsItWas) {
    EXPECT_EQ(FALSE, Ask({}, 260));
    EXPECT_EQ(Text(261, u'#'), name_);
}

TEST_F(QtChooser, TakesNoFileThatDoesNotExist) {
    const QString missing = QString::fromStdString((files_.Path() / "missing.ICM").string());
    std::string complaint;
    bool typed = false;
    QTimer glances;
    QObject::connect(&glances, &QTimer::timeout, [&] {
        if (auto* box = dynamic_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            complaint = box->text().toStdString();
            return box->reject();
        }
        auto* chooser = dynamic_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (chooser == nullptr) return;
        if (!complaint.empty()) return chooser->reject();
        if (std::exchange(typed, true)) return;
        auto* name = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        name->setText(missing);
        EXPECT_FALSE(chooser->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->isEnabled());
        // Not in this turn of the timer, which could then not look at the complaint.
        QTimer::singleShot(0, name, [name] { QTest::keyClick(name, Qt::Key_Return); });
    });
    glances.start(2);
    name_.assign(260, u'#');
    request_.lpstrFile = name_.data();
    request_.nMaxFile = 260;
    EXPECT_EQ(FALSE, GetOpenFileNameW(&request_));
    EXPECT_NE(std::string::npos, complaint.find("missing.ICM")) << complaint;
    EXPECT_EQ(Text(260, u'#'), name_);
}

}  // namespace
}  // namespace zv::test
