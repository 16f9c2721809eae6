/*
 * zverror.h - names, meanings and usual causes of the result codes of zvclr.h.
 *
 * A companion for tools and bindings, in a small static library of its own
 * (zverror). The core library reports in codes only.
 */
#ifndef ZVERROR_H
#define ZVERROR_H

#include "zvclr.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Name of a code as in zvclr.h, for example "ERR_NO_MEMORY"; "unknown result" for other numbers. Static text. */
const char* ZvErrorName(int32_t code);

/** One sentence on what a result code says. Static text, never null. */
const char* ZvErrorMeaning(int32_t code);

/** One sentence on its usual cause and what to do about it. Static text, never null. */
const char* ZvErrorCause(int32_t code);

/**
 * The list behind the three functions, for bindings and tests: fills the three texts and
 * the code of entry `index` and returns 1, or returns 0 past the end. Any pointer may be null.
 */
int32_t ZvErrorEntry(int32_t index, int32_t* code, const char** name, const char** meaning, const char** cause);

#ifdef __cplusplus
}
#endif

#endif /* ZVERROR_H */
