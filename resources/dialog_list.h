/*
 * The one description of the dialog templates, for the resource compiler and for systems without dialog resources.
 * Positions and sizes are in dialog units: x, y, width, height. Controls stand in tab order; a label stands before the
 * control that its accelerator leads to. The sizes of combos are those of their open lists.
 *
 * - GROUP(text, id, place): a frame
 * - LABEL(text, place): text beside the control that follows
 * - METHODS(id, place), WHITES(id, place): drop-down lists, the second sorted
 * - NAME(id, place): an edit that only browsing fills
 * - NUMBER(id, place): an edit for a number
 * - SPIN(id, place): arrows of the edit before them
 * - BROWSE(text, id, place), BUTTON(text, id, place): buttons
 * - DEFAULT(text, id, place): the button that Enter presses
 * - CHECK(text, id, place): a check box
 * - RADIO_FIRST, RADIO(text, id, place): radio buttons that exclude each other
 */
#ifndef ZVCLR_DIALOG_LIST_H
#define ZVCLR_DIALOG_LIST_H

#define ZVCLR_DIALOG_FONT "MS Sans Serif"
#define ZVCLR_DIALOG_POINTS 8
#define ZVCLR_DIALOG_WIDTH 276

/* What both dialogs begin with; the labels of the profiles differ. */
#define ZVCLR_COMMON_CONTROLS(first, second, LABEL, METHODS, WHITES, NAME, NUMBER, BROWSE)                             \
    LABEL("Conversion &Method", 7, 9, 94, 8)                                                                           \
    METHODS(116, 104, 7, 165, 90)                                                                                      \
    LABEL(first, 7, 28, 94, 8)                                                                                         \
    NAME(117, 104, 26, 142, 14)                                                                                        \
    BROWSE("...", 118, 250, 26, 19, 14)                                                                                \
    LABEL(second, 7, 46, 94, 8)                                                                                        \
    NAME(119, 104, 44, 142, 14)                                                                                        \
    BROWSE("...", 120, 250, 44, 19, 14)                                                                                \
    LABEL("&White point", 7, 65, 94, 8)                                                                                \
    WHITES(123, 104, 63, 165, 90)                                                                                      \
    LABEL("&x", 104, 84, 8, 8)                                                                                         \
    NUMBER(124, 114, 82, 42, 14)                                                                                       \
    LABEL("&y", 162, 84, 8, 8)                                                                                         \
    NUMBER(125, 172, 82, 42, 14)                                                                                       \
    LABEL("Y is always 1.0", 219, 84, 50, 8)

#define ZVCLR_CMYK_DIALOG_ID 114
#define ZVCLR_CMYK_DIALOG_TITLE "CMYK color settings"
#define ZVCLR_CMYK_DIALOG_HEIGHT 206
#define ZVCLR_CMYK_DIALOG(GROUP, LABEL, METHODS, WHITES, NAME, NUMBER, SPIN, BROWSE, DEFAULT, BUTTON, CHECK,           \
                          RADIO_FIRST, RADIO)                                                                          \
    ZVCLR_COMMON_CONTROLS("&CMYK Profile", "&RGB profile", LABEL, METHODS, WHITES, NAME, NUMBER, BROWSE)               \
    GROUP("Emulation tables", 0xFFFF, 7, 102, 262, 34)                                                                 \
    LABEL("&Destination RGB table", 14, 118, 86, 8)                                                                    \
    NAME(121, 104, 116, 135, 14)                                                                                       \
    BROWSE("...", 122, 243, 116, 19, 14)                                                                               \
    GROUP("Built-in Settings", 0xFFFF, 7, 140, 128, 40)                                                                \
    LABEL("&GCR", 14, 158, 24, 8)                                                                                      \
    NUMBER(126, 42, 156, 54, 14)                                                                                       \
    SPIN(127, 96, 156, 11, 14)                                                                                         \
    GROUP("Miscellaneous", 0xFFFF, 141, 140, 128, 40)                                                                  \
    CHECK("BGR &Order", 1001, 148, 152, 114, 10)                                                                       \
    CHECK("RGB &to CMYK", 1002, 148, 165, 114, 10)                                                                     \
    DEFAULT("OK", 1, 165, 185, 50, 14)                                                                                 \
    BUTTON("Cancel", 2, 219, 185, 50, 14)

#define ZVCLR_LAB_DIALOG_ID 128
#define ZVCLR_LAB_DIALOG_TITLE "CIELab color settings"
#define ZVCLR_LAB_DIALOG_HEIGHT 260
#define ZVCLR_LAB_DIALOG(GROUP, LABEL, METHODS, WHITES, NAME, NUMBER, SPIN, BROWSE, DEFAULT, BUTTON, CHECK,            \
                         RADIO_FIRST, RADIO)                                                                           \
    ZVCLR_COMMON_CONTROLS("&Source input profile", "&Destination output profile", LABEL, METHODS, WHITES, NAME,        \
                          NUMBER, BROWSE)                                                                              \
    GROUP("Emulation tables", 129, 7, 102, 262, 112)                                                                   \
    RADIO_FIRST("&RGB To CIELab", 134, 14, 115, 116, 10)                                                               \
    RADIO("CIE&Lab To RGB", 135, 138, 115, 116, 10)                                                                    \
    GROUP("RGB To Lab conversion", 0xFFFF, 14, 129, 248, 37)                                                           \
    LABEL("Destination &CIELab table", 21, 145, 82, 8)                                                                 \
    NAME(130, 107, 143, 125, 14)                                                                                       \
    BROWSE("...", 131, 236, 143, 19, 14)                                                                               \
    GROUP("Lab To RGB conversion", 0xFFFF, 14, 170, 248, 38)                                                           \
    LABEL("Destination R&GB table", 21, 187, 82, 8)                                                                    \
    NAME(132, 107, 185, 125, 14)                                                                                       \
    BROWSE("...", 133, 236, 185, 19, 14)                                                                               \
    CHECK("BGR &Order", 1001, 14, 220, 100, 10)                                                                        \
    CHECK("RGB &to LAB", 1002, 138, 220, 124, 10)                                                                      \
    DEFAULT("OK", 1, 165, 239, 50, 14)                                                                                 \
    BUTTON("Cancel", 2, 219, 239, 50, 14)

#endif
