// What only windows have: owners, the keyboard, room for texts, pointers kept by the system.
#include <gtest/gtest.h>

#include <algorithm>

#include "Common/dialogs/dialogs.h"
#include "resources/dialog_templates.h"
#include "tests/dialogs/dialog_records.h"
#include "tests/dialogs/windows_face.h"
#include "tests/support/loaded_module.h"

namespace zv::test {
namespace {

HMODULE Library() { return GetModuleHandleW(L"zvclr.dll"); }

/// Either dialog. The library is the module in force again after each test.
class WindowsDialogs : public testing::TestWithParam<int32_t> {
protected:
    void TearDown() override { SetResModule(Library()); }
    const DialogTemplate& Expected() const { return kDialogTemplates[GetParam() == kCmykType ? 0 : 1]; }
    int32_t Play(const std::function<void(WindowsUser&)>& script) const {
        const int before = DialogsOpened();
        ClrHandle* converter = nullptr;
        const int32_t result =
            PlayDialog(GetParam(), &converter, nullptr, [&](DialogUser& user) { script(WindowsUser::Of(user)); });
        EXPECT_EQ(before + 1, DialogsOpened());
        if (converter != nullptr) {
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
        }
        return result;
    }
};
INSTANTIATE_TEST_SUITE_P(Types, WindowsDialogs, testing::Values(kCmykType, kLabType));

BOOL CALLBACK AddChild(HWND window, LPARAM list) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
}

std::vector<HWND> ChildrenOf(HWND dialog) {
    std::vector<HWND> children;
    EnumChildWindows(dialog, AddChild, reinterpret_cast<LPARAM>(&children));
    return children;
}

/// Room that a text takes in the font of its control, in pixels.
SIZE ExtentOf(HWND control, HFONT font, const Text& text) {
    const HDC context = GetDC(control);
    const HGDIOBJ before = SelectObject(context, font);
    RECT area = {};
    DrawTextW(context, text.c_str(), static_cast<int>(text.size()), &area, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(context, before);
    ReleaseDC(control, context);
    return {area.right, area.bottom};
}

TEST_P(WindowsDialogs, HaveRoomForTheirTexts) {
    const DialogTemplate& expected = Expected();
    EXPECT_EQ(0, Play([&](WindowsUser& user) {
                  const std::vector<HWND> children = ChildrenOf(user.Dialog());
                  ASSERT_EQ(expected.controls.size(), children.size());
                  for (size_t i = 0; i < children.size(); ++i) {
                      const auto font = reinterpret_cast<HFONT>(user.Send(children[i], WM_GETFONT));
                      RECT area = {};
                      GetClientRect(children[i], &area);
                      const auto fits = [&](const Text& text, LONG frame) {
                          const SIZE room = ExtentOf(children[i], font, text);
                          EXPECT_LE(room.cx + frame, area.right)
                              << "control " << i << ": " << std::string(text.begin(), text.end());
                          EXPECT_LE(room.cy, area.bottom) << "control " << i;
                          EXPECT_GT(room.cx, 0);
                      };
                      const Text text = user.TextOf(children[i]);
                      switch (expected.controls[i].kind) {
                          case DialogControlKind::kLabel:
                              fits(text, 0);
                              break;
                          case DialogControlKind::kBrowse:
                          case DialogControlKind::kDefaultButton:
                          case DialogControlKind::kButton:
                              fits(text, 2 * GetSystemMetrics(SM_CXEDGE));
                              break;
                          case DialogControlKind::kCheck:
                          case DialogControlKind::kFirstRadio:
                          case DialogControlKind::kRadio:
                          case DialogControlKind::kGroup:
                              fits(text, GetSystemMetrics(SM_CXMENUCHECK) + 4);
                              break;
                          case DialogControlKind::kMethods:
                          case DialogControlKind::kWhites:
                              for (const Text& item : user.Items(expected.controls[i].id)) {
                                  fits(item, GetSystemMetrics(SM_CXVSCROLL) + 2 * GetSystemMetrics(SM_CXEDGE));
                              }
                              break;
                          case DialogControlKind::kName:
                          case DialogControlKind::kNumber:
                              fits(T("0.333333"), 2 * GetSystemMetrics(SM_CXEDGE));
                              break;
                          case DialogControlKind::kSpin:
                              break;
                      }
                  }
                  user.Click(kCancel);
              }));
}

TEST_P(WindowsDialogs, KeepTheirWindowsApart) {
    const DialogTemplate& expected = Expected();
    EXPECT_EQ(0, Play([&](WindowsUser& user) {
                  const std::vector<HWND> children = ChildrenOf(user.Dialog());
                  ASSERT_EQ(expected.controls.size(), children.size());
                  RECT client = {};
                  GetClientRect(user.Dialog(), &client);
                  std::vector<RECT> areas(children.size());
                  for (size_t i = 0; i < children.size(); ++i) {
                      GetWindowRect(children[i], &areas[i]);
                      MapWindowPoints(nullptr, user.Dialog(), reinterpret_cast<POINT*>(&areas[i]), 2);
                      RECT inside = {};
                      EXPECT_TRUE(IntersectRect(&inside, &client, &areas[i]) && EqualRect(&inside, &areas[i])) << i;
                      for (size_t j = 0; j < i; ++j) {
                          const bool group = expected.controls[i].kind == DialogControlKind::kGroup ||
                                             expected.controls[j].kind == DialogControlKind::kGroup;
                          // Arrows share the frame of their edit.
                          if (group || expected.controls[i].kind == DialogControlKind::kSpin) continue;
                          EXPECT_FALSE(IntersectRect(&inside, &areas[i], &areas[j])) << j << " and " << i;
                      }
                  }
                  user.Click(kCancel);
              }));
}

/// All free addresses below 4 GB, so that a new thread's stack lies above.
class LowMemory {
public:
    LowMemory() {
        constexpr uintptr_t kEnd = uintptr_t{1} << 32;
        constexpr uintptr_t kGrain = 0x10000;
        MEMORY_BASIC_INFORMATION region = {};
        for (uintptr_t at = kGrain; at < kEnd;
             at = reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize) {
            if (VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof region) == 0) break;
            if (region.State != MEM_FREE) continue;
            const uintptr_t start = (at + kGrain - 1) / kGrain * kGrain;
            const uintptr_t end = std::min(reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize, kEnd);
            if (end <= start) continue;
            void* taken = VirtualAlloc(reinterpret_cast<void*>(start), end - start, MEM_RESERVE, PAGE_NOACCESS);
            if (taken != nullptr) taken_.push_back(taken);
        }
    }
    ~LowMemory() {
        for (void* taken : taken_) VirtualFree(taken, 0, MEM_RELEASE);
    }
    LowMemory(const LowMemory&) = delete;
    LowMemory& operator=(const LowMemory&) = delete;

private:
    std::vector<void*> taken_;
};

DWORD WINAPI CallBack(void* call) {
    (*static_cast<const std::function<void()>*>(call))();
    return 0;
}

void RunOnHighStack(const std::function<void()>& call) {
    HANDLE thread = nullptr;
    {
        const LowMemory low;
        thread =
            CreateThread(nullptr, 0, CallBack, const_cast<std::function<void()>*>(&call), CREATE_SUSPENDED, nullptr);
    }
    ASSERT_NE(nullptr, thread);
    ResumeThread(thread);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, INFINITE));
    CloseHandle(thread);
}

