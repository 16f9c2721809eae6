#include "Common/dialogs/controls.h"

#include <charconv>
#include <iterator>

#include "host/host.h"

namespace zv {

namespace {

constexpr const ZvChar* kMethodTexts[kMethodCount] = {
    ZV_WIDE("Built-in conversion"),       ZV_WIDE("ICC profiling"),           ZV_WIDE("Custom ICC Profiling"),
    ZV_WIDE("Built-in emulation tables"), ZV_WIDE("Custom emulation tables"),
};

// In the order of adding; the combo sorts them.
constexpr const ZvChar* kWhiteTexts[] = {ZV_WIDE("D50"), ZV_WIDE("D55"), ZV_WIDE("D65"),
                                         ZV_WIDE("D75"), ZV_WIDE("D93"), ZV_WIDE("Custom (xyY) point")};
constexpr WPARAM kFirstWhiteIndex = 1;

constexpr WPARAM kWhiteEditLength = 8;
constexpr DWORD kChooserFlags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_LONGNAMES;
static_assert(kChooserFlags == 0x281000);
constexpr DWORD kChooserLength = 260;

LRESULT Send(HWND window, int id, UINT message, WPARAM first, LPARAM second) {
    return SendMessageW(GetDlgItem(window, id), message, first, second);
}

void FillCombo(HWND window, int id, std::span<const ZvChar* const> texts, WPARAM selected) {
    for (const ZvChar* text : texts) Send(window, id, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    Send(window, id, CB_SETCURSEL, selected, 0);
}

/// As "%f" writes it in the C locale, whatever the program's locale is.
void ShowNumber(HWND window, int id, double value) {
    char digits[400];
    const auto end = std::to_chars(std::begin(digits), std::end(digits) - 1, value, std::chars_format::fixed, 6).ptr;
    ZvChar text[sizeof digits] = {};
    for (int i = 0; digits + i < end; ++i) text[i] = static_cast<ZvChar>(digits[i]);
    SetWindowTextW(GetDlgItem(window, id), text);
}

void EnableWhiteEdits(HWND window, bool enable) {
    EnableControl(window, kWhiteX, enable);
    EnableControl(window, kWhiteY, enable);
}

void ShowWhitePoint(HWND window, const ClrParams* params) {
    for (const int id : {kWhiteX, kWhiteY}) Send(window, id, EM_LIMITTEXT, kWhiteEditLength, 0);
    if (params == nullptr) {
        for (const int id : {kWhiteX, kWhiteY}) SetWindowTextW(GetDlgItem(window, id), ZV_WIDE("0.0"));
        return;
    }
    ShowNumber(window, kWhiteX, params->whitePoint->x);
    ShowNumber(window, kWhiteY, params->whitePoint->y);
}

void EnableForMethod(HWND window, const ClrMethodControls& controls, bool customWhite) {
    for (const int id : {kFirstProfileEdit, kFirstProfileBrowse, kSecondProfileEdit, kSecondProfileBrowse}) {
        EnableControl(window, id, controls.profiles);
    }
    EnableControl(window, kWhiteCombo, controls.whitePoint);
    EnableWhiteEdits(window, controls.whitePoint && customWhite);
}

/// The index in a combo, or -1.
int SelectedIndex(HWND window, int id) { return static_cast<int>(Send(window, id, CB_GETCURSEL, 0, 0)); }

/// All that follows a method is off.
void Open(const ClrDialogParts& parts, HWND window, LPARAM parameter) {
    SetWindowLongPtrW(window, GWLP_USERDATA, parameter);
    const auto* context = reinterpret_cast<const ClrDlgContext*>(parameter);
    ShowWhitePoint(window, context->params);
    FillCombo(window, kMethodCombo, kMethodTexts, 0);
    FillCombo(window, kWhiteCombo, kWhiteTexts, kFirstWhiteIndex);
    EnableForMethod(window, {false, false}, false);
    parts.open(window, *context);
    if (context->params != nullptr) context->params->activeMethod = CLRMETHOD_BUILTIN;
}

void UpdateMethod(const ClrDialogParts& parts, HWND window, const ClrDlgContext& context) {
    const int index = SelectedIndex(window, kMethodCombo);
    if (index < 0 || index >= kMethodCount) return;
    context.params->activeMethod = 1U << index;
    context.params->methods = 1U << index;
    EnableForMethod(window, kMethodControls[index], context.params->whitePoint->whiteCode == kClrCustomWhite);
    parts.changeMethod(window, context, index);
}

void UpdateWhitePoint(HWND window, const ClrDlgContext& context) {
    const int index = SelectedIndex(window, kWhiteCombo);
    if (index < 0 || index >= static_cast<int>(std::size(kClrWhiteCodes))) return;
    context.params->whitePoint->whiteCode = kClrWhiteCodes[index];
    EnableWhiteEdits(window, kClrWhiteCodes[index] == kClrCustomWhite);
}

void Accept(const ClrDialogParts& parts, HWND window, ClrDlgContext& context) {
    UpdateMethod(parts, window, context);
    UpdateWhitePoint(window, context);
    parts.accept(context);
    EndDialog(window, IDOK);
}

void Cancel(HWND window, ClrDlgContext& context) {
    context = {};
    EndDialog(window, IDCANCEL);
}

void Browse(HWND window, const ClrFileChoice& choice, ClrParams* params) {
    ZvChar name[kChooserLength] = {};
    OPENFILENAMEW request = {};
    request.lStructSize = sizeof request;
    request.hwndOwner = window;
    request.lpstrFilter = choice.filter;
    request.nFilterIndex = 1;
    request.lpstrFile = name;
    request.nMaxFile = kChooserLength;
    request.lpstrTitle = choice.title;
    request.Flags = kChooserFlags;
    if (GetOpenFileNameW(&request) == FALSE) return;
    name[kChooserLength - 1] = 0;
    HostMove(params->*choice.field, name, sizeof name);
    SetWindowTextW(GetDlgItem(window, choice.edit), name);
}

bool Press(const ClrDialogParts& parts, HWND window, ClrDlgContext& context, int id) {
    if (id == kBgrOrderCheck || id == kDirectionCheck) {
        context.bgrOrder = IsChecked(window, kBgrOrderCheck) ? 1 : 0;
        context.reverseDirection = IsChecked(window, kDirectionCheck) ? 1 : 0;
        return true;
    }
    for (const ClrFileChoice& choice : parts.files) {
        if (choice.button != id) continue;
        Browse(window, choice, context.params);
        return true;
    }
    return parts.press(window, context, id);
}

bool Command(const ClrDialogParts& parts, HWND window, ClrDlgContext& context, int id, WORD event) {
    if (id == IDCANCEL) {
        Cancel(window, context);
        return true;
    }
    if (id == IDOK && context.params != nullptr) {
        Accept(parts, window, context);
        return true;
    }
    // Controls may speak up once more while an ended dialog goes away.
    if (context.params == nullptr) return false;
    if (id == kMethodCombo || id == kWhiteCombo) {
        if (event != CBN_SELCHANGE) return false;
        if (id == kMethodCombo) UpdateMethod(parts, window, context);
        if (id == kWhiteCombo) UpdateWhitePoint(window, context);
        return true;
    }
    return event == BN_CLICKED && Press(parts, window, context, id);
}

}  // namespace

void EnableControl(HWND window, int id, bool enable) { EnableWindow(GetDlgItem(window, id), enable ? TRUE : FALSE); }

bool IsChecked(HWND window, int id) { return Send(window, id, BM_GETCHECK, 0, 0) == static_cast<LRESULT>(BST_CHECKED); }

INT_PTR HandleDialogMessage(const ClrDialogParts& parts, HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG) {
        Open(parts, window, second);
        return TRUE;
    }
    if (message != WM_COMMAND) return FALSE;
    auto* context = reinterpret_cast<ClrDlgContext*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (context == nullptr) return FALSE;
    return Command(parts, window, *context, LOWORD(first), HIWORD(first)) ? TRUE : FALSE;
}

}  // namespace zv
