#include "icc_records.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zverror.h"

int Succeeded(int32_t result, const char* what) {
    if (result == CLR_SUCCESS || result == ERR_UNKNOWN_TAG || result == ERR_UNKNOWN_TAG_TYPE ||
        result == ERR_UNKNOWN_TAG_AND_TYPE)
        return 1;
    fprintf(stderr, "%s: %s: %s\n", what, ZvErrorName(result), ZvErrorMeaning(result));
    return 0;
}

int WideName(const char* name, ZvChar* wide, size_t room) {
    size_t i;
    const size_t length = strlen(name);
    if (length >= room) return 0;
    for (i = 0; i <= length; ++i) {
        if ((unsigned char)name[i] > 0x7F) return 0;
        wide[i] = (ZvChar)name[i];
    }
    return 1;
}

uint32_t Fixed16(double value) { return (uint32_t)(int32_t)(value * 65536 + (value < 0 ? -0.5 : 0.5)); }

int32_t SetXyz(ClrIccProfile* profile, uint32_t tag, double x, double y, double z) {
    uint32_t words[3];
    ClrIccTagArray record = {0};
    words[0] = Fixed16(x);
    words[1] = Fixed16(y);
    words[2] = Fixed16(z);
    record.values = words;
    record.count = 1; /* elements, of three words each */
    return Zv_SetICCTagData(profile, &record, tag, ZVICC_SIG('X', 'Y', 'Z', ' '));
}

int32_t SetLocalizedText(ClrIccProfile* profile, uint32_t tag, const char* ascii) {
    int32_t result;
    size_t i;
    const size_t length = strlen(ascii);
    ClrIccMlucEntry entry = {0};
    ClrIccTagMultiLocalized record = {0};
    uint16_t* text = malloc((length + 1) * sizeof *text);
    if (text == NULL) return ERR_NO_MEMORY;
    for (i = 0; i < length; ++i) text[i] = (unsigned char)ascii[i];

    entry.language = 0x656E; /* en */
    entry.country = 0x5553;  /* US */
    entry.length = (uint32_t)(length * sizeof *text);
    entry.offset = 28; /* behind the head and this entry */
    record.recordCount = 1;
    record.recordSize = 12;
    record.records = &entry;
    record.text = text; /* in the order of the host */
    result = Zv_SetICCTagData(profile, &record, tag, ZVICC_SIG('m', 'l', 'u', 'c'));
    free(text);
    return result;
}

int32_t SetText(ClrIccProfile* profile, uint32_t tag, const char* ascii) {
    int32_t result;
    const size_t length = strlen(ascii);
    const size_t size = 2 * length + 2;
    ClrIccTagText record = {0};
    record.text = malloc(size);
    if (record.text == NULL) return ERR_NO_MEMORY;
    memset(record.text, '.', size); /* stands for units that are not zero, and is not stored */
    memcpy(record.text, ascii, length + 1);
    record.text[2 * length] = 0;
    record.text[2 * length + 1] = 0;
    result = Zv_SetICCTagData(profile, &record, tag, ZVICC_SIG('t', 'e', 'x', 't'));
    free(record.text);
    return result;
}

int WriteProfile(ClrIccProfile* profile, const char* name) {
    ZvChar wide[1024];
    if (!WideName(name, wide, sizeof wide / sizeof *wide)) {
        fprintf(stderr, "%s: no name of a file in ASCII\n", name);
        return 0;
    }
    /* The second one would write an empty file where the first one has made nothing. */
    return Succeeded(Zv_GenerateICCPointer(profile), "Zv_GenerateICCPointer") &&
           Succeeded(Zv_GenerateICCFile(profile, wide), name);
}
