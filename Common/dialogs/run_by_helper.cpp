// The dialogs where the library shows no windows itself: a program beside it does.
#include <cstdio>

#include "Common/dialogs/dialogs.h"
#include "Common/dialogs/reply.h"
#include "host/helper_program.h"

namespace zv {

bool ClrRunDialog(ClrDialog dialog, void* parentWindow, ClrDlgState* state) noexcept {
    char parent[2 + 2 * sizeof(void*) + 1];
    std::snprintf(parent, sizeof parent, "0x%zx", reinterpret_cast<size_t>(parentWindow));
    const char* const arguments[] = {dialog == ClrDialog::kCmyk ? "cmyk" : "lab", "--parent", parent, nullptr};
    ClrDlgReply reply;
    return ZvRunHelper("zvclr-settings", arguments, &reply, sizeof reply) && TakeReply(dialog, reply, state);
}

}  // namespace zv
