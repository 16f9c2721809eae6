// What a program that shows a dialog for another one hands back.
#pragma once

#include <type_traits>

#include "Common/dialogs/dialogs.h"

namespace zv {

/// The bytes of a state, for a program of the same version on the same machine. There is a reply after OK only.
struct ClrDlgReply {
    char version[16];  ///< of the program that wrote it
    int32_t dialog;    ///< a ClrDialog
    ClrDlgState state;
};
static_assert(std::is_trivially_copyable_v<ClrDlgReply>);

/// Words of the command line that asks for a reply.
inline constexpr char kClrHelperProgram[] = "zvclr-settings";
inline constexpr char kClrHelperVersion[] = "version-of-caller";
inline constexpr char kClrHelperParent[] = "parent";
constexpr const char* ClrHelperWord(ClrDialog dialog) noexcept { return dialog == ClrDialog::kCmyk ? "cmyk" : "lab"; }

/// Pointers do not travel.
ClrDlgReply MakeReply(ClrDialog dialog, const ClrDlgState& state) noexcept;
/// False if it is no reply to this dialog by this version; the state then stays as it was.
bool TakeReply(ClrDialog dialog, const ClrDlgReply& reply, ClrDlgState* state) noexcept;

}  // namespace zv
