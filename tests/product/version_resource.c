/* Usage: version_resource DLL VERSION. Reads the version of a DLL as the system's own programs do. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

static int failures = 0;

static void expectText(const void* block, WORD language, WORD codePage, const char* name, const char* expected) {
    char query[128];
    void* value = NULL;
    UINT length = 0;
    snprintf(query, sizeof query, "\\StringFileInfo\\%04x%04x\\%s", language, codePage, name);
    if (!VerQueryValueA(block, query, &value, &length)) {
        printf("%s is missing\n", name);
        failures++;
    } else if (expected != NULL ? strcmp(value, expected) != 0 : length <= 1) {
        printf("%s is \"%s\"\n", name, (const char*)value);
        failures++;
    }
}

int main(int argc, char** argv) {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned patch = 0;
    if (argc != 3 || sscanf(argv[2], "%u.%u.%u", &major, &minor, &patch) != 3) {
        printf("usage: version_resource DLL VERSION\n");
        return 2;
    }
    const DWORD size = GetFileVersionInfoSizeA(argv[1], NULL);
    void* block = malloc(size + 1);
    if (size == 0 || block == NULL || !GetFileVersionInfoA(argv[1], 0, size, block)) {
        printf("%s has no version resource\n", argv[1]);
        free(block);
        return 1;
    }

    void* value = NULL;
    UINT length = 0;
    if (!VerQueryValueA(block, "\\", &value, &length) || length < sizeof(VS_FIXEDFILEINFO)) {
        printf("no fixed version record\n");
        free(block);
        return 1;
    }
    const VS_FIXEDFILEINFO* info = value;
    const DWORD high = major << 16 | minor;
    const DWORD low = patch << 16;
    if (info->dwSignature != 0xFEEF04BD || info->dwFileVersionMS != high || info->dwFileVersionLS != low ||
        info->dwProductVersionMS != high || info->dwProductVersionLS != low || info->dwFileType != VFT_DLL) {
        printf("fixed version record: file %lx.%lx, product %lx.%lx, type %lu\n", info->dwFileVersionMS,
               info->dwFileVersionLS, info->dwProductVersionMS, info->dwProductVersionLS, info->dwFileType);
        failures++;
    }

    if (!VerQueryValueA(block, "\\VarFileInfo\\Translation", &value, &length) || length < 2 * sizeof(WORD)) {
        printf("no translation entry\n");
        failures++;
    } else {
        WORD translation[2];
        memcpy(translation, value, sizeof translation);
        expectText(block, translation[0], translation[1], "ProductName", "zvclr");
        expectText(block, translation[0], translation[1], "OriginalFilename", "zvclr.dll");
        expectText(block, translation[0], translation[1], "ProductVersion", argv[2]);
        expectText(block, translation[0], translation[1], "FileVersion", argv[2]);
        expectText(block, translation[0], translation[1], "FileDescription", NULL);
    }
    free(block);
    return failures == 0 ? 0 : 1;
}
