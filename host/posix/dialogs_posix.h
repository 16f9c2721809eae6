// The platform's dialog calls for programs on POSIX systems that show windows: same names, arguments, messages and
// numbers as on Windows, as far as the settings dialogs use them. Who links them defines the functions.
#pragma once

#include <cstdint>

#include "host/platform.h"

struct ZvWindow;
using HWND = ZvWindow*;
using UINT = unsigned int;
using WORD = uint16_t;
using INT_PTR = intptr_t;
using LONG_PTR = intptr_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using HINSTANCE = HMODULE;
using LPWSTR = ZvChar*;
#define CALLBACK
using DLGPROC = INT_PTR(CALLBACK*)(HWND window, UINT message, WPARAM first, LPARAM second);

#define LOWORD(value) (static_cast<WORD>((value)&0xFFFF))
#define HIWORD(value) (static_cast<WORD>(((value) >> 16) & 0xFFFF))
#define MAKELONG(low, high)                                                                                            \
    (static_cast<LONG>(static_cast<uint32_t>(static_cast<WORD>(low)) | static_cast<uint32_t>(static_cast<WORD>(high))  \
                                                                           << 16))
#define MAKEWPARAM(low, high) (static_cast<WPARAM>(static_cast<DWORD>(MAKELONG(low, high))))
#define MAKELPARAM(low, high) (static_cast<LPARAM>(static_cast<DWORD>(MAKELONG(low, high))))

inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int GWLP_USERDATA = -21;

inline constexpr UINT EM_LIMITTEXT = 0x00C5;
inline constexpr UINT BM_GETCHECK = 0x00F0;
inline constexpr UINT BM_SETCHECK = 0x00F1;
inline constexpr UINT WM_INITDIALOG = 0x0110;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT CB_ADDSTRING = 0x0143;
inline constexpr UINT CB_GETCURSEL = 0x0147;
inline constexpr UINT CB_SETCURSEL = 0x014E;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT UDM_SETRANGE = WM_USER + 101;
inline constexpr UINT UDM_SETPOS = WM_USER + 103;
inline constexpr LRESULT CB_ERR = -1;
inline constexpr WPARAM BST_UNCHECKED = 0;
inline constexpr WPARAM BST_CHECKED = 1;
inline constexpr WORD BN_CLICKED = 0;
inline constexpr WORD CBN_SELCHANGE = 1;

inline constexpr DWORD OFN_FILEMUSTEXIST = 0x00001000;
inline constexpr DWORD OFN_EXPLORER = 0x00080000;
inline constexpr DWORD OFN_LONGNAMES = 0x00200000;

/// The fields that the dialogs fill, in the system's order; the rest is zero.
struct OPENFILENAMEW {
    DWORD lStructSize;
    HWND hwndOwner;
    HINSTANCE hInstance;
    LPCWSTR lpstrFilter;
    LPWSTR lpstrCustomFilter;
    DWORD nMaxCustFilter;
    DWORD nFilterIndex;
    LPWSTR lpstrFile;
    DWORD nMaxFile;
    LPWSTR lpstrFileTitle;
    DWORD nMaxFileTitle;
    LPCWSTR lpstrInitialDir;
    LPCWSTR lpstrTitle;
    DWORD Flags;
};

/// The result of EndDialog; -1 if the dialog could not be made.
INT_PTR DialogBoxParamW(HINSTANCE module, LPCWSTR templateName, HWND parent, DLGPROC procedure, LPARAM parameter);
BOOL EndDialog(HWND dialog, INT_PTR result);
HWND GetDlgItem(HWND dialog, int id);
LRESULT SendMessageW(HWND window, UINT message, WPARAM first, LPARAM second);
/// Nonzero if the window was disabled before.
BOOL EnableWindow(HWND window, BOOL enable);
BOOL SetWindowTextW(HWND window, LPCWSTR text);
LONG_PTR GetWindowLongPtrW(HWND window, int index);
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
BOOL GetOpenFileNameW(OPENFILENAMEW* request);
/// Nothing to register here.
inline void InitCommonControls() {}
