/*
 * Puts the ICC profile of one image file into another one, whose pixels stay as they are.
 *
 *     embed_profile FROM TO [BACKUP]
 *
 * FROM is a JPEG or TIFF file or a Macintosh picture, TO a JPEG, TIFF or GIF file. A JPEG or TIFF file is kept as it
 * was under the name BACKUP, if one is given.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zverror.h"
#include "zvicc.h"

static int Succeeded(int32_t result, const char* name) {
    if (result == CLR_SUCCESS) return 1;
    /* The one positive number that is no success. */
    if (result > 0) result = ERR_NO_MEMORY;
    fprintf(stderr, "%s: %s: %s\n%s\n", name, ZvErrorName(result), ZvErrorMeaning(result), ZvErrorCause(result));
    return 0;
}

/* A profile begins with its size. Parts of a JPEG's profile may be missing, and the end of an EPS file's always is. */
static int IsWhole(const ClrIccProfile* profile) {
    const uint8_t* image = profile->profileData;
    uint32_t size;
    if (profile->profileSize < 132 || memcmp(image + 36, "acsp", 4) != 0) return 0;
    size = image[0] * 0x1000000u + image[1] * 0x10000u + image[2] * 0x100u + image[3];
    return size <= profile->profileSize;
}

/* The record holds nothing before, so that whatever is in it afterwards comes from the file. */
static int LoadProfile(const char* name, ClrIccProfile* profile) {
    if (!Succeeded(Zv_LoadICCProfileA(name, profile, NULL), name)) return 0;
    if (IsWhole(profile)) return 1;
    fprintf(stderr, "%s: its %lu bytes are no whole profile\n", name, (unsigned long)profile->profileSize);
    return 0;
}

/* Bytes that a profile has to be longer by to go into a JPEG file. */
static uint64_t JpegPadding(uint64_t size) {
    const uint64_t behind = size % 65519;
    return size > 65519 && behind >= 1 && behind <= 13 ? 14 - behind : 0;
}

/* Zeros behind the end do not count: readers go by the size that the profile begins with. */
static int32_t SavePadded(const char* name, const ClrIccProfile* profile, const SAVEFILEOPTIONA* options) {
    int32_t result;
    ClrIccProfile padded = *profile;
    padded.profileSize += JpegPadding(profile->profileSize);
    padded.profileData = calloc(1, (size_t)padded.profileSize);
    if (padded.profileData == NULL) return ERR_NO_MEMORY;
    memcpy(padded.profileData, profile->profileData, (size_t)profile->profileSize);
    result = Zv_SaveICCProfileA(name, &padded, options);
    free(padded.profileData);
    return result;
}

static int SaveProfile(const char* name, const ClrIccProfile* profile, const char* backup) {
    int32_t result;
    SAVEFILEOPTIONA options;
    memset(&options, 0, sizeof options);
    options.size = sizeof options;
    if (strlen(backup) >= sizeof options.backupName) {
        fprintf(stderr, "%s: the name is too long\n", backup);
        return 0;
    }
    memcpy(options.backupName, backup, strlen(backup));
    result = Zv_SaveICCProfileA(name, profile, &options);
    if (result == ERR_INVALID_PARAMETER && JpegPadding(profile->profileSize) != 0)
        result = SavePadded(name, profile, &options);
    return Succeeded(result, name);
}

int main(int argc, char** argv) {
    ClrIccProfile profile;
    int done;
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: embed_profile FROM TO [BACKUP]\n");
        return 2;
    }
    if (!Succeeded(Zv_InitICCProfile(&profile, sizeof profile), "Zv_InitICCProfile")) return 1;
    done = LoadProfile(argv[1], &profile) && SaveProfile(argv[2], &profile, argc == 4 ? argv[3] : "");
    if (done) {
        printf("%s: %.4s profile of %lu bytes from %s\n", argv[2], (const char*)profile.profileData + 16,
               (unsigned long)profile.profileSize, argv[1]);
    }
    Zv_FreeICCProfile(&profile);
    return done ? 0 : 1;
}