TEST_P(WindowsDialogs, KeepTheWholePointerToTheirContext) {
    RunOnHighStack([&] {
        EXPECT_EQ(0, Play([&](WindowsUser& user) {
                      const auto pointer = static_cast<uint64_t>(GetWindowLongPtrW(user.Dialog(), GWLP_USERDATA));
                      EXPECT_NE(0U, pointer >> 32);
                      const auto* context = reinterpret_cast<const ClrDlgContext*>(pointer);
                      ASSERT_NE(nullptr, context);
                      ASSERT_NE(nullptr, context->params);
                      EXPECT_EQ(sizeof(ClrParams), context->params->size);
                      EXPECT_EQ(uint32_t{CLRMETHOD_BUILTIN}, context->params->activeMethod);
                      user.Choose(116, 1);
                      EXPECT_EQ(uint32_t{CLRMETHOD_ICC}, context->params->activeMethod);
                      user.Click(kCancel);
                  }));
    });
}

TEST_P(WindowsDialogs, AreNotShownFromAModuleWithoutThem) {
    const LoadedModule module("empty_module.dll");
    ASSERT_NE(nullptr, module.Handle());
    SetResModule(module.Handle());
    ClrHandle* const untouched = reinterpret_cast<ClrHandle*>(uintptr_t{1});
    ClrHandle* converter = untouched;
    const int before = DialogsOpened();
    EXPECT_EQ(0, PlayDialog(GetParam(), &converter, nullptr, [](DialogUser& user) { user.Click(kCancel); }));
    EXPECT_EQ(before, DialogsOpened());
    EXPECT_EQ(untouched, converter);
    // No module is the program, which has none either.
    SetResModule(nullptr);
    EXPECT_EQ(0, PlayDialog(GetParam(), &converter, nullptr, [](DialogUser& user) { user.Click(kCancel); }));
    EXPECT_EQ(before, DialogsOpened());
    EXPECT_EQ(untouched, converter);
    SetResModule(Library());
    EXPECT_EQ(0, Play([](WindowsUser& user) { user.Click(kCancel); }));
}

