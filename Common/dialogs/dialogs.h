// The settings dialogs: what they let a user choose, and what becomes of the choices.
#pragma once

#include <cstdint>

#include "zvclr.h"

namespace zv {

/// The types of Zv_ClrDlg.
enum class ClrDialog : int32_t { kCmyk = 1, kLab = 2 };

/// Whether Zv_ClrDlg has a dialog of this type.
constexpr bool ClrIsDialog(int32_t dialogType) noexcept {
    return dialogType == static_cast<int32_t>(ClrDialog::kCmyk) || dialogType == static_cast<int32_t>(ClrDialog::kLab);
}

/// What a dialog procedure works on: the dialog's initial parameter.
struct ClrDlgContext {
    ClrParams* params;         ///< the working record with its whitePoint, for CMYK with cmykParams; null after Cancel
    int32_t labDirection;      ///< 0 RGB to Lab, 1 Lab to RGB
    int32_t bgrOrder;          ///< 0 or 1
    int32_t reverseDirection;  ///< 0 or 1
};

/// The context, its working record and all that this points to.
struct ClrDlgState {
    ClrDlgContext context;
    ClrParams params;
    ClrWhitePoint whitePoint;
    ClrCmykParams cmykParams;
};

/// The codes of the sorted white point combo, in its order; 0 is the custom point.
inline constexpr uint32_t kClrWhiteCodes[] = {0, 50, 55, 65, 75, 93};
inline constexpr uint32_t kClrCustomWhite = kClrWhiteCodes[0];

/// What a dialog starts from.
void ClrBeginDialog(ClrDialog dialog, ClrDlgState* state) noexcept;
/// Points the parts of a state at each other: needed once more when its bytes were moved.
void ClrConnectDialog(ClrDialog dialog, ClrDlgState* state) noexcept;

/// Shows a dialog until a button ends it. True for OK, and the state holds the choices. False for Cancel, and when the
/// dialog could not be shown.
bool ClrRunDialog(ClrDialog dialog, void* parentWindow, ClrDlgState* state) noexcept;

/// The first step after OK. Its second run takes back what the first did to the names.
void ClrTurnDirection(ClrDialog dialog, ClrDlgState* state) noexcept;

}  // namespace zv
