// The dialogs as resources of the library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "host/dialogs.h"
#include "resources/dialog_templates.h"
#include "tests/dialogs/dialog_records.h"

namespace zv::test {
namespace {

const auto kDialogType = MAKEINTRESOURCEW(5);
constexpr WORD kButtonClass = 0x80;
constexpr WORD kEditClass = 0x81;
constexpr WORD kStaticClass = 0x82;
constexpr WORD kComboClass = 0x85;

struct Item {
    DWORD style;
    DWORD extendedStyle;
    int x;
    int y;
    int width;
    int height;
    int id;
    WORD classAtom;
    Text className;
    Text text;
    WORD creationBytes;
};

struct Shape {
    DWORD style;
    DWORD extendedStyle;
    int x;
    int y;
    int width;
    int height;
    Text menu;
    Text className;
    Text title;
    int points;
    Text font;
    std::vector<Item> items;
};

/// Reads the words of a dialog resource.
class TemplateReader {
public:
    TemplateReader(const void* data, size_t size) : bytes_(static_cast<const uint8_t*>(data)), size_(size) {}

    WORD Word() {
        WORD value = 0;
        if (size_ - at_ < sizeof value) {
            ADD_FAILURE() << "the resource ends early";
            at_ = size_;
            return 0;
        }
        std::memcpy(&value, bytes_ + at_, sizeof value);
        at_ += sizeof value;
        return value;
    }
    DWORD Double() {
        const DWORD low = Word();
        return low | static_cast<DWORD>(Word()) << 16;
    }
    int Number() { return static_cast<int16_t>(Word()); }
    Text String() {
        Text text;
        while (const WORD character = Word()) text.push_back(static_cast<ZvChar>(character));
        return text;
    }
    /// A text, or the number that stands for one.
    Text TextOrAtom(WORD* atom) {
        if (size_ - at_ >= 2 && bytes_[at_] == 0xFF && bytes_[at_ + 1] == 0xFF) {
            Word();
            *atom = Word();
            return {};
        }
        return String();
    }
    void Align() { at_ = std::min((at_ + 3) & ~size_t{3}, size_); }
    size_t Left() const { return size_ - at_; }

private:
    const uint8_t* bytes_;
    size_t size_;
    size_t at_ = 0;
};

HMODULE Library() { return GetModuleHandleW(L"zvclr.dll"); }

Shape ReadShape(int id) {
    Shape shape = {};
    const HRSRC found = FindResourceW(Library(), MAKEINTRESOURCEW(id), kDialogType);
    if (found == nullptr) {
        ADD_FAILURE() << "no dialog " << id;
        return shape;
    }
    TemplateReader reader(LockResource(LoadResource(Library(), found)), SizeofResource(Library(), found));
    WORD atom = 0;
    shape.style = reader.Double();
    shape.extendedStyle = reader.Double();
    const int count = reader.Word();
    shape.x = reader.Number();
    shape.y = reader.Number();
    shape.width = reader.Number();
    shape.height = reader.Number();
    shape.menu = reader.TextOrAtom(&atom);
    shape.className = reader.TextOrAtom(&atom);
    EXPECT_EQ(0, atom);
    shape.title = reader.String();
    shape.points = reader.Word();
    shape.font = reader.String();
    for (int i = 0; i < count; ++i) {
        Item item = {};
        reader.Align();
        item.style = reader.Double();
        item.extendedStyle = reader.Double();
        item.x = reader.Number();
        item.y = reader.Number();
        item.width = reader.Number();
        item.height = reader.Number();
        item.id = reader.Word();
        item.className = reader.TextOrAtom(&item.classAtom);
        if (lstrcmpiW(item.className.c_str(), L"BUTTON") == 0) item.classAtom = kButtonClass;
        WORD textAtom = 0;
        item.text = reader.TextOrAtom(&textAtom);
        EXPECT_EQ(0, textAtom);
        item.creationBytes = reader.Word();
        shape.items.push_back(item);
    }
    EXPECT_LT(reader.Left(), 4U);
    return shape;
}

class WindowsTemplates : public testing::TestWithParam<size_t> {
protected:
    const DialogTemplate& Expected() const { return kDialogTemplates[GetParam()]; }
    Shape Read() const { return ReadShape(Expected().id); }
};
INSTANTIATE_TEST_SUITE_P(Types, WindowsTemplates, testing::Values(0, 1));

TEST_P(WindowsTemplates, HaveTheDescribedTemplate) {
    const Shape shape = Read();
    EXPECT_EQ(T(Expected().title), shape.title);
    EXPECT_EQ(T("MS Sans Serif"), shape.font);
    EXPECT_EQ(8, shape.points);
    EXPECT_EQ(Expected().width, shape.width);
    EXPECT_EQ(Expected().height, shape.height);
    EXPECT_EQ(Text(), shape.menu);
    EXPECT_EQ(Text(), shape.className);
    const DWORD wanted = DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU;
    EXPECT_EQ(wanted, shape.style);
    ASSERT_EQ(Expected().controls.size(), shape.items.size());
    for (size_t i = 0; i < shape.items.size(); ++i) {
        const DialogControl& control = Expected().controls[i];
        const Item& item = shape.items[i];
        SCOPED_TRACE("control " + std::to_string(i) + ", id " + std::to_string(control.id));
        EXPECT_EQ(control.id, item.id);
        EXPECT_EQ(T(control.text), item.text);
        EXPECT_EQ(control.x, item.x);
        EXPECT_EQ(control.y, item.y);
        EXPECT_EQ(control.width, item.width);
        EXPECT_EQ(control.height, item.height);
        EXPECT_EQ(0, item.creationBytes);
        EXPECT_EQ(WS_CHILD | WS_VISIBLE, item.style & (WS_CHILD | WS_VISIBLE | WS_DISABLED | WS_POPUP));
    }
}

TEST_P(WindowsTemplates, HaveTheStylesOfTheirKinds) {
    const Shape shape = Read();
    ASSERT_EQ(Expected().controls.size(), shape.items.size());
    for (size_t i = 0; i < shape.items.size(); ++i) {
        const Item& item = shape.items[i];
        const DWORD style = item.style;
        const bool tab = (style & WS_TABSTOP) != 0;
        const bool startsGroup = (style & WS_GROUP) != 0;
        SCOPED_TRACE("control " + std::to_string(i) + ", id " + std::to_string(item.id));
        const auto isButton = [&](DWORD type) {
            EXPECT_EQ(kButtonClass, item.classAtom);
            EXPECT_EQ(type, style & BS_TYPEMASK);
        };
        switch (Expected().controls[i].kind) {
            case DialogControlKind::kGroup:
                isButton(BS_GROUPBOX);
                EXPECT_FALSE(tab);
                EXPECT_TRUE(startsGroup);
                break;
            case DialogControlKind::kLabel:
                EXPECT_EQ(kStaticClass, item.classAtom);
                EXPECT_EQ(static_cast<DWORD>(SS_LEFT), style & (SS_TYPEMASK | SS_NOPREFIX));
                EXPECT_FALSE(tab);
                break;
            case DialogControlKind::kMethods:
            case DialogControlKind::kWhites:
                EXPECT_EQ(kComboClass, item.classAtom);
                EXPECT_EQ(static_cast<DWORD>(CBS_DROPDOWNLIST), style & 3);
                EXPECT_EQ(item.id == 123, (style & CBS_SORT) != 0);
                EXPECT_EQ(0U, style & (CBS_OWNERDRAWFIXED | CBS_OWNERDRAWVARIABLE));
                EXPECT_TRUE(tab);
                break;
            case DialogControlKind::kName:
            case DialogControlKind::kNumber:
                EXPECT_EQ(kEditClass, item.classAtom);
                EXPECT_EQ(Expected().controls[i].kind == DialogControlKind::kName, (style & ES_READONLY) != 0);
                EXPECT_EQ(static_cast<DWORD>(ES_AUTOHSCROLL | WS_BORDER),
                          style & (ES_AUTOHSCROLL | WS_BORDER | ES_MULTILINE | ES_PASSWORD | ES_UPPERCASE));
                EXPECT_TRUE(tab);
                break;
            case DialogControlKind::kSpin:
                EXPECT_EQ(0, lstrcmpiW(L"msctls_updown32", item.className.c_str()));
                EXPECT_EQ(static_cast<DWORD>(UDS_SETBUDDYINT | UDS_AUTOBUDDY | UDS_ARROWKEYS | UDS_NOTHOUSANDS),
                          style & (UDS_SETBUDDYINT | UDS_AUTOBUDDY | UDS_ARROWKEYS | UDS_NOTHOUSANDS | UDS_WRAP));
                EXPECT_FALSE(tab);
                ASSERT_GT(i, 0U);
                EXPECT_EQ(kEditClass, shape.items[i - 1].classAtom) << "the buddy is the control before";
                break;
            case DialogControlKind::kDefaultButton:
                isButton(BS_DEFPUSHBUTTON);
                EXPECT_EQ(1, item.id);
                EXPECT_TRUE(tab);
                break;
            case DialogControlKind::kBrowse:
            case DialogControlKind::kButton:
                isButton(BS_PUSHBUTTON);
                EXPECT_TRUE(tab);
                break;
            case DialogControlKind::kCheck:
                isButton(BS_AUTOCHECKBOX);
                EXPECT_TRUE(tab);
                break;
            case DialogControlKind::kFirstRadio:
                isButton(BS_AUTORADIOBUTTON);
                EXPECT_TRUE(tab);
                EXPECT_TRUE(startsGroup);
                break;
            case DialogControlKind::kRadio:
                isButton(BS_AUTORADIOBUTTON);
                EXPECT_FALSE(startsGroup);
                ASSERT_LT(i + 1, shape.items.size());
                EXPECT_NE(0U, shape.items[i + 1].style & WS_GROUP) << "the radio buttons end here";
                break;
        }
    }
}

TEST_P(WindowsTemplates, UseNoAcceleratorTwice) {
    std::set<ZvChar> used;
    for (const Item& item : Read().items) {
        const size_t mark = item.text.find(L'&');
        if (mark == Text::npos) continue;
        ASSERT_LT(mark + 1, item.text.size());
        const auto letter = static_cast<ZvChar>(towlower(item.text[mark + 1]));
        EXPECT_TRUE(used.insert(letter).second) << "twice: " << static_cast<char>(letter);
        EXPECT_EQ(Text::npos, item.text.find(L'&', mark + 1));
    }
    EXPECT_EQ(Expected().id == ZVCLR_CMYK_DIALOG_ID ? 10U : 12U, used.size());
}

struct Box {
    int left;
    int top;
    int right;
    int bottom;

