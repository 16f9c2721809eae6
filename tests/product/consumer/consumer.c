/* Converts pixels and makes a profile as a stranger would, by the installed headers and library; C99 and C++11. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#ifdef _WIN32
#    include <windows.h>
#endif
#include <zvclr.h>
#include <zvicc.h>
#include <zvspaces.h>
#ifdef WITH_COMPANION
#    include <zverror.h>
#endif

/* By the profiles that the library carries: they are in the package, whichever way it is linked. */
static int ConvertInks(void) {
    const unsigned char inks[8] = {0, 0, 0, 0, 255, 0, 0, 0};
    const unsigned char expected[6] = {255, 255, 255, 0, 178, 236};
    unsigned char rgb[6] = {0};
    ClrHandle* converter = NULL;
    ClrParams params;
    int32_t result;

    memset(&params, 0, sizeof params);
    params.size = (uint32_t)sizeof params;
    params.methods = CLRMETHOD_ICC;
    params.activeMethod = CLRMETHOD_ICC;
    result = Zv_ClrInit(&converter, CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    if (result == CLR_SUCCESS) {
        result = Zv_ClrConvert(converter, inks, rgb, 2, 1, 0, 0);
        Zv_ClrFree(converter);
    }
    if (result != CLR_SUCCESS || memcmp(rgb, expected, sizeof expected) != 0) {
        printf("by profiles: %d, %d %d %d, %d %d %d\n", (int)result, rgb[0], rgb[1], rgb[2], rgb[3], rgb[4], rgb[5]);
        return 0;
    }
    return 1;
}

/* Pixels that the library hands over are released as its header says. */
static int ConvertIntoBitmap(void) {
    const unsigned char rgb[6] = {10, 20, 30, 40, 50, 60};
    const unsigned char expected[6] = {30, 20, 10, 60, 50, 40};
    ZvBitmap bitmap;
    int32_t result;
    int equal;

    memset(&bitmap, 0, sizeof bitmap);
    result = Zv_ClrConvertDirectToBitmap(CLRSPACE_RGB, CLRSPACE_BGR, rgb, &bitmap, (uint32_t)sizeof bitmap, 1, 2, 0, 0);
    equal = result == CLR_SUCCESS && bitmap.flags == ZVBITMAP_ALLOCATED && bitmap.width == 1 && bitmap.height == 2 &&
            memcmp(bitmap.pixels, expected, sizeof expected) == 0;
    if (!equal) printf("into a bitmap: %d\n", (int)result);
#ifdef _WIN32
    if (bitmap.pixels != NULL) HeapFree(GetProcessHeap(), 0, bitmap.pixels);
#else
    free(bitmap.pixels);
#endif
    return equal;
}

/* A profile with one tag, read back out of its image. */
static int MakeProfile(void) {
    ClrIccProfile made, read;
    ClrIccTagSignature tag;
    int32_t result;
    int equal = 0;

    memset(&read, 0, sizeof read);
    memset(&tag, 0, sizeof tag);
    tag.value = ZVICC_SIG('d', 'c', 'a', 'm');
    result = Zv_InitICCProfile(&made, sizeof made);
    if (result == CLR_SUCCESS) result = Zv_InitICCProfile(&read, sizeof read);
    if (result == CLR_SUCCESS) result = Zv_InitICCHeader(&made);
    if (result == CLR_SUCCESS)
        result = Zv_SetICCTagData(&made, &tag, ZVICC_SIG('t', 'e', 'c', 'h'), ZVICC_SIG('s', 'i', 'g', ' '));
    if (result == CLR_SUCCESS) result = Zv_GenerateICCPointer(&made);
    if (result == CLR_SUCCESS) result = Zv_FillICCProfileStructure(&read, made.profileData, made.profileSize);
    tag.value = 0;
    if (result == CLR_SUCCESS) result = Zv_GetICCTagData(&read, &tag, ZVICC_SIG('t', 'e', 'c', 'h'));
    if (result == CLR_SUCCESS) equal = made.profileSize == 156 && tag.value == ZVICC_SIG('d', 'c', 'a', 'm');
    if (!equal) printf("a profile: %d\n", (int)result);
    Zv_FreeICCProfile(&read);
    Zv_FreeICCProfile(&made);
    return equal;
}

int main(void) {
    const unsigned char rgb[9] = {255, 0, 16, 1, 2, 3, 128, 64, 32};
    const unsigned char expected[9] = {0, 255, 239, 254, 253, 252, 127, 191, 223};
    unsigned char cmy[9] = {0};
    ClrHandle* converter = NULL;
    int32_t result;

    if (strcmp(ZVCLR_VERSION_STRING, EXPECTED_VERSION) != 0) {
        printf("the header says version %s\n", ZVCLR_VERSION_STRING);
        return 1;
    }
    result = Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_CMY, NULL);
    if (result != CLR_SUCCESS || Zv_ClrIsValid(converter) != CLR_SUCCESS) {
        printf("Zv_ClrInit: %d\n", (int)result);
        return 1;
    }
    result = Zv_ClrConvert(converter, rgb, cmy, 3, 1, 0, 0);
    if (result != CLR_SUCCESS || memcmp(cmy, expected, sizeof expected) != 0) {
        printf("Zv_ClrConvert: %d\n", (int)result);
        return 1;
    }
    result = Zv_ClrFree(converter);
    if (result != CLR_SUCCESS) {
        printf("Zv_ClrFree: %d\n", (int)result);
        return 1;
    }
    if (!ConvertInks() || !ConvertIntoBitmap() || !MakeProfile()) return 1;
#ifdef WITH_COMPANION
    if (strcmp(ZvErrorName(ERR_NO_MEMORY), "ERR_NO_MEMORY") != 0) {
        printf("ZvErrorName: %s\n", ZvErrorName(ERR_NO_MEMORY));
        return 1;
    }
#endif
    return 0;
}
