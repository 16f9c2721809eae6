// What both dialog procedures share.
#pragma once

#include <span>

#include "Common/dialogs/dialogs.h"
#include "host/dialogs.h"

namespace zv {

enum ClrControl : int {
    kMethodCombo = 116,
    kFirstProfileEdit = 117,
    kFirstProfileBrowse = 118,
    kSecondProfileEdit = 119,
    kSecondProfileBrowse = 120,
    kRgbTableEdit = 121,
    kRgbTableBrowse = 122,
    kWhiteCombo = 123,
    kWhiteX = 124,
    kWhiteY = 125,
    kGcrEdit = 126,
    kGcrSpin = 127,
    kLabTableEdit = 130,
    kLabTableBrowse = 131,
    kLabToRgbTableEdit = 132,
    kLabToRgbTableBrowse = 133,
    kRgbToLabRadio = 134,
    kLabToRgbRadio = 135,
    kBgrOrderCheck = 1001,
    kDirectionCheck = 1002,
};

/// The dialogs. Their initial parameter is a ClrDlgContext, which they keep as the window's user data.
INT_PTR CALLBACK ClrCmykDlgProc(HWND window, UINT message, WPARAM first, LPARAM second);
INT_PTR CALLBACK ClrLabDlgProc(HWND window, UINT message, WPARAM first, LPARAM second);

/// A button "...": the chooser that it opens, and where the chosen name goes.
struct ClrFileChoice {
    int button;
    const ZvChar* title;
    const ZvChar* filter;  ///< text and pattern, each ended, and another zero
    ZvChar (ClrParams::*field)[CLR_NAME_LENGTH];
    int edit;
};
inline constexpr ZvChar kProfileFilter[] = ZV_WIDE("ICC Files (*.ICM)\0*.ICM\0");
inline constexpr ZvChar kTableFilter[] = ZV_WIDE("TIFF Files (*.TIF)\0*.TIF\0");

inline constexpr int kMethodCount = 5;
/// Which controls of both dialogs a method has a use for, by the index in the method combo.
struct ClrMethodControls {
    bool profiles;
    bool whitePoint;
};
inline constexpr ClrMethodControls kMethodControls[kMethodCount] = {
    {false, false}, {false, true}, {true, true}, {false, false}, {false, false}};

void EnableControl(HWND window, int id, bool enable);
bool IsChecked(HWND window, int id);

/// What makes one dialog of the other. Contexts come with their params, but for `open`.
struct ClrDialogParts {
    std::span<const ClrFileChoice> files;
    void (*open)(HWND window, const ClrDlgContext& context);
    /// After both dialogs' part of a new method.
    void (*changeMethod)(HWND window, const ClrDlgContext& context, int index);
    /// A button that only this dialog has; false if it has none of that id.
    bool (*press)(HWND window, ClrDlgContext& context, int id);
    /// Before OK ends the dialog.
    void (*accept)(ClrDlgContext& context);
};

/// The whole of a dialog procedure.
INT_PTR HandleDialogMessage(const ClrDialogParts& parts, HWND window, UINT message, WPARAM first, LPARAM second);

}  // namespace zv
