/* Loads the library, uses it and lets it go, many times: it must leave the process each time, and take no memory along.
 */
#define _GNU_SOURCE
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tests/support/address_sanitizer.h"
#include "zvclr.h"

#ifdef _WIN32
#    include <windows.h>
#else
#    include <dlfcn.h>
#    include <malloc.h>
#    include <pthread.h>
#endif
#ifdef ZV_WITH_ADDRESS_SANITIZER
/* GCC does not install the header that declares it. */
size_t __sanitizer_get_current_allocated_bytes(void);
#endif

enum { WIDTH = 16, HEIGHT = 4, IMAGE_SIZE = WIDTH * HEIGHT * 4, WARM_UP = 50, ROUNDS_PER_THREAD = 10 };

typedef int32_t (*InitFunction)(ClrHandle**, int32_t, int32_t, ClrParams*);
typedef int32_t (*FreeFunction)(ClrHandle*);
typedef int32_t (*IsValidFunction)(const ClrHandle*);
typedef int32_t (*ConvertFunction)(const ClrHandle*, const void*, void*, int32_t, int32_t, int32_t, int32_t);
typedef int32_t (*ConvertDirectFunction)(int32_t, int32_t, const void*, void*, int32_t, int32_t, int32_t, int32_t);
typedef void (*SetResModuleFunction)(void*);

typedef struct Library {
    void* module;
    InitFunction init;
    FreeFunction release;
    IsValidFunction isValid;
    ConvertFunction convert;
    ConvertDirectFunction convertDirect;
    SetResModuleFunction setResModule;
} Library;

static void fail(const char* what, long detail) {
    printf("load_unload: %s (%ld)\n", what, detail);
    exit(1);
}

#ifdef _WIN32

static void* openModule(const char* name) { return LoadLibraryA(name); }

static int closeModule(void* module) { return FreeLibrary(module) != 0; }

static int isLoaded(const char* name) { return GetModuleHandleA(name) != NULL; }

static void findFunction(void* module, const char* name, void* receiver) {
    FARPROC function = GetProcAddress(module, name);
    memcpy(receiver, &function, sizeof function);
}

static size_t memoryInUse(void) {
    HANDLE heaps[64];
    size_t bytes = 0;
    const DWORD count = GetProcessHeaps(64, heaps);
    if (count == 0 || count > 64) fail("the heaps cannot be listed", (long)count);
    for (DWORD i = 0; i < count; i++) {
        PROCESS_HEAP_ENTRY entry;
        entry.lpData = NULL;
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry)) {
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
        }
        HeapUnlock(heaps[i]);
    }
    if (bytes == 0) fail("the heaps look empty", (long)count);
    return bytes;
}

static DWORD WINAPI threadMain(void* argument);

static void runOnThread(void* argument) {
    HANDLE thread = CreateThread(NULL, 0, threadMain, argument, 0, NULL);
    if (thread == NULL || WaitForSingleObject(thread, INFINITE) != WAIT_OBJECT_0) fail("no thread", 0);
    CloseHandle(thread);
}

#else

static void* openModule(const char* name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); }

static int closeModule(void* module) { return dlclose(module) == 0; }

static int isLoaded(const char* name) {
    char line[4096];
    int found = 0;
    FILE* maps = fopen("/proc/self/maps", "r");
    if (maps == NULL) fail("no /proc/self/maps", 0);
    while (fgets(line, sizeof line, maps) != NULL) found |= strstr(line, name) != NULL;
    fclose(maps);
    return found;
}

static void findFunction(void* module, const char* name, void* receiver) {
    void* function = dlsym(module, name);
    memcpy(receiver, &function, sizeof function);
}

static size_t memoryInUse(void) {
#    ifdef ZV_WITH_ADDRESS_SANITIZER
    return __sanitizer_get_current_allocated_bytes();
#    else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#    endif
}

static void* threadMain(void* argument);

static void runOnThread(void* argument) {
    pthread_t thread;
    if (pthread_create(&thread, NULL, threadMain, argument) != 0 || pthread_join(thread, NULL) != 0) {
        fail("no thread", 0);
    }
}

#endif

