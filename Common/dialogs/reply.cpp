#include "Common/dialogs/reply.h"

#include "Common/names.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr char kVersion[sizeof(ClrDlgReply::version)] = ZVCLR_VERSION_STRING;

bool IsFlag(int32_t value) noexcept { return value == 0 || value == 1; }

/// What the dialogs can leave in a state; another program's bytes are not trusted to be it.
bool IsChoice(const ClrDlgState& state) noexcept {
    const ClrParams& params = state.params;
    const uint32_t method = params.activeMethod;
    return params.size == sizeof params && method != 0 && method <= CLRMETHOD_CUSTOM_EMULATION &&
           (method & (method - 1)) == 0 && params.methods == method && ClrNameEnds(params.inputProfileName) &&
           ClrNameEnds(params.outputProfileName) && ClrNameEnds(params.emulationTableName) &&
           IsFlag(state.context.labDirection) && IsFlag(state.context.bgrOrder) &&
           IsFlag(state.context.reverseDirection);
}

}  // namespace

ClrDlgReply MakeReply(ClrDialog dialog, const ClrDlgState& state) noexcept {
    ClrDlgReply reply = {};
    HostCopy(reply.version, kVersion, sizeof kVersion);
    reply.dialog = static_cast<int32_t>(dialog);
    reply.state = state;
    reply.state.context.params = nullptr;
    reply.state.params.whitePoint = nullptr;
    reply.state.params.cmykParams = nullptr;
    return reply;
}

bool TakeReply(ClrDialog dialog, const ClrDlgReply& reply, ClrDlgState* state) noexcept {
    if (HostCompare(reply.version, kVersion, sizeof kVersion) != 0) return false;
    if (reply.dialog != static_cast<int32_t>(dialog) || !IsChoice(reply.state)) return false;
    *state = reply.state;
    ClrConnectDialog(dialog, state);
    return true;
}

}  // namespace zv
