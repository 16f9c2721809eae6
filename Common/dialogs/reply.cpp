#include "Common/dialogs/reply.h"

#include <algorithm>
#include <iterator>

#include "Common/names.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr char kVersion[sizeof(ClrDlgReply::version)] = ZVCLR_VERSION_STRING;

bool IsFlag(int32_t value) noexcept { return value == 0 || value == 1; }

bool IsMethod(uint32_t method) noexcept {
    return method != 0 && method <= CLRMETHOD_CUSTOM_EMULATION && (method & (method - 1)) == 0;
}

bool IsWhitePoint(const ClrWhitePoint& white, const ClrWhitePoint& begun) noexcept {
    const uint32_t code = white.whiteCode;
    return std::find(std::begin(kClrWhiteCodes), std::end(kClrWhiteCodes), code) != std::end(kClrWhiteCodes) &&
           white.x == begun.x && white.y == begun.y;
}

bool HasChoosersNames(const ClrParams& params) noexcept {
    return ClrNameFits(params.inputProfileName) && ClrNameFits(params.outputProfileName) &&
           ClrNameFits(params.emulationTableName);
}

/// What a dialog can leave in a state; another program's bytes are not trusted to be it.
bool IsChoice(ClrDialog dialog, const ClrDlgState& state) noexcept {
    ClrDlgState begun;
    ClrBeginDialog(dialog, &begun);
    return state.params.size == begun.params.size && state.params.emulationMethod == begun.params.emulationMethod &&
           IsMethod(state.params.activeMethod) && state.params.methods == state.params.activeMethod &&
           IsWhitePoint(state.whitePoint, begun.whitePoint) && HasChoosersNames(state.params) &&
           HostCompare(&state.cmykParams, &begun.cmykParams, sizeof begun.cmykParams) == 0 &&
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
    if (reply.dialog != static_cast<int32_t>(dialog) || !IsChoice(dialog, reply.state)) return false;
    *state = reply.state;
    ClrConnectDialog(dialog, state);
    return true;
}

}  // namespace zv
