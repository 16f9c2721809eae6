// The CIELab dialog.
#include "Common/dialogs/controls.h"

namespace zv {

namespace {

constexpr ClrFileChoice kFiles[] = {
    {kFirstProfileBrowse, ZV_WIDE("Open LAB Profile"), kProfileFilter, &ClrParams::inputProfileName, kFirstProfileEdit},
    {kSecondProfileBrowse, ZV_WIDE("Open RGB Profile"), kProfileFilter, &ClrParams::outputProfileName,
     kSecondProfileEdit},
    {kLabTableBrowse, ZV_WIDE("Open destination Lab image"), kTableFilter, &ClrParams::emulationTableName,
     kLabTableEdit},
    {kLabToRgbTableBrowse, ZV_WIDE("Open destination RGB image"), kTableFilter, &ClrParams::emulationTableName,
     kLabToRgbTableEdit},
};

constexpr int kCustomEmulationIndex = 4;
constexpr int32_t kRgbToLab = 0;
constexpr int32_t kLabToRgb = 1;
constexpr int32_t kNoDirection = -1;

/// The table of one direction; the other's is off.
void EnableTables(HWND window, int32_t direction) {
    EnableControl(window, kLabTableEdit, direction == kRgbToLab);
    EnableControl(window, kLabTableBrowse, direction == kRgbToLab);
    EnableControl(window, kLabToRgbTableEdit, direction == kLabToRgb);
    EnableControl(window, kLabToRgbTableBrowse, direction == kLabToRgb);
}

void EnableDirections(HWND window, const ClrDlgContext& context, bool enable) {
    EnableControl(window, kRgbToLabRadio, enable);
    EnableControl(window, kLabToRgbRadio, enable);
    EnableTables(window, enable ? context.labDirection : kNoDirection);
}

void Open(HWND window, const ClrDlgContext& context) {
    const int checked = context.labDirection == kRgbToLab ? kRgbToLabRadio : kLabToRgbRadio;
    SendMessageW(GetDlgItem(window, checked), BM_SETCHECK, BST_CHECKED, 0);
    EnableDirections(window, context, false);
}

void ChangeMethod(HWND window, const ClrDlgContext& context, int index) {
    EnableDirections(window, context, index == kCustomEmulationIndex);
}

bool Press(HWND window, ClrDlgContext& context, int id) {
    if (id != kRgbToLabRadio && id != kLabToRgbRadio) return false;
    context.labDirection = IsChecked(window, kRgbToLabRadio) ? kRgbToLab : kLabToRgb;
    EnableTables(window, context.labDirection);
    return true;
}

void Accept(ClrDlgContext&) {}

constexpr ClrDialogParts kParts = {kFiles, Open, ChangeMethod, Press, Accept};

}  // namespace

INT_PTR CALLBACK ClrLabDlgProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    return HandleDialogMessage(kParts, window, message, first, second);
}

}  // namespace zv
