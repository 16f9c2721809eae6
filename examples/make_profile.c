/*
 * Builds an ICC profile of version 4.2 from nothing: an RGB display with the sRGB primaries and curve.
 *
 *     make_profile OUT.icc
 */
#include <math.h>
#include <stdio.h>

#include "icc_records.h"

enum { CURVE_ENTRIES = 1024 };

static int SetHeader(ClrIccProfile* profile) {
    const uint16_t date[6] = {2026, 1, 31, 12, 0, 0};
    return Succeeded(Zv_InitICCHeader(profile), "Zv_InitICCHeader") &&
           Succeeded(Zv_SetICCDeviceClass(profile, (int32_t)ZVICC_SIG('m', 'n', 't', 'r')), "device class") &&
           Succeeded(Zv_SetICCColorSpace(profile, (int32_t)ZVICC_SIG('R', 'G', 'B', ' ')), "colour space") &&
           /* Which connection spaces are accepted depends on the class. */
           Succeeded(Zv_SetICCConnectionSpace(profile, (int32_t)ZVICC_SIG('X', 'Y', 'Z', ' ')), "connection space") &&
           Succeeded(Zv_SetICCRenderingIntent(profile, 0), "intent") &&
           Succeeded(Zv_SetICCDateTime(profile, date), "date");
}

/* From the display's white, D65, to D50. */
static int32_t SetAdaptation(ClrIccProfile* profile) {
    static const double bradford[9] = {1.047882,  0.022918,  -0.050217, 0.029587, 0.990478,
                                       -0.017059, -0.009247, 0.015075,  0.751678};
    uint32_t words[9];
    int i;
    ClrIccTagArray record = {0};
    for (i = 0; i < 9; ++i) words[i] = Fixed16(bradford[i]);
    record.values = words;
    record.count = 9;
    return Zv_SetICCTagData(profile, &record, ZVICC_SIG('c', 'h', 'a', 'd'), ZVICC_SIG('s', 'f', '3', '2'));
}

static int SetCurves(ClrIccProfile* profile) {
    static const uint32_t tags[3] = {ZVICC_SIG('r', 'T', 'R', 'C'), ZVICC_SIG('g', 'T', 'R', 'C'),
                                     ZVICC_SIG('b', 'T', 'R', 'C')};
    uint16_t entries[CURVE_ENTRIES];
    int i;
    ClrIccTagCurve record = {0};
    for (i = 0; i < CURVE_ENTRIES; ++i) {
        const double x = i / (CURVE_ENTRIES - 1.0);
        const double y = x <= 0.04045 ? x / 12.92 : pow((x + 0.055) / 1.055, 2.4);
        entries[i] = (uint16_t)(y * 65535 + 0.5);
    }
    record.entryCount = CURVE_ENTRIES;
    record.entries = entries;
    /* Bodies are never shared: each of the three gets its own. */
    for (i = 0; i < 3; ++i) {
        if (!Succeeded(Zv_SetICCTagData(profile, &record, tags[i], ZVICC_SIG('c', 'u', 'r', 'v')), "curve")) return 0;
    }
    return 1;
}

static int SetTags(ClrIccProfile* profile) {
    return Succeeded(SetLocalizedText(profile, ZVICC_SIG('d', 'e', 's', 'c'), "Example RGB"), "desc") &&
           Succeeded(SetLocalizedText(profile, ZVICC_SIG('c', 'p', 'r', 't'), "No rights reserved"), "cprt") &&
           Succeeded(SetXyz(profile, ZVICC_SIG('w', 't', 'p', 't'), 0.9642, 1.0, 0.8249), "wtpt") &&
           Succeeded(SetAdaptation(profile), "chad") &&
           Succeeded(SetXyz(profile, ZVICC_SIG('r', 'X', 'Y', 'Z'), 0.43607, 0.22249, 0.01392), "rXYZ") &&
           Succeeded(SetXyz(profile, ZVICC_SIG('g', 'X', 'Y', 'Z'), 0.38515, 0.71687, 0.09708), "gXYZ") &&
           Succeeded(SetXyz(profile, ZVICC_SIG('b', 'X', 'Y', 'Z'), 0.14307, 0.06061, 0.71410), "bXYZ") &&
           SetCurves(profile);
}

int main(int argc, char** argv) {
    ClrIccProfile profile;
    int done;
    if (argc != 2) {
        fprintf(stderr, "usage: make_profile OUT.icc\n");
        return 2;
    }
    if (!Succeeded(Zv_InitICCProfile(&profile, sizeof profile), "Zv_InitICCProfile")) return 1;
    done = SetHeader(&profile) && SetTags(&profile) && WriteProfile(&profile, argv[1]);
    if (done) printf("%s: %d tags, %u bytes\n", argv[1], (int)profile.tagCount, (unsigned)profile.profileSize);
    Zv_FreeICCProfile(&profile);
    return done ? 0 : 1;
}
