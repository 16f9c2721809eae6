/*
 * Records of ICC tags as the profile examples need them.
 */
#ifndef EXAMPLES_ICC_RECORDS_H
#define EXAMPLES_ICC_RECORDS_H

#include <stddef.h>

#include "zvicc.h"

/* Whether a call did its work. Warnings count; what failed is told on stderr with the code's meaning. */
int Succeeded(int32_t result, const char* what);

/* A name of a file as the library takes it, from ASCII. 0 if it does not fit or has other characters. */
int WideName(const char* name, ZvChar* wide, size_t room);

/* The nearest signed 16.16 number. */
uint32_t Fixed16(double value);

int32_t SetXyz(ClrIccProfile* profile, uint32_t tag, double x, double y, double z);

/* ASCII text as "mluc", in American English. */
int32_t SetLocalizedText(ClrIccProfile* profile, uint32_t tag, const char* ascii);

/* ASCII text as "text". */
int32_t SetText(ClrIccProfile* profile, uint32_t tag, const char* ascii);

/* Makes the image and writes it to a file. */
int WriteProfile(ClrIccProfile* profile, const char* name);

#endif
