// Zv_ClrDlg: a dialog, and what becomes of its choices.
#include "Common/dialogs/dialogs.h"
#include "host/host.h"
#include "host/platform.h"

namespace zv {

namespace {

/// Where the choices go: the caller's records as they were before the dialog, whatever happens to the pointers
/// meanwhile.
struct Receivers {
    ClrParams* params;
    ClrWhitePoint* whitePoint;
    ClrCmykParams* cmykParams;  ///< null but in the CMYK dialog
};

/// False for records that could not take the choices.
bool FindReceivers(ClrDialog dialog, ClrParams* params, Receivers* receivers) noexcept {
    if (IsBadReadPtr(params, sizeof *params) || IsBadWritePtr(params, sizeof *params)) return false;
    *receivers = {params, params->whitePoint, nullptr};
    if (receivers->whitePoint == nullptr || IsBadWritePtr(receivers->whitePoint, sizeof(ClrWhitePoint))) return false;
    if (dialog != ClrDialog::kCmyk) return true;
    receivers->cmykParams = params->cmykParams;
    return receivers->cmykParams != nullptr && !IsBadWritePtr(receivers->cmykParams, sizeof(ClrCmykParams));
}

void CopyName(ZvChar (&to)[CLR_NAME_LENGTH], const ZvChar (&from)[CLR_NAME_LENGTH]) noexcept {
    HostMove(to, from, sizeof to);
}

void HandBack(const ClrDlgState& state, const Receivers& receivers) noexcept {
    // By bytes: the small records may lie anywhere.
    HostMove(receivers.whitePoint, &state.whitePoint, sizeof state.whitePoint);
    if (receivers.cmykParams != nullptr) HostMove(receivers.cmykParams, &state.cmykParams, sizeof state.cmykParams);
    receivers.params->activeMethod = state.params.activeMethod;
    receivers.params->size = sizeof(ClrParams);
    receivers.params->emulationMethod = CLRMETHOD_EMULATION;
    receivers.params->methods = state.params.methods;
    CopyName(receivers.params->inputProfileName, state.params.inputProfileName);
    CopyName(receivers.params->outputProfileName, state.params.outputProfileName);
    CopyName(receivers.params->emulationTableName, state.params.emulationTableName);
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
    Receivers receivers = {};
    if (params != nullptr && !FindReceivers(dialog, params, &receivers)) return ERR_INVALID_PARAMETER;

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
        HandBack(state, receivers);
    }
    return result;
}
