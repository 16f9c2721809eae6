/*
 * Lets the user choose how to convert to CMYK, and converts one pixel that way.
 */
#include <stdio.h>

#include "zvclr.h"
#include "zverror.h"

int main(void) {
    const uint8_t brown[3] = {200, 100, 50};
    uint8_t cmyk[4] = {0, 0, 0, 0};

    ClrWhitePoint white = {0};
    ClrCmykParams inks = {0};
    ClrParams params = {0};
    ClrHandle* converter = NULL;
    params.whitePoint = &white;
    params.cmykParams = &inks;
    int32_t result = Zv_ClrDlg(1, NULL, &converter, &params);

    /* Cancel, no display, or no program that shows the dialog. */
    if (result == 0) {
        puts("Nothing was chosen.");
        return 0;
    }
    if (result == CLR_SUCCESS) {
        result = Zv_ClrConvert(converter, brown, cmyk, 1, 1, 0, 0);
        Zv_ClrFree(converter);
    }
    if (result != CLR_SUCCESS) {
        fprintf(stderr, "%s: %s %s\n", ZvErrorName(result), ZvErrorMeaning(result), ZvErrorCause(result));
        return 1;
    }

    printf("method %u, white point %u: C %d  M %d  Y %d  K %d\n", (unsigned)params.activeMethod,
           (unsigned)white.whiteCode, cmyk[0], cmyk[1], cmyk[2], cmyk[3]);
    return 0;
}