static Library load(const char* path) {
    Library library;
    library.module = openModule(path);
    if (library.module == NULL) fail("the library does not load", 0);
    findFunction(library.module, "Zv_ClrInit", &library.init);
    findFunction(library.module, "Zv_ClrFree", &library.release);
    findFunction(library.module, "Zv_ClrIsValid", &library.isValid);
    findFunction(library.module, "Zv_ClrConvert", &library.convert);
    findFunction(library.module, "Zv_ClrConvertDirect", &library.convertDirect);
    findFunction(library.module, "SetResModule", &library.setResModule);
    if (!library.init || !library.release || !library.isValid || !library.convert || !library.convertDirect ||
        !library.setResModule) {
        fail("a function is missing", 0);
    }
    return library;
}

/* The bytes of the first round are what every later one must give. */
static void compare(int32_t space, int way, const unsigned char* bytes) {
    static unsigned char first[256][2][IMAGE_SIZE];
    static char known[256][2];
    if (!known[space][way]) {
        memcpy(first[space][way], bytes, IMAGE_SIZE);
        known[space][way] = 1;
    }
    if (memcmp(first[space][way], bytes, IMAGE_SIZE) != 0) fail("other bytes than in the first round", space);
}

static void use(const Library* library) {
    static const int32_t spaces[] = {CLRSPACE_CMYK, CLRSPACE_HSV,  CLRSPACE_LAB,  CLRSPACE_XYZ,
                                     CLRSPACE_YVU9, CLRSPACE_YCCK, CLRSPACE_Y41P, CLRSPACE_YCBCR};
    unsigned char source[IMAGE_SIZE];
    unsigned char destination[IMAGE_SIZE];
    for (size_t i = 0; i < sizeof source; i++) source[i] = (unsigned char)(i * 37U + 11U);

    library->setResModule(NULL);
    for (size_t i = 0; i < sizeof spaces / sizeof spaces[0]; i++) {
        const int32_t space = spaces[i];
        ClrHandle* kept = NULL;
        ClrHandle* released = NULL;
        if (library->init(&kept, space, CLRSPACE_BGR, NULL) != CLR_SUCCESS) fail("Zv_ClrInit", space);
        if (library->init(&released, CLRSPACE_RGB, space, NULL) != CLR_SUCCESS) fail("Zv_ClrInit", space);
        if (library->isValid(kept) != CLR_SUCCESS) fail("Zv_ClrIsValid", space);

        memset(destination, 0, sizeof destination);
        const int32_t converted = library->convert(released, source, destination, WIDTH, HEIGHT, 0, 0);
        if (converted != CLR_SUCCESS) fail("Zv_ClrConvert", space);
        compare(space, 0, destination);

        memset(destination, 0, sizeof destination);
        const int32_t direct = library->convertDirect(CLRSPACE_RGB, space, source, destination, WIDTH, HEIGHT, 0, 0);
        if (direct != CLR_SUCCESS) fail("Zv_ClrConvertDirect", space);
        compare(space, 1, destination);

        if (library->release(released) != CLR_SUCCESS) fail("Zv_ClrFree", space);
        /* `kept` stays: the library releases it when it goes. */
    }
}

#ifdef _WIN32
static DWORD WINAPI threadMain(void* argument) {
    use(argument);
    return 0;
}
#else
static void* threadMain(void* argument) {
    use(argument);
    return NULL;
}
#endif

int main(int argc, char** argv) {
    if (argc != 3) fail("usage: load_unload LIBRARY ROUNDS", argc);
    const char* path = argv[1];
    const long rounds = strtol(argv[2], NULL, 10);
    if (rounds <= WARM_UP) fail("too few rounds", rounds);
    size_t before = 0;

    for (long round = 0; round < rounds; round++) {
        if (round == WARM_UP) before = memoryInUse();
        Library library = load(path);
        if (!isLoaded(path)) fail("the library is not seen among the loaded ones", round);
        if (round % ROUNDS_PER_THREAD == 0) {
            runOnThread(&library);
        } else {
            use(&library);
        }
        if (!closeModule(library.module)) fail("the library cannot be closed", round);
        if (isLoaded(path)) fail("the library stays in the process", round);
    }

    const size_t after = memoryInUse();
    const size_t grown = after > before ? after - before : 0;
    printf("%ld rounds, %zu bytes more in use than after the first %d\n", rounds, grown, WARM_UP);
    /* A converter has 1720 bytes: one lost in ten rounds would show. */
    if (grown > (size_t)rounds * 64) fail("memory grows", (long)grown);
    return 0;
}