    bool Meets(const Box& other) const {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
    bool Holds(const Box& other) const {
        return left <= other.left && top <= other.top && right >= other.right && bottom >= other.bottom;
    }
};

Box BoxOf(const Item& item) {
    constexpr int kClosedCombo = 14;
    const int height = item.classAtom == kComboClass ? kClosedCombo : item.height;
    return {item.x, item.y, item.x + item.width, item.y + height};
}

bool IsGroup(const Item& item) { return item.classAtom == kButtonClass && (item.style & BS_TYPEMASK) == BS_GROUPBOX; }

TEST_P(WindowsTemplates, KeepTheirControlsApart) {
    const Shape shape = Read();
    const Box dialog = {0, 0, shape.width, shape.height};
    for (size_t i = 0; i < shape.items.size(); ++i) {
        const Item& item = shape.items[i];
        EXPECT_TRUE(dialog.Holds(BoxOf(item))) << i;
        EXPECT_TRUE(item.width > 0 && item.height > 0) << i;
        for (size_t j = 0; j < i; ++j) {
            const Item& other = shape.items[j];
            const bool inside = (IsGroup(other) && BoxOf(other).Holds(BoxOf(item))) ||
                                (IsGroup(item) && BoxOf(item).Holds(BoxOf(other)));
            EXPECT_TRUE(inside || !BoxOf(item).Meets(BoxOf(other))) << j << " and " << i;
        }
    }
}

TEST_P(WindowsTemplates, HaveLabelsOnTheLinesOfTheirFields) {
    const Shape shape = Read();
    int labels = 0;
    for (size_t i = 0; i < shape.items.size(); ++i) {
        const Item& item = shape.items[i];
        if (item.classAtom != kStaticClass) continue;
        ++labels;
        // A label with an accelerator leads to the control after it; one without stands after its control.
        const bool leads = item.text.find(L'&') != Text::npos;
        ASSERT_TRUE(leads ? i + 1 < shape.items.size() : i > 0);
        const Box field = BoxOf(shape.items[leads ? i + 1 : i - 1]);
        const Box label = BoxOf(item);
        EXPECT_NE(kStaticClass, shape.items[leads ? i + 1 : i - 1].classAtom);
        // Where an edit's text starts, below its frame.
        EXPECT_EQ(field.top + 2, label.top) << i;
        EXPECT_LE(label.bottom, field.bottom) << i;
        if (leads) {
            EXPECT_LE(label.right, field.left) << i;
        } else {
            EXPECT_GE(label.left, field.right) << i;
        }
    }
    EXPECT_EQ(9, labels);
}

BOOL CALLBACK CountName(HMODULE, const wchar_t*, wchar_t*, LONG_PTR count) {
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

TEST(WindowsResources, HaveTwoDialogs) {
    int count = 0;
    EXPECT_NE(FALSE, EnumResourceNamesW(Library(), kDialogType, CountName, reinterpret_cast<LONG_PTR>(&count)));
    EXPECT_EQ(2, count);
}

}  // namespace
}  // namespace zv::test
