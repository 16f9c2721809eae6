// The dialogs as Windows shows them: a second thread finds the windows of the call and works with them.
#include "tests/dialogs/windows_face.h"

#include <dlgs.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace zv::test {
namespace {

using Clock = std::chrono::steady_clock;
// Far more than a busy machine takes, and less than the time limit of a test.
constexpr std::chrono::seconds kPatience{25};
constexpr std::chrono::milliseconds kGlance{2};

std::atomic<int> dialogsOpened{0};

/// A window that does not answer: the script cannot go on.
struct StuckDialog : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Looks until it is so, or `enough`, or patience is at its end.
bool WaitUntil(
    const std::function<bool()>& so, const std::function<bool()>& enough = [] { return false; }) {
    const auto end = Clock::now() + kPatience;
    while (!so()) {
        if (enough() || Clock::now() > end) return so();
        std::this_thread::sleep_for(kGlance);
    }
    return true;
}

bool HasClass(HWND window, const wchar_t* expected) {
    wchar_t name[64] = {};
    return GetClassNameW(window, name, 64) > 0 && lstrcmpiW(name, expected) == 0;
}

struct Search {
    HWND owner;
    bool anyOwner;
    HWND found;
};

BOOL CALLBACK TakeDialog(HWND window, LPARAM parameter) {
    auto* search = reinterpret_cast<Search*>(parameter);
    if (!HasClass(window, L"#32770") || IsWindowVisible(window) == FALSE) return TRUE;
    if (!search->anyOwner && GetWindow(window, GW_OWNER) != search->owner) return TRUE;
    search->found = window;
    return FALSE;
}

/// A dialog window is shown when its opening is done. The newest comes first.
HWND FindAnyDialog(DWORD thread) {
    Search search = {nullptr, true, nullptr};
    EnumThreadWindows(thread, TakeDialog, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

HWND FindDialogOf(HWND owner) {
    Search search = {owner, false, nullptr};
    EnumThreadWindows(GetWindowThreadProcessId(owner, nullptr), TakeDialog, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

BOOL CALLBACK TakeEdit(HWND window, LPARAM parameter) {
    if (!HasClass(window, L"Edit")) return TRUE;
    *reinterpret_cast<HWND*>(parameter) = window;
    return FALSE;
}

/// The file name of a chooser: a plain edit, or one in a combo.
HWND FileNameEdit(HWND chooser) {
    HWND edit = nullptr;
    if (const HWND combo = GetDlgItem(chooser, cmb13))
        EnumChildWindows(combo, TakeEdit, reinterpret_cast<LPARAM>(&edit));
    return edit != nullptr ? edit : GetDlgItem(chooser, edt1);
}

std::mutex requestLock;
ChooserRequest lastRequest;

Text TextAt(const wchar_t* text) { return text == nullptr ? Text() : Text(text); }

/// Stands in the library's way to GetOpenFileNameW: the pattern of a filter cannot be read off a chooser's window.
BOOL WINAPI NoteRequest(OPENFILENAMEW* request) {
    {
        const std::lock_guard lock(requestLock);
        lastRequest.count++;
        lastRequest.owner = request->hwndOwner;
        lastRequest.title = TextAt(request->lpstrTitle);
        lastRequest.filterText = TextAt(request->lpstrFilter);
        const wchar_t* pattern = request->lpstrFilter + lastRequest.filterText.size() + 1;
        lastRequest.filterPattern = TextAt(pattern);
        lastRequest.filterEnds = pattern[lastRequest.filterPattern.size() + 1] == 0;
        lastRequest.filterIndex = request->nFilterIndex;
        lastRequest.length = request->nMaxFile;
        lastRequest.flags = request->Flags;
        lastRequest.emptyName = request->lpstrFile[0] == 0;
    }
    const BOOL chosen = GetOpenFileNameW(request);
    const std::lock_guard lock(requestLock);
    lastRequest.answers++;
    return chosen;
}

/// Writes to the import table of the library.
bool NoteRequestsOf(HMODULE module) {
    const auto real =
        reinterpret_cast<ULONG_PTR>(GetProcAddress(GetModuleHandleW(L"comdlg32.dll"), "GetOpenFileNameW"));
    auto* base = reinterpret_cast<BYTE*>(module);
    const auto* header = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + header->e_lfanew);
    const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports);
    for (; from->Name != 0; ++from) {
        if (lstrcmpiA(reinterpret_cast<const char*>(base + from->Name), "comdlg32.dll") != 0) continue;
        for (auto* slot = reinterpret_cast<ULONG_PTR*>(base + from->FirstThunk); *slot != 0; ++slot) {
            if (*slot != real) continue;
            DWORD before = 0;
            if (VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before) == FALSE) return false;
            *slot = reinterpret_cast<ULONG_PTR>(&NoteRequest);
            VirtualProtect(slot, sizeof *slot, before, &before);
            return true;
        }
    }
    return false;
}

/// Presses Cancel in every dialog of the call, the newest first, until the call is over.
void CancelAll(DWORD thread, const std::atomic<bool>& over) {
    const auto next = [&] {
        if (const HWND window = FindAnyDialog(thread)) PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
        return over.load();
    };
    if (WaitUntil(next)) return;
    std::fprintf(stderr, "A dialog cannot be closed: the program ends here.\n");
    std::fflush(stderr);
    std::_Exit(1);
}

void RunScript(DWORD thread, const std::atomic<bool>& over, const std::function<void(DialogUser&)>& script) {
    HWND dialog = nullptr;
    WaitUntil([&] { return (dialog = FindAnyDialog(thread)) != nullptr; }, [&] { return over.load(); });
    if (dialog != nullptr) {
        dialogsOpened++;
        WindowsUser user(dialog);
        try {
            script(user);
        } catch (const std::exception& fault) {
            ADD_FAILURE() << "the script ended by " << fault.what();
        }
        // A dialog that was ended is hidden at once; that the call then returns is waited for.
        if (IsWindowVisible(dialog) == FALSE && WaitUntil([&] { return over.load(); })) return;
    }
    if (over) return;
    ADD_FAILURE() << (dialog == nullptr ? "no dialog came up" : "the dialog was left open");
    CancelAll(thread, over);
}

}  // namespace

ChooserRequest LastChooserRequest() {
    const std::lock_guard lock(requestLock);
    return lastRequest;
}

HWND WindowsUser::Control(int id) const {
    const HWND control = GetDlgItem(dialog_, id);
    if (control == nullptr) throw StuckDialog("no control " + std::to_string(id));
    return control;
}

LRESULT WindowsUser::Send(HWND window, UINT message, WPARAM first, LPARAM second) const {
    DWORD_PTR result = 0;
    const auto limit = static_cast<UINT>(std::chrono::milliseconds(kPatience).count());
    if (SendMessageTimeoutW(window, message, first, second, SMTO_NORMAL, limit, &result) == 0) {
        throw StuckDialog("message " + std::to_string(message) + " was not answered");
    }
    return static_cast<LRESULT>(result);
}

Text WindowsUser::TextOf(HWND window) const {
    Text text(static_cast<size_t>(Send(window, WM_GETTEXTLENGTH)) + 1, 0);
    text.resize(static_cast<size_t>(Send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

HWND WindowsUser::Focus() const {
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    const DWORD thread = GetWindowThreadProcessId(dialog_, nullptr);
    if (GetGUIThreadInfo(thread, &info) != FALSE && info.hwndFocus != nullptr) return info.hwndFocus;
    // Another program's window has come up: the dialog takes the keyboard back, and remembers where it was.
    SetForegroundWindow(dialog_);
    return nullptr;
}

void WindowsUser::PostKey(UINT message, WPARAM key, LPARAM details) const {
    HWND focus = nullptr;
    WaitUntil([&] { return (focus = Focus()) != nullptr; });
    PostMessageW(focus, message, key, details);
}

void WindowsUser::Press(WPARAM key) const { PostKey(WM_KEYDOWN, key, 1); }

void WindowsUser::PressWithAlt(char letter) const { PostKey(WM_SYSCHAR, static_cast<WPARAM>(letter), LPARAM{1} << 29); }

bool WindowsUser::Becomes(const std::function<bool()>& so) const { return WaitUntil(so); }

Text WindowsUser::Title() { return TextOf(dialog_); }

bool WindowsUser::Exists(int control) { return GetDlgItem(dialog_, control) != nullptr; }

bool WindowsUser::IsEnabled(int control) { return IsWindowEnabled(Control(control)) != FALSE; }

bool WindowsUser::IsChecked(int control) { return Send(Control(control), BM_GETCHECK) == BST_CHECKED; }

Text WindowsUser::TextOf(int control) { return TextOf(Control(control)); }

std::vector<Text> WindowsUser::Items(int combo) {
    const HWND window = Control(combo);
    std::vector<Text> items;
    const auto count = static_cast<WPARAM>(Send(window, CB_GETCOUNT));
    for (WPARAM i = 0; i < count; ++i) {
        Text text(static_cast<size_t>(Send(window, CB_GETLBTEXTLEN, i)) + 1, 0);
        text.resize(static_cast<size_t>(Send(window, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text.data()))));
        items.push_back(text);
    }
    return items;
}

int WindowsUser::Selected(int combo) { return static_cast<int>(Send(Control(combo), CB_GETCURSEL)); }

/// By the arrow keys, so that the combo itself tells the dialog.
void WindowsUser::Choose(int combo, int index) {
    if (!IsEnabled(combo)) return;
    const HWND window = Control(combo);
    for (int at = Selected(combo); at != index;) {
        const WPARAM key = at < index ? VK_DOWN : VK_UP;
        Send(window, WM_KEYDOWN, key, 1);
        const int now = Selected(combo);
        if (now == at) {
            ADD_FAILURE() << "combo " << combo << " stays at " << at << " on the way to " << index;
            return;
        }
        at = now;
    }
}

void WindowsUser::Type(int edit, const Text& text) {
    if (!IsEnabled(edit)) return;
    const HWND window = Control(edit);
    Send(window, EM_SETSEL, 0, -1);
    Send(window, WM_CHAR, VK_BACK, 1);
    for (const ZvChar character : text) Send(window, WM_CHAR, character, 1);
}

void WindowsUser::Click(int button) {
    if (IsEnabled(button)) Send(Control(button), BM_CLICK);
}

ChooserSeen WindowsUser::Browse(int button, const Text& file) {
    ChooserSeen seen;
    if (!IsEnabled(button)) return seen;
    // Posted, since pressing it returns only after the chooser.
    PostMessageW(Control(button), BM_CLICK, 0, 0);
    HWND chooser = nullptr;
    if (!WaitUntil([&] { return (chooser = FindDialogOf(dialog_)) != nullptr; })) return seen;
    seen.opened = true;
    seen.title = TextOf(chooser);
    WindowsUser user(chooser);
    for (const Text& text : user.Items(cmb1)) seen.filterText += text;
    seen.filterPattern = LastChooserRequest().filterPattern;
    EXPECT_TRUE(IsWindowEnabled(dialog_) == FALSE) << "the dialog can be used beside its chooser";

    if (!file.empty()) Send(FileNameEdit(chooser), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file.c_str()));
    PostMessageW(user.Control(file.empty() ? IDCANCEL : IDOK), BM_CLICK, 0, 0);
    const auto gone = [&] {
        const ChooserRequest request = LastChooserRequest();
        return IsWindow(chooser) == FALSE && IsWindowEnabled(dialog_) != FALSE && request.answers == request.count;
    };
    HWND complaint = nullptr;
    WaitUntil([&] { return gone() || (complaint = FindDialogOf(chooser)) != nullptr; });
    if (complaint != nullptr || !gone()) throw StuckDialog("the chooser does not take the file");
    // Answered only after the dialog has taken the name.
    Send(dialog_, WM_NULL);
    return seen;
}

void WindowsUser::Close() {
    Send(dialog_, WM_SYSCOMMAND, SC_CLOSE);
    EXPECT_TRUE(WaitUntil([&] { return IsWindowVisible(dialog_) == FALSE; })) << "the dialog does not close";
}

int32_t PlayDialogOf(const std::function<int32_t()>& call, const std::function<void(DialogUser&)>& script) {
    static const bool noted = NoteRequestsOf(GetModuleHandleW(L"zvclr.dll"));
    EXPECT_TRUE(noted) << "the library does not ask the system for its file chooser";
    // Choosers move the process to the folder of the chosen file.
    const std::filesystem::path folder = std::filesystem::current_path();
    std::atomic<bool> over{false};
    std::thread user(RunScript, GetCurrentThreadId(), std::cref(over), std::cref(script));
    const int32_t result = call();
    over = true;
    user.join();
    std::filesystem::current_path(folder);
    return result;
}

int DialogsOpened() { return dialogsOpened; }

}  // namespace zv::test
