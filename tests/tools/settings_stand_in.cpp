// In place of zvclr-settings: the dialogs' own procedures, and a user who follows the lines of ZVCLR_TEST_USER:
// "choose COMBO INDEX", "browse BUTTON FILE", "tick BOX", "press BUTTON". Its arguments go to ZVCLR_TEST_ARGUMENTS.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "Common/dialogs/dialogs.h"
#include "Common/dialogs/reply.h"
#include "tests/support/scripted_dialogs.h"

namespace {

using namespace zv;
using namespace zv::test;

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

void choose(ScriptedWindow& dialog, int combo, int index) {
    SendMessageW(GetDlgItem(dialog.Handle(), combo), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    dialog.Notify(combo, CBN_SELCHANGE);
}

void browse(ScriptedWindow& dialog, int button, const std::string& file) {
    ScriptedDesktop::Get().chooser = [&file](OPENFILENAMEW& request) {
        for (size_t i = 0; i < file.size(); ++i) request.lpstrFile[i] = static_cast<ZvChar>(file[i]);
        return true;
    };
    dialog.Notify(button, BN_CLICKED);
}

void follow(ScriptedWindow& dialog, const std::string& line) {
    std::istringstream words(line);
    std::string verb, rest;
    int control = 0;
    words >> verb >> control >> std::ws;
    std::getline(words, rest);
    ScriptedWindow* const window = dialog.Find(control);
    // What is disabled does not react.
    if (window == nullptr || !window->enabled) return;
    if (verb == "choose") choose(dialog, control, std::atoi(rest.c_str()));
    if (verb == "browse") browse(dialog, control, rest);
    if (verb == "tick") window->checked = true;
    if (verb == "tick" || verb == "press") dialog.Notify(control, BN_CLICKED);
}

void writeArguments(int count, char** arguments) {
    const std::string file = environment("ZVCLR_TEST_ARGUMENTS");
    if (file.empty()) return;
    std::ofstream text(file);
    for (int i = 1; i < count; ++i) text << arguments[i] << '\n';
}

}  // namespace

int main(int count, char** arguments) {
    writeArguments(count, arguments);
    if (count < 4 || std::strcmp(arguments[count - 2], "--reply-to") != 0) return 2;
    const ClrDialog kind = std::strcmp(arguments[1], "cmyk") == 0 ? ClrDialog::kCmyk : ClrDialog::kLab;
    ScriptedDesktop::Get().user = [](ScriptedWindow& dialog) {
        std::istringstream lines(environment("ZVCLR_TEST_USER"));
        for (std::string line; !dialog.ended && std::getline(lines, line);) follow(dialog, line);
    };
    ClrDlgState state;
    ClrBeginDialog(kind, &state);
    if (!ClrRunDialog(kind, nullptr, &state)) return 1;
    const ClrDlgReply reply = MakeReply(kind, state);
    return write(std::atoi(arguments[count - 1]), &reply, sizeof reply) == static_cast<ssize_t>(sizeof reply) ? 0 : 1;
}
