// The dialog templates as tables, for faces of the dialogs other than the platform's own.
#pragma once

#include <cstdint>
#include <span>

#include "resources/dialog_list.h"
#include "zvclr.h"

namespace zv {

enum class DialogControlKind {
    kGroup,
    kLabel,
    kMethods,
    kWhites,
    kName,
    kNumber,
    kSpin,
    kBrowse,
    kDefaultButton,
    kButton,
    kCheck,
    kFirstRadio,
    kRadio,
};

/// In dialog units. The text has its accelerator marked by &.
struct DialogControl {
    DialogControlKind kind;
    const char* text;
    int id;
    int x;
    int y;
    int width;
    int height;
};

struct DialogTemplate {
    int id;
    const char* title;
    int width;
    int height;
    std::span<const DialogControl> controls;
};

inline constexpr int kNoControlId = 0xFFFF;

#define ZVCLR_GROUP(text, id, ...) {DialogControlKind::kGroup, text, id, __VA_ARGS__},
#define ZVCLR_LABEL(text, ...) {DialogControlKind::kLabel, text, kNoControlId, __VA_ARGS__},
#define ZVCLR_METHODS(id, ...) {DialogControlKind::kMethods, "", id, __VA_ARGS__},
#define ZVCLR_WHITES(id, ...) {DialogControlKind::kWhites, "", id, __VA_ARGS__},
#define ZVCLR_NAME(id, ...) {DialogControlKind::kName, "", id, __VA_ARGS__},
#define ZVCLR_NUMBER(id, ...) {DialogControlKind::kNumber, "", id, __VA_ARGS__},
#define ZVCLR_SPIN(id, ...) {DialogControlKind::kSpin, "", id, __VA_ARGS__},
#define ZVCLR_BROWSE(text, id, ...) {DialogControlKind::kBrowse, text, id, __VA_ARGS__},
#define ZVCLR_DEFAULT(text, id, ...) {DialogControlKind::kDefaultButton, text, id, __VA_ARGS__},
#define ZVCLR_BUTTON(text, id, ...) {DialogControlKind::kButton, text, id, __VA_ARGS__},
#define ZVCLR_CHECK(text, id, ...) {DialogControlKind::kCheck, text, id, __VA_ARGS__},
#define ZVCLR_RADIO_FIRST(text, id, ...) {DialogControlKind::kFirstRadio, text, id, __VA_ARGS__},
#define ZVCLR_RADIO(text, id, ...) {DialogControlKind::kRadio, text, id, __VA_ARGS__},
#define ZVCLR_CONTROLS_OF(dialog)                                                                                      \
    dialog(ZVCLR_GROUP, ZVCLR_LABEL, ZVCLR_METHODS, ZVCLR_WHITES, ZVCLR_NAME, ZVCLR_NUMBER, ZVCLR_SPIN, ZVCLR_BROWSE,  \
           ZVCLR_DEFAULT, ZVCLR_BUTTON, ZVCLR_CHECK, ZVCLR_RADIO_FIRST, ZVCLR_RADIO)

inline constexpr DialogControl kCmykDialogControls[] = {ZVCLR_CONTROLS_OF(ZVCLR_CMYK_DIALOG)};
inline constexpr DialogControl kLabDialogControls[] = {ZVCLR_CONTROLS_OF(ZVCLR_LAB_DIALOG)};

#undef ZVCLR_CONTROLS_OF
#undef ZVCLR_GROUP
#undef ZVCLR_LABEL
#undef ZVCLR_METHODS
#undef ZVCLR_WHITES
#undef ZVCLR_NAME
#undef ZVCLR_NUMBER
#undef ZVCLR_SPIN
#undef ZVCLR_BROWSE
#undef ZVCLR_DEFAULT
#undef ZVCLR_BUTTON
#undef ZVCLR_CHECK
#undef ZVCLR_RADIO_FIRST
#undef ZVCLR_RADIO

inline constexpr DialogTemplate kDialogTemplates[] = {
    {ZVCLR_CMYK_DIALOG_ID, ZVCLR_CMYK_DIALOG_TITLE, ZVCLR_DIALOG_WIDTH, ZVCLR_CMYK_DIALOG_HEIGHT, kCmykDialogControls},
    {ZVCLR_LAB_DIALOG_ID, ZVCLR_LAB_DIALOG_TITLE, ZVCLR_DIALOG_WIDTH, ZVCLR_LAB_DIALOG_HEIGHT, kLabDialogControls},
};

/// Null for other ids.
inline const DialogTemplate* FindDialogTemplate(uintptr_t id) {
    for (const DialogTemplate& dialog : kDialogTemplates) {
        if (static_cast<uintptr_t>(dialog.id) == id) return &dialog;
    }
    return nullptr;
}

}  // namespace zv
