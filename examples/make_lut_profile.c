/*
 * Builds an ICC profile of version 4.2 whose "A2B0" is a "mAB " tag: gamma curves, a grid of two points along each
 * channel, which is enough for linear light, and curves and a matrix that change nothing.
 *
 *     make_lut_profile OUT.icc
 */
#include <stdio.h>
#include <string.h>

#include "icc_records.h"

#define A2B0 ZVICC_SIG('A', '2', 'B', '0')

enum { CHANNELS = 3, RECORD_STEP = 16, RUN_BYTES = RECORD_STEP * CHANNELS + 4 };

/* A run of three curves: records in steps of 16 bytes, of which only the last one is whole. The upper half of each
 * pointer lies where the next record has its typeSig, so that one is not written; what is not "para" is a table. */
static void MakeRun(unsigned char run[RUN_BYTES], uint32_t entryCount, const uint16_t* entries) {
    const uint32_t type = ZVICC_SIG('c', 'u', 'r', 'v');
    int i;
    memset(run, 0, RUN_BYTES);
    memcpy(run, &type, sizeof type);
    for (i = 0; i < CHANNELS; ++i) {
        unsigned char* record = run + RECORD_STEP * i;
        memcpy(record + offsetof(ClrIccTagCurve, entryCount), &entryCount, sizeof entryCount);
        memcpy(record + offsetof(ClrIccTagCurve, entries), &entries, sizeof entries);
    }
}

/* Nodes by red, green, blue, the last of which varies fastest; XYZ with 32768 for 1.0. */
static void MakeNodes(uint16_t nodes[8 * CHANNELS]) {
    static const double primaries[CHANNELS][3] = {
        {0.43607, 0.22249, 0.01392}, {0.38515, 0.71687, 0.09708}, {0.14307, 0.06061, 0.71410}};
    int node, i;
    for (node = 0; node < 8; ++node) {
        for (i = 0; i < 3; ++i) {
            const double value =
                (node >> 2 & 1) * primaries[0][i] + (node >> 1 & 1) * primaries[1][i] + (node & 1) * primaries[2][i];
            nodes[3 * node + i] = (uint16_t)(value * 32768 + 0.5);
        }
    }
}

static int32_t SetLut(ClrIccProfile* profile) {
    unsigned char linear[RUN_BYTES], gamma[RUN_BYTES];
    uint16_t nodes[8 * CHANNELS];
    const uint16_t exponent = Zv_DoubleToU8Fixed8Number(2.2);
    ClrIccClut clut = {{0}, 0, {0}, NULL};
    ClrIccTagLutAToB record = {0};
    int i;

    MakeRun(linear, 0, NULL); /* no entry: the identity */
    MakeRun(gamma, 1, &exponent);
    MakeNodes(nodes);
    for (i = 0; i < CHANNELS; ++i) clut.gridPoints[i] = 2;
    clut.precision = 2;
    clut.data = nodes;

    record.inputChannels = CHANNELS;
    record.outputChannels = CHANNELS;
    record.curvesA = gamma;
    record.clut = &clut;
    record.curvesM = linear;
    record.curvesB = linear;
    for (i = 0; i < 3; ++i) record.matrix[4 * i] = Fixed16(1);
    /* Leaves matrix and nodes swapped: they are good for one call. */
    return Zv_SetICCTagData(profile, &record, A2B0, ZVICC_SIG('m', 'A', 'B', ' '));
}

/* An element of a run as it is read: 12 bytes of head, then its values, up to the next multiple of four. Returns where
 * the next one begins. */
static const unsigned char* PrintCurve(const unsigned char* element) {
    uint32_t type, entryCount;
    uint16_t functionType, exponent;
    memcpy(&type, element, sizeof type);
    if (type == ZVICC_SIG('p', 'a', 'r', 'a')) {
        memcpy(&functionType, element + 8, sizeof functionType);
        printf(" formula %u", (unsigned)functionType);
        return element + 12 + 4 * Zv_GetParametricCurveNumberOfParameters(functionType);
    }
    memcpy(&entryCount, element + 8, sizeof entryCount);
    if (entryCount == 1) {
        memcpy(&exponent, element + 12, sizeof exponent);
        printf(" gamma %.3f", Zv_U8Fixed8NumberToDouble(exponent));
    } else {
        printf(" table of %u", (unsigned)entryCount);
    }
    return element + (12 + 2 * (size_t)entryCount + 3) / 4 * 4;
}

/* Reads the tag back: what was given as records is a run of whole elements there. */
static int PrintLut(const ClrIccProfile* profile) {
    ClrIccTagLutAToB record = {0};
    const int done = Succeeded(Zv_GetICCTagData(profile, &record, A2B0), "A2B0");
    if (done) {
        const unsigned char* element = record.curvesA;
        int i;
        printf("B curves at %u, matrix at %u, M curves at %u, grid at %u, A curves at %u:", (unsigned)record.offsetB,
               (unsigned)record.offsetMatrix, (unsigned)record.offsetM, (unsigned)record.offsetClut,
               (unsigned)record.offsetA);
        for (i = 0; i < record.inputChannels; ++i) element = PrintCurve(element);
        printf("\n");
    }
    Zv_FreeICCTagType(&record, ZVICC_SIG('m', 'A', 'B', ' '));
    return done;
}

static int SetHeader(ClrIccProfile* profile) {
    return Succeeded(Zv_InitICCHeader(profile), "Zv_InitICCHeader") &&
           Succeeded(Zv_SetICCDeviceClass(profile, (int32_t)ZVICC_SIG('s', 'c', 'n', 'r')), "device class") &&
           Succeeded(Zv_SetICCColorSpace(profile, (int32_t)ZVICC_SIG('R', 'G', 'B', ' ')), "colour space") &&
           Succeeded(Zv_SetICCConnectionSpace(profile, (int32_t)ZVICC_SIG('X', 'Y', 'Z', ' ')), "connection space");
}

int main(int argc, char** argv) {
    ClrIccProfile profile;
    int done;
    if (argc != 2) {
        fprintf(stderr, "usage: make_lut_profile OUT.icc\n");
        return 2;
    }
    if (!Succeeded(Zv_InitICCProfile(&profile, sizeof profile), "Zv_InitICCProfile")) return 1;
    done = SetHeader(&profile) &&
           Succeeded(SetLocalizedText(&profile, ZVICC_SIG('d', 'e', 's', 'c'), "Example scanner"), "desc") &&
           Succeeded(SetLocalizedText(&profile, ZVICC_SIG('c', 'p', 'r', 't'), "No rights reserved"), "cprt") &&
           Succeeded(SetXyz(&profile, ZVICC_SIG('w', 't', 'p', 't'), 0.9642, 1.0, 0.8249), "wtpt") &&
           Succeeded(SetLut(&profile), "A2B0") && PrintLut(&profile) && WriteProfile(&profile, argv[1]);
    Zv_FreeICCProfile(&profile);
    return done ? 0 : 1;
}
