// A user of dialogs that are only records.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/dialogs/dialog_user.h"
#include "tests/support/scripted_dialogs.h"

namespace zv::test {

namespace {

/// Answers a chooser as the platform's own would: it takes files that exist and whose names fit.
bool TakeFile(OPENFILENAMEW& request, const Text& file) {
    if (file.empty() || file.size() >= request.nMaxFile) return false;
    if ((request.Flags & OFN_FILEMUSTEXIST) != 0 && !std::filesystem::exists(std::filesystem::path(file))) return false;
    *std::copy(file.begin(), file.end(), request.lpstrFile) = 0;
    return true;
}

class ScriptedUser : public DialogUser {
public:
    explicit ScriptedUser(ScriptedWindow& dialog) : dialog_(dialog) {}

    Text Title() override {
        const std::string title = dialog_.shape->title;
        return {title.begin(), title.end()};
    }
    bool Exists(int control) override { return dialog_.Find(control) != nullptr; }
    bool IsEnabled(int control) override { return At(control).enabled; }
    bool IsChecked(int control) override { return At(control).checked; }
    Text TextOf(int control) override { return At(control).text; }
    std::vector<Text> Items(int combo) override { return At(combo).items; }
    int Selected(int combo) override { return At(combo).selected; }

    void Choose(int combo, int index) override {
        ScriptedWindow& window = At(combo);
        if (!window.enabled) return;
        window.selected = index;
        dialog_.Notify(combo, CBN_SELCHANGE);
    }

    void Type(int edit, const Text& text) override {
        ScriptedWindow& window = At(edit);
        if (!window.enabled || window.kind != DialogControlKind::kNumber) return;
        window.text = text.substr(0, window.textLimit);
        dialog_.Notify(edit, kEditChanged);
    }

    void Click(int button) override {
        ScriptedWindow& window = At(button);
        if (!window.enabled) return;
        if (window.kind == DialogControlKind::kCheck) window.checked = !window.checked;
        if (IsRadio(window)) {
            for (ScriptedWindow& other : dialog_.controls) {
                if (IsRadio(other)) other.checked = &other == &window;
            }
        }
        dialog_.Notify(button, BN_CLICKED);
    }

    ChooserSeen Browse(int button, const Text& file) override {
        ChooserSeen seen;
        ScriptedDesktop::Get().chooser = [&](OPENFILENAMEW& request) {
            seen.opened = true;
            seen.title = request.lpstrTitle;
            seen.filterText = request.lpstrFilter;
            seen.filterPattern = request.lpstrFilter + seen.filterText.size() + 1;
            return TakeFile(request, file);
        };
        if (At(button).enabled) dialog_.Notify(button, BN_CLICKED);
        ScriptedDesktop::Get().chooser = nullptr;
        return seen;
    }

    void Close() override { dialog_.Notify(IDCANCEL, BN_CLICKED); }

private:
    static constexpr WORD kEditChanged = 0x0300;

    static bool IsRadio(const ScriptedWindow& window) {
        return window.kind == DialogControlKind::kFirstRadio || window.kind == DialogControlKind::kRadio;
    }
    ScriptedWindow& At(int control) {
        ScriptedWindow* const window = dialog_.Find(control);
        if (window != nullptr) return *window;
        ADD_FAILURE() << "no control " << control;
        static ScriptedWindow none;
        return none;
    }

    ScriptedWindow& dialog_;
};

}  // namespace

int32_t PlayDialogOf(const std::function<int32_t()>& call, const std::function<void(DialogUser&)>& script) {
    ScriptedDesktop& desktop = ScriptedDesktop::Get();
    desktop.missingControls.clear();
    desktop.user = [&](ScriptedWindow& dialog) {
        ScriptedUser user(dialog);
        script(user);
        if (dialog.ended) return;
        ADD_FAILURE() << "the dialog was left open";
        user.Close();
    };
    const int32_t result = call();
    desktop.user = nullptr;
    EXPECT_TRUE(desktop.missingControls.empty()) << "no control " << desktop.missingControls.front();
    return result;
}

int DialogsOpened() { return ScriptedDesktop::Get().dialogsOpened; }

}  // namespace zv::test
