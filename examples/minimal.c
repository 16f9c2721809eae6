/*
 * Converts one row of three pixels from RGB to CMYK.
 */
#include <stdio.h>

#include "zvclr.h"
#include "zverror.h"

int main(void) {
    const uint8_t rgb[3][3] = {{255, 0, 0}, {200, 100, 50}, {128, 128, 128}};
    uint8_t cmyk[3][4];
    ClrHandle* converter = NULL;
    int i;

    int32_t result = Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_CMYK, NULL);
    if (result == CLR_SUCCESS) {
        /* Width 3, height 1, and no bytes between the rows on either side. */
        result = Zv_ClrConvert(converter, rgb, cmyk, 3, 1, 0, 0);
        Zv_ClrFree(converter);
    }
    if (result != CLR_SUCCESS) {
        fprintf(stderr, "%s: %s %s\n", ZvErrorName(result), ZvErrorMeaning(result), ZvErrorCause(result));
        return 1;
    }

    for (i = 0; i < 3; ++i)
        printf("R %3d  G %3d  B %3d  ->  C %3d  M %3d  Y %3d  K %3d\n", rgb[i][0], rgb[i][1], rgb[i][2], cmyk[i][0],
               cmyk[i][1], cmyk[i][2], cmyk[i][3]);
    return 0;
}
