/* Forks while other threads make and release converters: the children must be able to use the library, and to end. */
#define _GNU_SOURCE
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "zvclr.h"

enum { CHILDREN = 200, SECONDS_FOR_A_CHILD = 20 };

static volatile int stop = 0;

static void* make_and_release(void* unused) {
    (void)unused;
    while (!stop) {
        ClrHandle* converter = NULL;
        if (Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_YUV, NULL) != CLR_SUCCESS) abort();
        if (Zv_ClrFree(converter) != CLR_SUCCESS) abort();
    }
    return NULL;
}

static void be_a_child(void) {
    const uint8_t red[3] = {255, 0, 0};
    uint8_t lab[3] = {0, 0, 0};
    ClrHandle* converter = NULL;
    alarm(SECONDS_FOR_A_CHILD);
    if (Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_LAB, NULL) != CLR_SUCCESS) _exit(2);
    if (Zv_ClrConvert(converter, red, lab, 1, 1, 0, 0) != CLR_SUCCESS || lab[0] != 135) _exit(3);
    if (Zv_ClrFree(converter) != CLR_SUCCESS) _exit(4);
    exit(0); /* through the library's own end */
}

int main(void) {
    pthread_t threads[2];
    int i;
    for (i = 0; i < 2; ++i) {
        if (pthread_create(&threads[i], NULL, make_and_release, NULL) != 0) return 1;
    }
    for (i = 0; i < CHILDREN; ++i) {
        int status = 0;
        const pid_t child = fork();
        if (child == 0) be_a_child();
        if (child < 0 || waitpid(child, &status, 0) != child) return 1;
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            printf("fork_safety: child %d ended with status %d\n", i, status);
            fflush(stdout);
            _exit(1); /* the threads are still at it */
        }
    }
    stop = 1;
    for (i = 0; i < 2; ++i) pthread_join(threads[i], NULL);
    printf("fork_safety: %d children used the library and ended\n", CHILDREN);
    return 0;
}
