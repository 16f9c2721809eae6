/* Loads a library and shows a settings dialog by it: `open_dialog LIBRARY TYPE`. Prints the result. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zvclr.h"

typedef int32_t (*DialogFunction)(int32_t, void*, ClrHandle**, ClrParams*);

int main(int argc, char** argv) {
    ClrHandle* converter = NULL;
    DialogFunction dialog = NULL;
    void* library = argc == 3 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    void* found = library != NULL ? dlsym(library, "Zv_ClrDlg") : NULL;
    if (found == NULL) {
        printf("open_dialog: %s\n", argc == 3 ? dlerror() : "usage: open_dialog LIBRARY TYPE");
        return 1;
    }
    memcpy(&dialog, &found, sizeof dialog);
    printf("%d\n", (int)dialog(atoi(argv[2]), NULL, &converter, NULL));
    return converter != NULL;
}
