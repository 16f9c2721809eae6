/*
 * zvspaces.h - the one list of colour spaces, for programs that name or choose them.
 *
 * ZVCLR_SPACES(X) expands X(id, name, bits, widthMultiple, heightMultiple, bytes, description)
 * once for each space, in the order of the ids:
 *   id              enumerator of zvclr.h
 *   name            short name for command lines and tables
 *   bits            bits per pixel; a row has (bits * width + 7) / 8 bytes
 *   widthMultiple, heightMultiple   what the image size must be a multiple of
 *   bytes           the bytes of a pixel or group of pixels, in order
 *   description     meaning of the values
 */
#ifndef ZVSPACES_H
#define ZVSPACES_H

#include "zvclr.h"

#define ZVCLR_SPACES(X)                                                                                                \
    X(CLRSPACE_RGB, "rgb", 24, 1, 1, "R G B", "hub; red, green, blue")                                                 \
    X(CLRSPACE_YUV, "yuv", 24, 1, 1, "Y U V", "luma and two chroma values, all unsigned, zero chroma at 128")          \
    X(CLRSPACE_CMYK, "cmyk", 32, 1, 1, "C M Y K", "inks, 255 is full")                                                 \
    X(CLRSPACE_HSV, "hsv", 24, 1, 1, "H S V", "hue (255 is 360 degrees), saturation, value")                           \
    X(CLRSPACE_HLS, "hls", 24, 1, 1, "H L S", "hue (85 is green, 170 blue), lightness, saturation")                    \
    X(CLRSPACE_YIQ, "yiq", 24, 1, 1, "Y I Q", "luma (white at 247) and two chroma values, all unsigned")               \
    X(CLRSPACE_CMY, "cmy", 24, 1, 1, "C M Y", "complement of red, green, blue")                                        \
    X(CLRSPACE_LAB, "lab", 24, 1, 1, "L a b", "L* with 255 for 100; a* and b* two's complement")                       \
    X(CLRSPACE_XYZ, "xyz", 24, 1, 1, "X Y Z", "255 is 1.0")                                                            \
    X(CLRSPACE_YUY2, "yuy2", 16, 2, 1, "Y0 U Y1 V", "4:2:2, studio range, two pixels in four bytes")                   \
    X(CLRSPACE_YVU9, "yvu9", 9, 4, 4, "plane Y, plane V, plane U", "planar, studio range, chroma for 4 x 4 pixels")    \
    X(CLRSPACE_YCCK, "ycck", 32, 1, 1, "Y Cb Cr K", "luma and chroma of CMY (offset 128), black as it is")             \
    X(CLRSPACE_BGR, "bgr", 24, 1, 1, "B G R", "hub; blue, green, red as in 24-bit bitmaps")                            \
    X(CLRSPACE_Y41P, "y41p", 12, 8, 1, "Ua Y0 Va Y1 Ub Y2 Vb Y3 Y4 Y5 Y6 Y7",                                          \
      "4:1:1, studio range, eight pixels in twelve bytes")                                                             \
    X(CLRSPACE_UYVY, "uyvy", 16, 2, 1, "U Y0 V Y1", "4:2:2, studio range, two pixels in four bytes")                   \
    X(CLRSPACE_YCBCR, "ycbcr", 24, 1, 1, "Y Cb Cr", "luma; Cb and Cr two's complement without offset")                 \
    X(CLRSPACE_HSI, "hsi", 24, 1, 1, "I H S", "mean intensity, hue angle, saturation")                                 \
    X(CLRSPACE_RGB444, "rgb444", 16, 1, 1, "0R GB", "four bits each: red in the low nibble of the first byte")

/** Number of colour spaces. */
#define ZVCLR_SPACE_COUNT 18

#endif /* ZVSPACES_H */
