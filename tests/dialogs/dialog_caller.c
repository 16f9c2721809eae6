/* Shows a settings dialog, as a program does that is linked with the library, and says what came of it. */
#include <stdio.h>
#include <stdlib.h>

#include "zvclr.h"

int main(int argc, char** argv) {
    ClrHandle* converter = NULL;
    const int type = argc == 2 ? atoi(argv[1]) : 0;
    const int result = (int)Zv_ClrDlg(type, NULL, &converter, NULL);
    const int made = converter != NULL && Zv_ClrFree(converter) == CLR_SUCCESS;
    printf("%d %s\n", result, made ? "converter" : "none");
    return 0;
}
