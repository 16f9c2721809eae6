// The dialogs where the library shows no windows itself: a program beside it does.
#include <cinttypes>
#include <cstdio>

#include "Common/dialogs/dialogs.h"
#include "Common/dialogs/reply.h"
#include "host/helper_program.h"

namespace zv {

namespace {

/// "--" before a word.
struct Option {
    explicit Option(const char* word) noexcept { std::snprintf(text, sizeof text, "--%s", word); }
    char text[32];
};

}  // namespace

bool ClrRunDialog(ClrDialog dialog, void* parentWindow, ClrDlgState* state) noexcept {
    char parent[2 + 2 * sizeof(void*) + 1];
    std::snprintf(parent, sizeof parent, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(parentWindow));
    const Option parentOption(kClrHelperParent);
    const Option versionOption(kClrHelperVersion);
    // A program of another version refuses at once, and not after the user has made his choices.
    const char* const arguments[] = {ClrHelperWord(dialog), parentOption.text,    parent,
                                     versionOption.text,    ZVCLR_VERSION_STRING, nullptr};
    ClrDlgReply reply;
    return ZvRunHelper(kClrHelperProgram, arguments, &reply, sizeof reply) && TakeReply(dialog, reply, state);
}

}  // namespace zv
