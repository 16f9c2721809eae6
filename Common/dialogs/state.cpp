#include "Common/dialogs/dialogs.h"

namespace zv {

namespace {

constexpr uint32_t kAllMethods = CLRMETHOD_BUILTIN | CLRMETHOD_ICC | CLRMETHOD_CUSTOM_ICC | CLRMETHOD_EMULATION |
                                 CLRMETHOD_CUSTOM_EMULATION | CLRMETHOD_AUTOMATIC;
constexpr uint32_t kD50 = 50;
constexpr int32_t kGcrLevel = 250;

}  // namespace

void ClrBeginDialog(ClrDialog dialog, ClrDlgState* state) noexcept {
    *state = {};
    state->params.size = sizeof state->params;
    state->params.activeMethod = CLRMETHOD_BUILTIN;
    state->params.methods = kAllMethods;
    state->params.emulationMethod = CLRMETHOD_EMULATION;
    state->whitePoint.whiteCode = kD50;
    if (dialog == ClrDialog::kCmyk) state->cmykParams = {sizeof state->cmykParams, kGcrLevel, 1};
    ClrConnectDialog(dialog, state);
}

void ClrConnectDialog(ClrDialog dialog, ClrDlgState* state) noexcept {
    state->context.params = &state->params;
    state->params.whitePoint = &state->whitePoint;
    state->params.inputProfileMemory = nullptr;
    state->params.outputProfileMemory = nullptr;
    state->params.cmykParams = dialog == ClrDialog::kCmyk ? &state->cmykParams : nullptr;
    state->params.yuvParams = nullptr;
    state->params.labParams = nullptr;
}

}  // namespace zv
