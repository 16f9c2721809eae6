// Zv_ClrDlg: a dialog, and what becomes of its choices.
#include "Common/dialogs/dialogs.h"
#include "host/host.h"
#include "host/platform.h"

namespace zv {

namespace {

/// The choices are written into these records after the dialog: one that cannot take them is refused before.
bool CanTakeChoices(ClrDialog dialog, ClrParams* params) noexcept {
    if (IsBadReadPtr(params, sizeof *params) || IsBadWritePtr(params, sizeof *params)) return false;
    if (params->whitePoint == nullptr || IsBadWritePtr(params->whitePoint, sizeof *params->whitePoint)) return false;
    if (dialog != ClrDialog::kCmyk) return true;
    return params->cmykParams != nullptr && !IsBadWritePtr(params->cmykParams, sizeof *params->cmykParams);
}

void CopyName(ZvChar (&to)[CLR_NAME_LENGTH], const ZvChar (&from)[CLR_NAME_LENGTH]) noexcept {
    HostMove(to, from, sizeof to);
}

void HandBack(ClrDialog dialog, const ClrDlgState& state, ClrParams* params) noexcept {
    // By bytes: the caller's small records may lie anywhere.
    HostMove(params->whitePoint, &state.whitePoint, sizeof state.whitePoint);
    if (dialog == ClrDialog::kCmyk) HostMove(params->cmykParams, &state.cmykParams, sizeof state.cmykParams);
    params->activeMethod = state.params.activeMethod;
    params->size = sizeof *params;
    params->emulationMethod = CLRMETHOD_EMULATION;
    params->methods = state.params.methods;
    CopyName(params->inputProfileName, state.params.inputProfileName);
    CopyName(params->outputProfileName, state.params.outputProfileName);
    CopyName(params->emulationTableName, state.params.emulationTableName);
}

/// The direction check box does not turn it round.
constexpr int32_t DestinationOf(ClrDialog dialog) noexcept {
    return dialog == ClrDialog::kCmyk ? CLRSPACE_CMYK : CLRSPACE_LAB;
}

constexpr size_t kSwappedCharacters = 260;

}  // namespace

void ClrTurnDirection(ClrDialog dialog, ClrDlgState* state) noexcept {
    if (state->context.reverseDirection == 0) return;
    ClrParams& params = state->params;
    if (params.activeMethod == CLRMETHOD_CUSTOM_ICC) {
        ZvChar held[kSwappedCharacters];
        HostMove(held, params.inputProfileName, sizeof held);
        HostMove(params.inputProfileName, params.outputProfileName, sizeof held);
        HostMove(params.outputProfileName, held, sizeof held);
    }
    const bool emulation =
        params.activeMethod == CLRMETHOD_EMULATION || params.activeMethod == CLRMETHOD_CUSTOM_EMULATION;
    if (dialog == ClrDialog::kCmyk && emulation) params.activeMethod = CLRMETHOD_BUILTIN;
}

}  // namespace zv

using namespace zv;

int32_t Zv_ClrDlg(int32_t dialogType, void* parentWindow, ClrHandle** converterOut, ClrParams* params) {
    if (!ClrIsDialog(dialogType)) return CLR_SUCCESS;
    const auto dialog = static_cast<ClrDialog>(dialogType);
    if (params != nullptr && !CanTakeChoices(dialog, params)) return ERR_INVALID_PARAMETER;

    ClrDlgState state;
    ClrBeginDialog(dialog, &state);
    if (!ClrRunDialog(dialog, parentWindow, &state)) return 0;

    ClrTurnDirection(dialog, &state);
    int32_t result = CLR_SUCCESS;
    if (converterOut != nullptr) {
        const int32_t source = state.context.bgrOrder != 0 ? CLRSPACE_BGR : CLRSPACE_RGB;
        result = Zv_ClrInit(converterOut, source, DestinationOf(dialog), &state.params);
    } else if (dialog == ClrDialog::kLab) {
        return ERR_INVALID_PARAMETER;
    }
    if (params != nullptr) {
        if (converterOut != nullptr) ClrTurnDirection(dialog, &state);
        HandBack(dialog, state, params);
    }
    return result;
}