TEST_P(WindowsDialogs, AreModalToTheirParent) {
    const HWND parent = CreateWindowExW(0, L"STATIC", L"parent", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 300, 300,
                                        nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, parent);
    EXPECT_EQ(0, PlayDialogOf([&] { return Zv_ClrDlg(GetParam(), parent, nullptr, nullptr); },
                              [&](DialogUser& user) {
                                  EXPECT_EQ(parent, GetWindow(WindowsUser::Of(user).Dialog(), GW_OWNER));
                                  EXPECT_EQ(FALSE, IsWindowEnabled(parent));
                                  user.Click(kCancel);
                              }));
    EXPECT_NE(FALSE, IsWindowEnabled(parent));
    DestroyWindow(parent);
}

TEST_P(WindowsDialogs, AreNotShownForAParentThatIsNoWindow) {
    const HWND parent = CreateWindowExW(0, L"STATIC", L"gone", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, parent);
    DestroyWindow(parent);
    const int before = DialogsOpened();
    EXPECT_EQ(0, PlayDialogOf([&] { return Zv_ClrDlg(GetParam(), parent, nullptr, nullptr); },
                              [](DialogUser& user) { user.Click(kOk); }));
    EXPECT_EQ(before, DialogsOpened());
}

std::vector<int> TabStops(WindowsUser& user) {
    std::vector<int> stops;
    const HWND first = GetNextDlgTabItem(user.Dialog(), nullptr, FALSE);
    HWND at = first;
    do {
        stops.push_back(GetDlgCtrlID(at));
        at = GetNextDlgTabItem(user.Dialog(), at, FALSE);
    } while (at != first && stops.size() < 100);
    return stops;
}

TEST_P(WindowsDialogs, AreWalkedByTheTabKey) {
    const bool cmyk = GetParam() == kCmykType;
    EXPECT_EQ(
        0, Play([&](WindowsUser& user) {
            const std::vector<int> expected =
                cmyk ? std::vector<int>{116, 126, 1001, 1002, 1, 2} : std::vector<int>{116, 1001, 1002, 1, 2};
            EXPECT_EQ(expected, TabStops(user));
            for (const int id : expected) {
                EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(id); })) << id;
                user.Press(VK_TAB);
            }
            EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(116); }));
            user.Choose(116, 2);
            user.Choose(123, 0);
            EXPECT_EQ((std::vector<int>{116, 117, 118, 119, 120, 123, 124, 125, 1001, 1002, 1, 2}), TabStops(user));
            user.Choose(116, 4);
            EXPECT_EQ(cmyk ? (std::vector<int>{116, 121, 122, 1001, 1, 2})
                           : (std::vector<int>{116, 134, 130, 131, 1001, 1002, 1, 2}),
                      TabStops(user));
            user.Click(kCancel);
        }));
}

