/*
 * Prints the tags of an ICC profile, replaces its copyright and writes it. Profiles of version 2 are served too.
 *
 *     edit_profile IN.icc OUT.icc COPYRIGHT
 */
#include <stdio.h>
#include <string.h>

#include "icc_records.h"

#define COPYRIGHT ZVICC_SIG('c', 'p', 'r', 't')

/* Opens profiles of every version: those that are kept as bytes only are parsed as if they were of version 4. */
static int32_t OpenProfile(const ZvChar* name, ClrIccProfile* profile) {
    ClrIccProfile parsed;
    uint32_t version;
    uint8_t* image;
    int32_t result = Zv_FillICCProfileFromICCFile(name, profile);
    if (result != CLR_SUCCESS || profile->header != NULL) return result;
    if (profile->profileSize < 132) return ERR_BAD_PROFILE;

    image = profile->profileData;
    version = image[8] * 0x1000000u + image[9] * 0x10000u + image[10] * 0x100u + image[11];
    image[8] = 4;
    result = Zv_InitICCProfile(&parsed, sizeof parsed);
    if (result == CLR_SUCCESS) result = Zv_FillICCProfileStructure(&parsed, image, profile->profileSize);
    if (parsed.header != NULL) parsed.header->version = version;
    Zv_FreeICCProfile(profile);
    *profile = parsed;
    return result;
}

static void PrintSignature(uint32_t signature) {
    int shift;
    for (shift = 24; shift >= 0; shift -= 8) {
        const int letter = (int)(signature >> shift & 0xFF);
        putchar(letter >= 0x20 && letter < 0x7F ? letter : '?');
    }
}

static void PrintTags(const ClrIccProfile* profile) {
    int32_t i;
    printf("version %u.%u, %d tags\n", (unsigned)(profile->header->version >> 24),
           (unsigned)(profile->header->version >> 20 & 15), (int)profile->tagCount);
    for (i = 0; i < profile->tagCount; ++i) {
        const ClrIccTagEntry entry = profile->tagTable[i];
        PrintSignature(entry.signature);
        printf("  ");
        PrintSignature(Zv_GetICCTagTypeSig(profile, entry.signature));
        printf("  %8u at %u\n", (unsigned)entry.size, (unsigned)entry.offset);
    }
}

static void PrintCopyright(const ClrIccProfile* profile) {
    ClrIccTagRecord record;
    uint32_t i;
    const uint32_t type = Zv_GetICCTagTypeSig(profile, COPYRIGHT);
    if (type == 0) return;
    memset(&record, 0, sizeof record);
    if (Succeeded(Zv_GetICCTagData(profile, &record, COPYRIGHT), "cprt")) {
        printf("copyright: ");
        if (type == ZVICC_SIG('t', 'e', 'x', 't')) {
            printf("%s", record.text.text);
        } else if (type == ZVICC_SIG('m', 'l', 'u', 'c') && record.multiLocalized.recordCount > 0) {
            /* What is read is big-endian still. With several languages this is the last one. */
            const uint8_t* text = record.multiLocalized.text;
            const uint32_t last = record.multiLocalized.recordCount - 1;
            for (i = 0; i + 1 < record.multiLocalized.records[last].length; i += 2)
                putchar(text[i] == 0 && text[i + 1] < 0x7F ? text[i + 1] : '?');
        }
        printf("\n");
    }
    Zv_FreeICCTagType(&record, type);
}

/* Removes the first tag of that signature, and the padding behind its body with it. */
static int32_t DeleteTag(ClrIccProfile* profile, uint32_t tag) {
    uint64_t begin, end;
    int32_t i, found = 0;
    while (found < profile->tagCount && profile->tagTable[found].signature != tag) ++found;
    if (found == profile->tagCount) return ERR_BAD_TAG;
    begin = profile->tagTable[found].offset;
    end = (begin + profile->tagTable[found].size + 3) / 4 * 4;
    for (i = 0; i < profile->tagCount; ++i) {
        const uint64_t otherBegin = profile->tagTable[i].offset;
        /* The bytes of a shared body would be missing there. */
        if (i != found && otherBegin < end && begin < otherBegin + profile->tagTable[i].size) {
            fprintf(stderr, "another tag has bytes of this one\n");
            return ERR_BAD_PROFILE;
        }
    }
    /* The last body of a file may have no padding. */
    if (end <= profile->header->size) profile->tagTable[found].size = (uint32_t)(end - begin);
    return Zv_DeleteICCTag(profile, tag, NULL);
}

/* The new tag first: the profile is never without tags, and reads go on finding the old one until it is deleted. */
static int ReplaceCopyright(ClrIccProfile* profile, const char* copyright) {
    const int had = Zv_GetICCTagTypeSig(profile, COPYRIGHT) != 0;
    const int32_t result = profile->header->version < 0x04000000 ? SetText(profile, COPYRIGHT, copyright)
                                                                 : SetLocalizedText(profile, COPYRIGHT, copyright);
    if (!Succeeded(result, "new cprt")) return 0;
    if (had && !Succeeded(DeleteTag(profile, COPYRIGHT), "old cprt")) return 0;
    return Succeeded(Zv_SetICCProfileId(profile), "identifier"); /* it has gone stale */
}

int main(int argc, char** argv) {
    ClrIccProfile profile;
    ZvChar name[1024];
    int done;
    if (argc != 4) {
        fprintf(stderr, "usage: edit_profile IN.icc OUT.icc COPYRIGHT\n");
        return 2;
    }
    if (!WideName(argv[1], name, sizeof name / sizeof *name)) {
        fprintf(stderr, "%s: no name of a file in ASCII\n", argv[1]);
        return 1;
    }
    if (!Succeeded(Zv_InitICCProfile(&profile, sizeof profile), "Zv_InitICCProfile")) return 1;
    done = Succeeded(OpenProfile(name, &profile), argv[1]);
    if (done) {
        PrintTags(&profile);
        PrintCopyright(&profile);
        done = ReplaceCopyright(&profile, argv[3]) && WriteProfile(&profile, argv[2]);
    }
    Zv_FreeICCProfile(&profile);
    return done ? 0 : 1;
}
