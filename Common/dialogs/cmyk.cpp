// The CMYK dialog.
#include "Common/dialogs/controls.h"

namespace zv {

namespace {

constexpr ClrFileChoice kFiles[] = {
    {kFirstProfileBrowse, ZV_WIDE("Open CMYK Profile"), kProfileFilter, &ClrParams::inputProfileName,
     kFirstProfileEdit},
    {kSecondProfileBrowse, ZV_WIDE("Open RGB Profile"), kProfileFilter, &ClrParams::outputProfileName,
     kSecondProfileEdit},
    {kRgbTableBrowse, ZV_WIDE("Open destination RGB image"), kTableFilter, &ClrParams::emulationTableName,
     kRgbTableEdit},
};

struct CmykControls {
    bool gcr;
    bool table;
    bool direction;
};
constexpr CmykControls kCmykControls[kMethodCount] = {
    {true, false, true}, {false, false, true}, {false, false, true}, {false, false, false}, {false, true, false}};

constexpr int kLargestGcr = 1000;

void EnableTable(HWND window, bool enable) {
    EnableControl(window, kRgbTableEdit, enable);
    EnableControl(window, kRgbTableBrowse, enable);
}

void Open(HWND window, const ClrDlgContext& context) {
    const HWND spin = GetDlgItem(window, kGcrSpin);
    SendMessageW(spin, UDM_SETRANGE, 0, MAKELPARAM(kLargestGcr, 0));
    // The level goes where the message does not look: the control stands at 0, as it always has.
    const int32_t level = context.params != nullptr ? context.params->cmykParams->gcrLevel : 0;
    SendMessageW(spin, UDM_SETPOS, static_cast<WPARAM>(level), 0);
    EnableTable(window, false);
    EnableControl(window, kGcrEdit, true);
}

void ChangeMethod(HWND window, const ClrDlgContext&, int index) {
    EnableControl(window, kGcrEdit, kCmykControls[index].gcr);
    EnableTable(window, kCmykControls[index].table);
    EnableControl(window, kDirectionCheck, kCmykControls[index].direction);
}

bool Press(HWND, ClrDlgContext&, int) { return false; }

void Accept(ClrDlgContext& context) {
    const uint32_t method = context.params->activeMethod;
    if (method == CLRMETHOD_EMULATION || method == CLRMETHOD_CUSTOM_EMULATION) context.reverseDirection = 0;
}

constexpr ClrDialogParts kParts = {kFiles, Open, ChangeMethod, Press, Accept};

}  // namespace

INT_PTR CALLBACK ClrCmykDlgProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    return HandleDialogMessage(kParts, window, message, first, second);
}

}  // namespace zv