TEST_P(WindowsDialogs, EndByTheKeyboard) {
    EXPECT_EQ(CLR_SUCCESS, Play([](WindowsUser& user) {
                  EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(116); }));
                  user.Press(VK_RETURN);
                  EXPECT_TRUE(user.Becomes([&] { return IsWindowVisible(user.Dialog()) == FALSE; }));
              }));
    EXPECT_EQ(0, Play([](WindowsUser& user) {
                  EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(116); }));
                  user.Press(VK_ESCAPE);
                  EXPECT_TRUE(user.Becomes([&] { return IsWindowVisible(user.Dialog()) == FALSE; }));
              }));
}

TEST_P(WindowsDialogs, AreSteeredByAccelerators) {
    const bool cmyk = GetParam() == kCmykType;
    EXPECT_EQ(0, Play([&](WindowsUser& user) {
                  EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(116); }));
                  const auto press = [&](char letter) { user.PressWithAlt(letter); };
                  const auto leads = [&](char letter, int id) {
                      press(letter);
                      EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(id); })) << letter;
                  };
                  press('o');
                  EXPECT_TRUE(user.Becomes([&] { return user.IsChecked(1001); }));
                  press('t');
                  EXPECT_TRUE(user.Becomes([&] { return user.IsChecked(1002); }));
                  if (cmyk) leads('g', 126);
                  leads('m', 116);
                  user.Choose(116, 2);
                  user.Choose(123, 0);
                  leads(cmyk ? 'c' : 's', 117);
                  leads(cmyk ? 'r' : 'd', 119);
                  leads('w', 123);
                  leads('x', 124);
                  leads('y', 125);
                  leads('m', 116);
                  user.Choose(116, 4);
                  if (cmyk) {
                      leads('d', 121);
                  } else {
                      leads('c', 130);
                      press('l');
                      EXPECT_TRUE(user.Becomes([&] { return user.IsChecked(135) && user.IsEnabled(132); }));
                      leads('g', 132);
                      press('r');
                      EXPECT_TRUE(user.Becomes([&] { return user.IsChecked(134) && !user.IsEnabled(132); }));
                  }
                  user.Click(kCancel);
              }));
}

TEST(WindowsLabDialog, ChangesItsDirectionByTheArrowKeys) {
    const int before = DialogsOpened();
    EXPECT_EQ(0, PlayDialog(kLabType, nullptr, nullptr, [](DialogUser& anyUser) {
                  WindowsUser& user = WindowsUser::Of(anyUser);
                  user.Choose(116, 4);
                  user.Click(134);
                  EXPECT_TRUE(user.Becomes([&] { return user.Focus() == user.Control(134); }));
                  user.Press(VK_DOWN);
                  EXPECT_TRUE(user.Becomes([&] { return user.IsChecked(135) && user.IsEnabled(133); }));
                  EXPECT_FALSE(user.IsChecked(134));
                  EXPECT_FALSE(user.IsEnabled(131));
                  user.Press(VK_DOWN);
                  EXPECT_TRUE(user.Becomes([&] { return user.IsChecked(134) && user.IsEnabled(131); }))
                      << "the two are a circle";
                  user.Click(kCancel);
              }));
    EXPECT_EQ(before + 1, DialogsOpened());
}

TEST(WindowsCmykDialog, HasArrowsForItsLevel) {
    constexpr int kEdit = 126;
    constexpr int kSpin = 127;
    const int before = DialogsOpened();
    EXPECT_EQ(0, PlayDialog(kCmykType, nullptr, nullptr, [](DialogUser& anyUser) {
                  WindowsUser& user = WindowsUser::Of(anyUser);
                  const HWND spin = user.Control(kSpin);
                  const HWND edit = user.Control(kEdit);
                  EXPECT_EQ(T("0"), user.TextOf(kEdit));
                  EXPECT_EQ(edit, reinterpret_cast<HWND>(user.Send(spin, UDM_GETBUDDY)));
                  int32_t low = -1;
                  int32_t high = -1;
                  user.Send(spin, UDM_GETRANGE32, reinterpret_cast<WPARAM>(&low), reinterpret_cast<LPARAM>(&high));
                  EXPECT_EQ(0, low);
                  EXPECT_EQ(1000, high);

                  const auto click = [&](bool up) {
                      RECT area = {};
                      GetClientRect(spin, &area);
                      const LPARAM y = up ? area.bottom / 4 : area.bottom * 3 / 4;
                      const LPARAM place = y * 0x10000 + area.right / 2;
                      user.Send(spin, WM_LBUTTONDOWN, MK_LBUTTON, place);
                      user.Send(spin, WM_LBUTTONUP, 0, place);
                  };
                  click(false);
                  EXPECT_EQ(T("0"), user.TextOf(kEdit)) << "nothing is below 0";
                  click(true);
                  EXPECT_EQ(T("1"), user.TextOf(kEdit));
                  click(true);
                  EXPECT_EQ(T("2"), user.TextOf(kEdit));
                  click(false);
                  EXPECT_EQ(T("1"), user.TextOf(kEdit));
                  user.Type(kEdit, T("999"));
                  user.Send(edit, WM_KEYDOWN, VK_UP, 1);
                  EXPECT_EQ(T("1000"), user.TextOf(kEdit));
                  user.Send(edit, WM_KEYDOWN, VK_UP, 1);
                  EXPECT_EQ(T("1000"), user.TextOf(kEdit)) << "nothing is above 1000";
                  user.Send(edit, WM_KEYDOWN, VK_DOWN, 1);
                  EXPECT_EQ(T("999"), user.TextOf(kEdit));
                  user.Click(kCancel);
              }));
    EXPECT_EQ(before + 1, DialogsOpened());
}

TEST_P(WindowsDialogs, AskForFilesInOneWay) {
    const bool cmyk = GetParam() == kCmykType;
    const auto look = [](WindowsUser& user, int button, const char* filter, const char* pattern) {
        const int before = LastChooserRequest().count;
        EXPECT_TRUE(user.Browse(button, {}).opened) << button;
        const ChooserRequest request = LastChooserRequest();
        EXPECT_EQ(before + 1, request.count);
        EXPECT_EQ(user.Dialog(), request.owner);
        EXPECT_EQ(T(filter), request.filterText);
        EXPECT_EQ(T(pattern), request.filterPattern);
        EXPECT_TRUE(request.filterEnds);
        EXPECT_EQ(1U, request.filterIndex);
        EXPECT_EQ(260U, request.length);
        EXPECT_EQ(0x281000U, request.flags);
        EXPECT_TRUE(request.emptyName);
    };
    EXPECT_EQ(0, Play([&](WindowsUser& user) {
                  user.Choose(116, 2);
                  look(user, 118, "ICC Files (*.ICM)", "*.ICM");
                  look(user, 120, "ICC Files (*.ICM)", "*.ICM");
                  user.Choose(116, 4);
                  look(user, cmyk ? 122 : 131, "TIFF Files (*.TIF)", "*.TIF");
                  if (!cmyk) {
                      user.Click(135);
                      look(user, 133, "TIFF Files (*.TIF)", "*.TIF");
                  }
                  user.Click(kCancel);
              }));
}

TEST_P(WindowsDialogs, ShowNamesThatOnlyBrowsingFills) {
    EXPECT_EQ(0, Play([&](WindowsUser& user) {
                  user.Choose(116, 2);
                  for (const int edit : {117, 119}) {
                      user.Type(edit, T("typed"));
                      EXPECT_EQ(Text(), user.TextOf(edit)) << edit;
                  }
                  user.Click(kCancel);
              }));
}

}  // namespace
}  // namespace zv::test
