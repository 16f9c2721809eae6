/*
 * zvclr.h - the converters of the zvclr colour-conversion library.
 *
 * A converter is made once for a pair of colour spaces (Zv_ClrInit), converts
 * any number of images (Zv_ClrConvert) and is released (Zv_ClrFree).
 * Zv_ClrConvertDirect converts without a converter, with the built-in methods.
 *
 * The header stands alone in C99 and in C++. Every function but SetResModule
 * returns a signed 32-bit result: 1 (CLR_SUCCESS) on success, a negative code
 * otherwise, and 0 in the cases that Zv_ClrConvert tells and after Cancel in a
 * settings dialog (Zv_ClrDlg). No exception crosses
 * this interface. zverror.h gives names and meanings of codes.
 *
 * Threads: converters run in parallel, and one converter may run on several threads
 * at once. Zv_ClrFree and Zv_ClrSetConversionParams must not overlap another use of
 * the same converter, and no thread may be inside a call while the library is
 * unloaded or the process ends.
 */
#ifndef ZVCLR_H
#define ZVCLR_H

#include <stddef.h>
#include <stdint.h>

/** Version of this header and of the library that it was released with. */
#define ZVCLR_VERSION_MAJOR 1
#define ZVCLR_VERSION_MINOR 0
#define ZVCLR_VERSION_PATCH 0
#define ZVCLR_VERSION_STRING "1.0.0"

/*
 * Linkage. Define ZVCLR_STATIC before including this header when linking the
 * static library on Windows. There the static library has no entry point:
 * resources are looked up in the program, and nothing is released at its end.
 */
#if defined(_WIN32) && !defined(ZVCLR_STATIC)
#    define ZVCLR_API __declspec(dllimport)
#elif !defined(_WIN32) && defined(__GNUC__)
#    define ZVCLR_API __attribute__((visibility("default")))
#else
#    define ZVCLR_API
#endif

/*
 * A character of a file name: 16 bits on every system, since the sizes of the
 * records are part of the contract. Names are UTF-16 and end with a zero.
 */
#if defined(_WIN32)
typedef wchar_t ZvChar;
#elif defined(__cplusplus)
typedef char16_t ZvChar;
#else
typedef uint16_t ZvChar;
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Colour spaces                                                              */
/* ------------------------------------------------------------------------- */

/**
 * Colour-space ids. There are exactly eighteen; the numbers have gaps.
 * Pixels are packed without gaps; "hub" spaces are those that every other
 * space has a kernel from and to.
 */
enum ClrSpaceId {
    CLRSPACE_RGB = 0,     /**< 24 bits, hub: R, G, B */
    CLRSPACE_YUV = 1,     /**< 24 bits: Y, U, V, all unsigned */
    CLRSPACE_CMYK = 2,    /**< 32 bits: C, M, Y, K; 255 is full ink */
    CLRSPACE_HSV = 3,     /**< 24 bits: H (255 is 360 degrees), S, V */
    CLRSPACE_HLS = 4,     /**< 24 bits: H (0 red, 85 green, 170 blue), L, S */
    CLRSPACE_YIQ = 5,     /**< 24 bits: Y, I, Q, all unsigned */
    CLRSPACE_CMY = 6,     /**< 24 bits: C, M, Y */
    CLRSPACE_LAB = 7,     /**< 24 bits: L (255 is 100), a and b two's complement; see ClrLabParams */
    CLRSPACE_XYZ = 8,     /**< 24 bits: X, Y, Z; 255 is 1.0 */
    CLRSPACE_YUY2 = 9,    /**< 16 bits: Y0, U, Y1, V for two pixels; width a multiple of 2 */
    CLRSPACE_YVU9 = 10,   /**< 9 bits, planar: Y, V, U (one byte for 4 x 4 pixels); sizes multiples of 4 */
    CLRSPACE_YCCK = 11,   /**< 32 bits: Y, Cb, Cr (offset 128), K */
    CLRSPACE_BGR = 12,    /**< 24 bits, hub: B, G, R (the order of a 24-bit device-independent bitmap) */
    CLRSPACE_Y41P = 13,   /**< 12 bits: Ua, Y0, Va, Y1, Ub, Y2, Vb, Y3 to Y7 for eight pixels; width a multiple of 8 */
    CLRSPACE_UYVY = 14,   /**< 16 bits: U, Y0, V, Y1 for two pixels; width a multiple of 2 */
    CLRSPACE_YCBCR = 15,  /**< 24 bits: Y unsigned, Cb and Cr two's complement without offset */
    CLRSPACE_HSI = 128,   /**< 24 bits: I, H, S */
    CLRSPACE_RGB444 = 144 /**< 16 bits: R in the low nibble of byte 0; G high and B low nibble of byte 1 */
};

/* ------------------------------------------------------------------------- */
/* Methods and change masks                                                   */
/* ------------------------------------------------------------------------- */

/**
 * Conversion methods: bits of ClrParams.methods, one of them in activeMethod.
 * Each method that is set prepares its own objects in Zv_ClrInit, and activeMethod
 * chooses among them.
 *
 * CLRMETHOD_ICC serves pairs of a hub and CLRSPACE_CMYK, CLRSPACE_CMY or CLRSPACE_LAB, and
 * CLRSPACE_YCCK as a source; CLRMETHOD_CUSTOM_ICC two hubs and equal ids of these as well.
 * There the bytes of CLRSPACE_LAB are those of ICC profiles: L 0 to 255, a and b with an
 * offset of 128. CLRSPACE_CMYK is ink as everywhere: 255 is full ink. Transforms run over
 * packed pixels, so that destinationRowExtra is an alignment on this route (but for
 * CLRSPACE_YCCK): a row begins at the next multiple of it.
 *
 * On Windows CLRMETHOD_CUSTOM_ICC goes through the system's colour management (mscms.dll) when
 * both spaces are among CLRSPACE_RGB, CLRSPACE_BGR, CLRSPACE_CMYK, CLRSPACE_LAB and
 * CLRSPACE_XYZ. The system aligns rows without padding to 4 bytes, and so reaches beyond buffers
 * of other rows: give padding, widths whose rows are multiples of 4 bytes, or single rows. A white
 * point has no part there. Elsewhere the library's own engine converts these pairs, but those with
 * CLRSPACE_XYZ.
 *
 * The emulation methods serve CLRSPACE_CMYK and CLRSPACE_LAB to a hub and a hub to CLRSPACE_LAB,
 * whose a and b are signed there; a hub to CLRSPACE_CMYK takes the built-in kernel, which reads
 * B, G, R on either hub. Any other pair of a hub, and a converter whose table is absent, convert
 * nothing and return 1. See docs/emulation.md.
 */
enum ClrMethod {
    CLRMETHOD_BUILTIN = 1,           /**< fixed arithmetic of each pair of spaces */
    CLRMETHOD_ICC = 2,               /**< ICC profiles held by the library; see docs/profiles.md */
    CLRMETHOD_CUSTOM_ICC = 4,        /**< the caller's ICC profiles; see Zv_ClrInit */
    CLRMETHOD_EMULATION = 8,         /**< built-in emulation tables */
    CLRMETHOD_CUSTOM_EMULATION = 16, /**< emulation tables from the caller's file */
    CLRMETHOD_AUTOMATIC = 32         /**< the library picks; both methods and activeMethod must hold exactly 32 */
};

/** What Zv_ClrSetConversionParams takes over; read from ClrParams.methods there. */
enum ClrParamMask {
    CLRPARAM_ACTIVE_METHOD = 1,  /**< activeMethod */
    CLRPARAM_PROFILES = 2,       /**< inputProfileName and outputProfileName */
    CLRPARAM_WHITE_POINT = 4,    /**< whitePoint */
    CLRPARAM_EMULATION_FILE = 8, /**< emulationTableName */
    CLRPARAM_CMYK = 16,          /**< cmykParams, by its mask */
    CLRPARAM_YUV = 32,           /**< yuvParams, by its mask */
    CLRPARAM_LAB = 64            /**< labParams, by its mask */
};

/* ------------------------------------------------------------------------- */
/* Result codes                                                               */
/* ------------------------------------------------------------------------- */

/** Result codes. zverror.h holds the texts. */
enum ClrResult {
    CLR_SUCCESS = 1,                   /**< the operation succeeded */
    ERR_FAILURE = -1,                  /**< general failure */
    ERR_NO_MEMORY = -3,                /**< an allocation failed */
    ERR_FILE_WRITE = -5,               /**< writing a file failed */
    ERR_FILE_READ = -7,                /**< reading a file failed */
    ERR_FILE_NOT_FOUND = -8,           /**< a named file does not exist, or its name is longer than 259 characters */
    ERR_IMAGE_OPEN = -10,              /**< the image file could not be opened for scanning */
    ERR_INVALID_PARAMETER = -13,       /**< null pointer, size below 1, bad fields, unreachable buffer */
    ERR_FILE_OPEN = -14,               /**< a file could not be opened */
    ERR_BAD_TAG = -37,                 /**< missing tag, bad selector; an achromatic HLS pixel with a hue */
    ERR_BAD_POINTER = -60,             /**< a record or buffer cannot be read or written */
    ERR_FILE_FAULT = -149,             /**< a fault was caught while an image file was scanned */
    ERR_INVALID_HANDLE = -261,         /**< not a live converter */
    ERR_SAME_BUFFER = -351,            /**< source and destination are one buffer and one space */
    ERR_COLORSPACE_UNSUPPORTED = -785, /**< the colour space is not legal for the operation */
    ERR_METHOD_UNAVAILABLE = -786,     /**< no usable method, or the active one is not enabled */
    ERR_PROFILE_LOAD = -787,           /**< a profile could not be opened by the transform engine */
    ERR_TRANSFORM_CREATE = -788,       /**< a profile does not fit the pixel format */
    ERR_STRUCT_SIZE = -789,            /**< the size field of a record is wrong */
    ERR_YUV_SAMPLING_RATIO = -791,     /**< U and V sampling periods do not divide each other */
    ERR_YUV_VERTICAL_PACKED = -792,    /**< vertical sub-sampling in a packed layout */
    ERR_YUV_PLANAR_PADDING = -793,     /**< a planar layout with row padding */
    ERR_WIDTH_MULTIPLE = -796,         /**< width is not a multiple of the format's block */
    ERR_YVU9_SIZE = -797,              /**< width or height of a YVU9 image is not a multiple of 4 */
    ERR_NO_PROFILE = -812,             /**< no ICC profile is there */
    ERR_PROFILE_TRUNCATED = -813,      /**< the data ended inside a profile */
    ERR_PROFILE_UNUSABLE = -817,       /**< a profile or its transform cannot be used */
    ERR_COLORSPACE_MISMATCH = -918,    /**< the platform's colour management found mismatching spaces */
    ERR_UNKNOWN_TAG = -1150,           /**< warning: the tag's signature is unknown; the tag is read or added */
    ERR_UNKNOWN_TAG_TYPE = -1151,      /**< warning: the tag's type is unknown; the tag is read or added */
    ERR_UNKNOWN_TAG_AND_TYPE = -1152,  /**< warning: neither is known; the tag is read or added */
    ERR_BAD_PROFILE = -1153,           /**< a profile fails a basic check */
    ERR_FORMAT_NO_ICC = -1154          /**< profiles are not loaded from, or not saved into, files of this format */
};

/* ------------------------------------------------------------------------- */
/* Records                                                                    */
/* ------------------------------------------------------------------------- */

/** A converter; opaque. Made by Zv_ClrInit, owned by the caller until Zv_ClrFree. */
typedef struct ClrHandle ClrHandle;

#pragma pack(push, 1)

/** White point of ICC transforms. Byte-packed, 20 bytes. Copied by Zv_ClrInit. */
typedef struct ClrWhitePoint {
    uint32_t whiteCode; /**< 50, 55, 65, 75 or 93 for D50 to 9300 K; 0 to use x and y */
    double x;           /**< CIE 1931 chromaticity x, read when whiteCode is 0 */
    double y;           /**< CIE 1931 chromaticity y, read when whiteCode is 0 */
} ClrWhitePoint;

/** An ICC profile in memory. Byte-packed, 20 bytes. Record and data are copied by Zv_ClrInit. */
typedef struct ClrProfileMemory {
    uint32_t size;     /**< size of this record; not checked */
    void* data;        /**< the profile image; at least dataSize readable bytes */
    uint64_t dataSize; /**< its length in bytes, not zero */
} ClrProfileMemory;

/**
 * Layout of YUV pixels for CLRSPACE_YUV as a source. Byte-packed, 44 bytes.
 * The record is copied by Zv_ClrInit; the table behind positions is not: it
 * stays the caller's and must outlive the converter.
 *
 * The pixels are always written as B, G, R, also for CLRSPACE_RGB.
 *
 * Planar (planar not 0): positions[0] is the order of the planes: 0 YUV, 1 YVU,
 * 2 UYV, 3 UVY, 4 VYU, 5 VUY. The source must be readable for
 * ((uSampleX * vSampleX * 8 + 16) / uSampleX * vSampleX) bits a pixel, which is
 * more than the planes have (48 for 4:2:0). Of the destination the last pixel of
 * the image is not written.
 * Packed (planar 0): positions holds byte offsets inside a macro-pixel:
 * macroPixelSize for Y, then macroPixelSize / uSampleX for U, then
 * macroPixelSize / vSampleX for V. The two paddings of Zv_ClrConvert change
 * places: the source moves on by destinationRowExtra, the destination by
 * sourceRowExtra. Offsets outside the macro-pixel's bytes (one for
 * each Y, U and V sample) are refused at conversion with ERR_INVALID_PARAMETER.
 */
typedef struct ClrYuvParams {
    int32_t size;             /**< must be 44 */
    int32_t mask;             /**< update: 1, 2, 4, 8 the periods in order, 16 positions, 32 and 64 the next two */
    int32_t uSampleX;         /**< horizontal period of U in pixels, 1 or more */
    int32_t uSampleY;         /**< vertical period of U, 1 or more; 1 in a packed layout */
    int32_t vSampleX;         /**< horizontal period of V */
    int32_t vSampleY;         /**< vertical period of V */
    const int32_t* positions; /**< see above */
    int32_t macroPixelSize;   /**< luma samples of a packed macro-pixel, 1 or more */
    int32_t fullRange;        /**< not 0: no offsets (16 and 128) are taken off the samples */
    int32_t planar;           /**< not 0: three planes */
} ClrYuvParams;

#pragma pack(pop)

/** Black generation of the built-in CMYK kernels. 12 bytes. Copied by Zv_ClrInit. */
typedef struct ClrCmykParams {
    int32_t size;     /**< must be 12 */
    int32_t gcrLevel; /**< grey component replacement in thousandths; 175 without a record */
    int32_t mask;     /**< 1: an update takes gcrLevel */
} ClrCmykParams;

/**
 * Encoding of CLRSPACE_LAB in three unsigned bytes. 32 bytes. Copied by Zv_ClrInit.
 * L* = (L8 - lOffset) * lRange / 255, and the same for a* and b*. As a destination
 * the pixels are always read as B, G, R, also from CLRSPACE_RGB.
 */
typedef struct ClrLabParams {
    int32_t size;    /**< must be 32 */
    int32_t mask;    /**< what an update takes: 1 lOffset, 2 lRange, 4 aOffset, 8 aRange, 16 bOffset, 32 bRange */
    int32_t lOffset; /**< commonly 0 */
    int32_t lRange;  /**< commonly 100 */
    int32_t aOffset; /**< commonly 128 */
    int32_t aRange;  /**< commonly 170 */
    int32_t bOffset; /**< commonly 96 */
    int32_t bRange;  /**< commonly 200 */
} ClrLabParams;

/** Characters of a file name field, the closing zero included. Names of more than 259 characters are refused. */
#define CLR_NAME_LENGTH 264

/**
 * Everything that Zv_ClrInit wants to know. 1648 bytes. Clear it, set size,
 * methods and activeMethod, and what the methods need. The record is aligned as
 * declared; the records that it points to may lie anywhere. All pointers may be
 * null and stay the caller's; what they point to is copied, but for the table
 * behind ClrYuvParams.positions.
 */
typedef struct ClrParams {
    uint32_t size;                              /**< must be 1648, sizeof(ClrParams) */
    uint32_t activeMethod;                      /**< one CLRMETHOD_ value, among methods */
    ClrWhitePoint* whitePoint;                  /**< null for D50 */
    ZvChar inputProfileName[CLR_NAME_LENGTH];   /**< path of the caller's input profile, or empty */
    ClrProfileMemory* inputProfileMemory;       /**< input profile in memory; goes before the name */
    ZvChar outputProfileName[CLR_NAME_LENGTH];  /**< path of the caller's output profile, or empty */
    ClrProfileMemory* outputProfileMemory;      /**< output profile in memory; goes before the name */
    ZvChar emulationTableName[CLR_NAME_LENGTH]; /**< path of the custom emulation table, or empty */
    ClrCmykParams* cmykParams;                  /**< null for the default black generation */
    ClrYuvParams* yuvParams;                    /**< null for plain CLRSPACE_YUV pixels */
    ClrLabParams* labParams;                    /**< null for the plain encoding of CLRSPACE_LAB */
    uint32_t methods;                           /**< CLRMETHOD_ bits to prepare; in an update the CLRPARAM_ mask */
    uint32_t emulationMethod;                   /**< must be 8 when activeMethod is CLRMETHOD_EMULATION */
} ClrParams;

/**
 * ClrParams with names in narrow characters: UTF-8, on Windows the active code page.
 * Everything else is as there.
 */
typedef struct ClrParamsA {
    uint32_t size;                            /**< not read */
    uint32_t activeMethod;                    /**< as in ClrParams, like all that follows */
    ClrWhitePoint* whitePoint;                /**< null for D50 */
    char inputProfileName[CLR_NAME_LENGTH];   /**< path of the caller's input profile, or empty */
    ClrProfileMemory* inputProfileMemory;     /**< input profile in memory; goes before the name */
    char outputProfileName[CLR_NAME_LENGTH];  /**< path of the caller's output profile, or empty */
    ClrProfileMemory* outputProfileMemory;    /**< output profile in memory; goes before the name */
    char emulationTableName[CLR_NAME_LENGTH]; /**< path of the custom emulation table, or empty */
    ClrCmykParams* cmykParams;                /**< null for the default black generation */
    ClrYuvParams* yuvParams;                  /**< null for plain CLRSPACE_YUV pixels */
    ClrLabParams* labParams;                  /**< null for the plain encoding of CLRSPACE_LAB */
    uint32_t methods;                         /**< CLRMETHOD_ bits; in an update the CLRPARAM_ mask */
    uint32_t emulationMethod;                 /**< must be 8 when activeMethod is CLRMETHOD_EMULATION */
} ClrParamsA;

/** Bit of ZvBitmap.flags: the bitmap owns its pixels. */
#define ZVBITMAP_ALLOCATED 1u

/**
 * A bitmap of the small host layer that the library comes with, for Zv_ClrConvertToBitmap.
 * Clear it before the first use. A toolkit that links its own host layer has a record of its own.
 */
typedef struct ZvBitmap {
    uint32_t size;        /**< sizeof(ZvBitmap), written with the pixels */
    uint32_t flags;       /**< ZVBITMAP_ALLOCATED */
    int32_t width;        /**< pixels */
    int32_t height;       /**< rows, the first at the top */
    int32_t bitsPerPixel; /**< 24 */
    int32_t bytesPerRow;  /**< width * 3: rows are packed */
    /**
     * B, G, R of each pixel. Released by the next conversion into this bitmap, or by the caller:
     * with free(), on Windows with HeapFree(GetProcessHeap(), 0, pixels); then clear the record.
     */
    uint8_t* pixels;
} ZvBitmap;

/* ------------------------------------------------------------------------- */
/* Functions                                                                  */
/* ------------------------------------------------------------------------- */

/**
 * Makes a converter from one colour space to another.
 *
 * @param receiver         where the handle is stored; untouched on failure.
 * @param sourceSpace      CLRSPACE_ id of the pixels that will come in.
 * @param destinationSpace CLRSPACE_ id of the pixels that go out. Equal ids make a
 *                         copying converter (ids are then not checked), unless methods
 *                         holds CLRMETHOD_CUSTOM_ICC.
 * @param params           null for the built-in method with its defaults. Read during
 *                         the call only. With CLRMETHOD_AUTOMATIC the record is written
 *                         during the call; it is put back on success, and left changed
 *                         on failure.
 * @return 1, or ERR_INVALID_PARAMETER (receiver null; emulationMethod not 8),
 *         ERR_BAD_POINTER (receiver or a record cannot be reached), ERR_STRUCT_SIZE,
 *         ERR_COLORSPACE_UNSUPPORTED, ERR_METHOD_UNAVAILABLE, ERR_NO_MEMORY, or a
 *         code of the profiles and tables that were asked for.
 *
 * When neither space is a hub (RGB, BGR) every conversion runs in two built-in
 * steps through RGB, whatever the method.
 *
 * CLRMETHOD_ICC: spaces that the built-in profiles do not serve are
 * ERR_COLORSPACE_UNSUPPORTED; a built-in profile that is missing from the resource module
 * is ERR_PROFILE_LOAD. Two hubs are accepted, and no transform is made for them.
 *
 * CLRMETHOD_CUSTOM_ICC makes a transform when an output profile is named or given in
 * memory. On each side memory goes before the name. The input profile must be there
 * (ERR_FILE_NOT_FOUND, ERR_INVALID_PARAMETER for memory that cannot be read or is empty);
 * an output file that does not exist means the built-in profile of the destination.
 * ERR_PROFILE_LOAD: a profile cannot be opened; ERR_TRANSFORM_CREATE: its colour space is
 * not that of the pixels (CLRSPACE_BGR goes with a profile of any space). Profiles that
 * open but lack what a transform needs make a converter without one, and Zv_ClrConvert
 * answers ERR_INVALID_PARAMETER. Tables A2B0 and B2A0 and matrix profiles are used,
 * of any profile version; parametric curves are not.
 *
 * The white point works on conversions out of RGB into CMY, CMYK and Lab.
 *
 * A refused ClrCmykParams (unreadable or of a wrong size), ClrYuvParams or ClrLabParams
 * (unreadable) keeps what was built until the library is unloaded: some 2 kB a call, and with
 * the ICC methods the transforms, up to megabytes. A ClrYuvParams or ClrLabParams of a wrong
 * size loses the copy of the record before it, some dozens of bytes.
 *
 * A converter of the caller's profile files keeps them open until it is released.
 *
 * On the pairs that the system's colour management serves (see ClrMethod) the profiles are given
 * to it as well: ERR_PROFILE_UNUSABLE when it cannot open them or make its transform,
 * ERR_BAD_POINTER for memory that cannot be read. Without an output profile it tries with the
 * input profile alone. Where there is no such colour management, the library's own transform
 * must exist: an output profile is needed, and CLRSPACE_XYZ is refused. A refusal for one of these
 * reasons keeps what was built until the library is unloaded.
 *
 * CLRMETHOD_CUSTOM_EMULATION: emulationTableName must exist whatever the spaces are
 * (ERR_FILE_NOT_FOUND) and is read for those that tables serve (ERR_FILE_READ). What the file
 * lacks is black. Where the file is read, a table from CLRSPACE_CMYK or to CLRSPACE_LAB costs a
 * block of its size (250,563 or 108,300 bytes) for good, and the table itself is released with the
 * converter only when CLRMETHOD_EMULATION is among its methods too.
 */
ZVCLR_API int32_t Zv_ClrInit(ClrHandle** receiver, int32_t sourceSpace, int32_t destinationSpace, ClrParams* params);

/**
 * Zv_ClrInit with narrow names. ERR_BAD_POINTER if the record cannot be read; it is never written. A name that does
 * not end, or that cannot be converted, is one that no file has.
 */
ZVCLR_API int32_t Zv_ClrInitA(ClrHandle** receiver, int32_t sourceSpace, int32_t destinationSpace,
                              const ClrParamsA* params);

/**
 * Changes a live converter, within what its creation made possible.
 *
 * @param converter a live converter that no other thread uses during the call.
 * @param params    methods names what to take over (CLRPARAM_ bits); only that is read, and
 *                  activeMethod always: its bit CLRMETHOD_CUSTOM_ICC replaces the transform of the
 *                  caller's profiles as below. size is not checked. Records are copied.
 * @return 1, ERR_INVALID_PARAMETER (null; a record that the mask asks for is null),
 *         ERR_BAD_POINTER, ERR_INVALID_HANDLE, ERR_METHOD_UNAVAILABLE (an active method of 1, 2, 4
 *         or 8 that was not prepared; a record of a space that the converter does not have),
 *         ERR_NO_MEMORY, or a code of the profiles. What was taken over before a failure stays.
 *
 * In this order:
 * - CLRPARAM_ACTIVE_METHOD: CLRMETHOD_CUSTOM_EMULATION, and what is no method, are not tested.
 * - CLRPARAM_CMYK, CLRPARAM_YUV, CLRPARAM_LAB: a converter without the record takes it whole,
 *   whatever its mask says; one that has it takes what the mask names. CLRPARAM_YUV needs a
 *   cmykParams too, which is not read. The positions of a YUV layout (mask 16) are written into the
 *   table that the converter was made with: macroPixelSize bytes of them, not entries; the layout
 *   cannot become planar or packed. CLRPARAM_LAB works on conversions from CLRSPACE_LAB; on a
 *   converter made without labParams the first call ignores the values and takes 0, 100, 128,
 *   170, 96, 200 relative to D50.
 * - CLRPARAM_WHITE_POINT: with an ICC method active its transform is made again; with
 *   CLRMETHOD_CUSTOM_EMULATION nothing is taken. For profiles in memory the caller's records of them
 *   must be given again, since their sizes are read (of the output, and of the input when whiteCode
 *   is 0).
 * - activeMethod has CLRMETHOD_CUSTOM_ICC, on the pairs that the system's colour management serves:
 *   the profiles of params replace those in use, whatever the mask says, and
 *   CLRMETHOD_CUSTOM_ICC becomes the only method. What other methods had built is then not
 *   released with the converter.
 * - CLRPARAM_PROFILES: both names are taken (cut at 259 characters, not checked) and the
 *   transform is made again; profiles in memory stay those that the converter has. A converter
 *   without CLRMETHOD_CUSTOM_ICC keeps this transform for good.
 * - CLRPARAM_EMULATION_FILE: the table is read again for CLRSPACE_CMYK to a hub and CLRSPACE_RGB to
 *   CLRSPACE_LAB; other pairs lose theirs. A file that cannot be read is no failure: the table is
 *   black. Each file that is read costs a block of the table's size for good.
 *
 * A transform that cannot be made again leaves none.
 */
ZVCLR_API int32_t Zv_ClrSetConversionParams(ClrHandle* converter, const ClrParams* params);

/** Zv_ClrSetConversionParams with narrow names; the record's names are read even if the mask asks for none. */
ZVCLR_API int32_t Zv_ClrSetConversionParamsA(ClrHandle* converter, const ClrParamsA* params);

/**
 * Releases a converter and all that it owns.
 *
 * @return 1, ERR_INVALID_PARAMETER (null or unreadable) or ERR_INVALID_HANDLE
 *         (not a live converter, for example already released).
 * Must not overlap another call with the same converter.
 */
ZVCLR_API int32_t Zv_ClrFree(ClrHandle* converter);

/** @return 1 if the pointer is a live converter, ERR_INVALID_HANDLE otherwise. Any pointer may be asked. */
ZVCLR_API int32_t Zv_ClrIsValid(const ClrHandle* converter);

/**
 * Converts an image with a converter.
 *
 * @param converter            a live converter; read only.
 * @param source               first pixel; rows of (bits per pixel * width + 7) / 8 bytes, also
 *                             where the planes of CLRSPACE_YVU9 need less.
 * @param destination          first pixel of the result. It may be the source when both
 *                             pixels have the same size; any other overlap is undefined.
 * @param width,height         in pixels, 1 or more, with the multiples that the spaces ask.
 * @param sourceRowExtra       bytes after each source row (not a stride), 0 or more.
 * @param destinationRowExtra  bytes after each destination row; they are not written, but on
 *                             the ICC route, where it is an alignment and the gaps between
 *                             rows are left with whatever the packed pixels had there.
 * @return 1; ERR_INVALID_PARAMETER (null, size below 1, negative padding, an ICC method without
 *         a transform, or a kernel cannot reach its buffers, the padding of the last row
 *         included), ERR_BAD_POINTER,
 *         ERR_INVALID_HANDLE, ERR_SAME_BUFFER (in place, equal spaces, different padding),
 *         ERR_METHOD_UNAVAILABLE, ERR_WIDTH_MULTIPLE, ERR_YVU9_SIZE, ERR_NO_MEMORY,
 *         ERR_BAD_TAG (an HLS pixel with a hue and no saturation: pixels before it are
 *         written), ERR_YUV_SAMPLING_RATIO, ERR_YUV_VERTICAL_PACKED, ERR_YUV_PLANAR_PADDING.
 *         0 from CLRSPACE_YCCK with the built-in method (the image is written) or with the
 *         caller's profiles (nothing is written), and when the platform's colour management
 *         failed.
 *
 * Equal spaces copy, unless the active method is CLRMETHOD_CUSTOM_ICC; with padding of 2 or
 * more on a side the rows are read and land at multiples of the padding. Different spaces
 * without a hub among them: once the arguments have passed their checks, 1 comes back whatever
 * happened, and the converter's records are not used.
 *
 * Peculiarities: a converter to CLRSPACE_YCCK returns 1 and writes nothing (use
 * Zv_ClrConvertDirect); a converter from CLRSPACE_RGB444 writes B, G, R, also for
 * CLRSPACE_RGB; padding of the hub displaces all but the first four rows on the way to
 * CLRSPACE_YVU9, whose own padding is only asked for.
 */
ZVCLR_API int32_t Zv_ClrConvert(const ClrHandle* converter, const void* source, void* destination, int32_t width,
                                int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra);

/**
 * Converts an image with the built-in method, without a converter.
 *
 * Arguments as Zv_ClrConvert; a padding below 1 counts as 0, and the buffers must
 * hold the padding of the last row too.
 * @return 1; ERR_INVALID_PARAMETER, ERR_COLORSPACE_UNSUPPORTED, ERR_WIDTH_MULTIPLE,
 *         ERR_YVU9_SIZE, ERR_BAD_POINTER, ERR_SAME_BUFFER (in place, equal spaces, equal
 *         padding), ERR_NO_MEMORY, ERR_BAD_TAG (an HLS pixel with a hue and no saturation:
 *         pixels before it are written).
 *
 * A pair of two spaces that are not hubs goes through a temporary RGB image; between those
 * CLRSPACE_RGB444 as destination is accepted and leaves the destination as it was. Give
 * equal padding on both sides there: the temporary image is written with the padding of the
 * destination and read with that of the source. With CLRSPACE_RGB444 on a side of such a pair
 * the source must be readable for 3 bytes a pixel. To CLRSPACE_YCCK the bytes of the hub are
 * taken as they stand, the first for red.
 */
ZVCLR_API int32_t Zv_ClrConvertDirect(int32_t sourceSpace, int32_t destinationSpace, const void* source,
                                      void* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                                      int32_t destinationRowExtra);

/**
 * Converts an image with a converter into a bitmap of the host.
 *
 * @param converter        a live converter to CLRSPACE_RGB or CLRSPACE_BGR. A bitmap's bytes are B, G, R: from a
 *                         converter to CLRSPACE_RGB red and blue come out exchanged.
 * @param bitmap           the host's bitmap record, a ZvBitmap unless the library is linked with another host
 *                         layer. It is touched only after the conversion has succeeded; pixels that it owns are
 *                         released then.
 * @param bitmapRecordSize its size in bytes; one that is too small leaves the bitmap as it is.
 * @param destinationRowExtra padding of the rows on their way to the bitmap. Give 0: with the ICC methods and with
 *                         equal spaces other rows are not where the bitmap looks for them. On pairs that the system's
 *                         colour management converts (see ClrMethod), 0 asks for rows of multiples of 4 bytes.
 * The other arguments are those of Zv_ClrConvert; the padding of the last source row must be there.
 * @return 1 (also when the host has no memory for the pixels: they are null then); ERR_INVALID_PARAMETER (source or
 *         bitmap null, size below 1 or above what 32 bits can count), ERR_BAD_POINTER, ERR_INVALID_HANDLE,
 *         ERR_COLORSPACE_UNSUPPORTED (another destination), ERR_NO_MEMORY, or the result of Zv_ClrConvert.
 */
ZVCLR_API int32_t Zv_ClrConvertToBitmap(const ClrHandle* converter, const void* source, void* bitmap,
                                        uint32_t bitmapRecordSize, int32_t width, int32_t height,
                                        int32_t sourceRowExtra, int32_t destinationRowExtra);

/**
 * Zv_ClrConvertDirect into a bitmap of the host, as Zv_ClrConvertToBitmap; a destination other than
 * CLRSPACE_RGB and CLRSPACE_BGR is ERR_INVALID_PARAMETER here.
 */
ZVCLR_API int32_t Zv_ClrConvertDirectToBitmap(int32_t sourceSpace, int32_t destinationSpace, const void* source,
                                              void* bitmap, uint32_t bitmapRecordSize, int32_t width, int32_t height,
                                              int32_t sourceRowExtra, int32_t destinationRowExtra);

/**
 * Lets the user choose a conversion method and its files in a modal dialog, and makes a converter with the choices,
 * hands them back, or both.
 *
 * @param dialogType   1: CMYK, a converter to CLRSPACE_CMYK; 2: CIELab, one to CLRSPACE_LAB, always from CLRSPACE_RGB,
 *                     or CLRSPACE_BGR if the user says so. Anything else returns 1 at once.
 * @param parentWindow window that the dialog belongs to, or null: a HWND on Windows, elsewhere the number of an X11
 *                     window.
 * @param converterOut receives the converter, as in Zv_ClrInit; null if none is wanted, which type 2 answers with
 *                     ERR_INVALID_PARAMETER after OK.
 * @param params       receives the choices; may be null. It must be readable and writable and have a whitePoint, for
 *                     type 1 also cmykParams; these two records are written as well. Nothing else in them is read: the
 *                     dialog always starts from its own defaults. Other pointers and records stay as they are.
 * @return 0 if the user cancelled or the dialog could not be shown, and nothing is touched; otherwise the result of
 *         Zv_ClrInit if a converter was wanted, else 1. ERR_INVALID_PARAMETER before the dialog if params does not do.
 *         params is filled also when the converter could not be made.
 *
 * The direction check box ("RGB to CMYK", "RGB to LAB") exchanges the two profiles of CLRMETHOD_CUSTOM_ICC for the
 * converter; the record has them exchanged only when no converter was wanted. It turns no conversion round. What is
 * typed for x, y and GCR is not taken over: a custom white point is 0, 0, and gcrLevel is 250.
 *
 * The call returns when the dialog is closed, and the calling thread waits for that. On Windows the dialog handles the
 * messages of the thread's other windows meanwhile; a file that is chosen changes the process's current folder. On
 * Linux the program zvclr-settings shows the dialog, which is installed with the library: windows of the caller's
 * toolkit stand still unless another thread makes the call. The program may write to the standard error stream. Without
 * it, without a display and in processes with raised rights the answer is 0. See docs/dialogs.md.
 */
ZVCLR_API int32_t Zv_ClrDlg(int32_t dialogType, void* parentWindow, ClrHandle** converterOut, ClrParams* params);

/**
 * Zv_ClrDlg with narrow names. Except for size, the whole record is written, on a result of 1 only; the records behind
 * whitePoint and cmykParams are written as by Zv_ClrDlg. A name that cannot be converted or does not fit becomes one
 * that no file has.
 */
ZVCLR_API int32_t Zv_ClrDlgA(int32_t dialogType, void* parentWindow, ClrHandle** converterOut, ClrParamsA* params);

/**
 * Sets the module in which built-in profiles ("ICM") and emulation tables ("ET"), and on Windows the dialogs, are
 * looked up, the library itself by default. Process-wide and unguarded: call it before other threads use the library.
 *
 * @param module Windows: a module handle whose resources are read. Elsewhere: a handle of
 *               dlopen whose module exports `zvclr_module_resources` (docs/architecture.md).
 *               Null is the program's executable on Windows and the library itself elsewhere.
 *               The module stays the caller's and must outlive its use.
 */
ZVCLR_API void SetResModule(void* module);

#if !defined(_WIN32)
/**
 * One data block of a resource module, where the platform has no resources of its own. A module
 * for SetResModule exports an array named `zvclr_module_resources` that ends with an entry whose
 * type is null.
 */
typedef struct ZvModuleResource {
    const ZvChar* type; /**< "ICM" or "ET" */
    uint32_t id;        /**< for example 105 */
    uint32_t size;      /**< bytes of data */
    const void* data;   /**< the block; must live as long as the module */
} ZvModuleResource;

/** What a resource module defines; nothing in the library itself. */
extern ZVCLR_API const ZvModuleResource zvclr_module_resources[];
#endif

#ifdef __cplusplus
}
#endif

/* Record sizes and offsets are part of the contract (64-bit systems). */
#if defined(__cplusplus)
#    define ZVCLR_STATIC_ASSERT(condition, name) static_assert(condition, #    name)
#else
#    define ZVCLR_STATIC_ASSERT(condition, name) typedef char zvclr_assert_##name[(condition) ? 1 : -1]
#endif

ZVCLR_STATIC_ASSERT(sizeof(ZvChar) == 2, characters_have_16_bits);
ZVCLR_STATIC_ASSERT(sizeof(ClrWhitePoint) == 20, white_point_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrWhitePoint, x) == 4 && offsetof(ClrWhitePoint, y) == 12, white_point_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ClrProfileMemory) == 20, profile_memory_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrProfileMemory, data) == 4 && offsetof(ClrProfileMemory, dataSize) == 12,
                    profile_memory_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ClrCmykParams) == 12, cmyk_params_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrCmykParams, gcrLevel) == 4 && offsetof(ClrCmykParams, mask) == 8, cmyk_params_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ClrYuvParams) == 44, yuv_params_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrYuvParams, mask) == 4 && offsetof(ClrYuvParams, uSampleX) == 8 &&
                        offsetof(ClrYuvParams, uSampleY) == 12 && offsetof(ClrYuvParams, vSampleX) == 16 &&
                        offsetof(ClrYuvParams, vSampleY) == 20 && offsetof(ClrYuvParams, positions) == 24 &&
                        offsetof(ClrYuvParams, macroPixelSize) == 32 && offsetof(ClrYuvParams, fullRange) == 36 &&
                        offsetof(ClrYuvParams, planar) == 40,
                    yuv_params_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ClrLabParams) == 32, lab_params_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrLabParams, mask) == 4 && offsetof(ClrLabParams, lOffset) == 8 &&
                        offsetof(ClrLabParams, lRange) == 12 && offsetof(ClrLabParams, aOffset) == 16 &&
                        offsetof(ClrLabParams, aRange) == 20 && offsetof(ClrLabParams, bOffset) == 24 &&
                        offsetof(ClrLabParams, bRange) == 28,
                    lab_params_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ClrParams) == 1648, params_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrParams, activeMethod) == 4 && offsetof(ClrParams, whitePoint) == 8 &&
                        offsetof(ClrParams, inputProfileName) == 16 && offsetof(ClrParams, inputProfileMemory) == 544 &&
                        offsetof(ClrParams, outputProfileName) == 552 &&
                        offsetof(ClrParams, outputProfileMemory) == 1080 &&
                        offsetof(ClrParams, emulationTableName) == 1088 && offsetof(ClrParams, cmykParams) == 1616 &&
                        offsetof(ClrParams, yuvParams) == 1624 && offsetof(ClrParams, labParams) == 1632 &&
                        offsetof(ClrParams, methods) == 1640 && offsetof(ClrParams, emulationMethod) == 1644,
                    params_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ClrParamsA) == 856, params_a_size);
ZVCLR_STATIC_ASSERT(offsetof(ClrParamsA, activeMethod) == 4 && offsetof(ClrParamsA, whitePoint) == 8 &&
                        offsetof(ClrParamsA, inputProfileName) == 16 &&
                        offsetof(ClrParamsA, inputProfileMemory) == 280 &&
                        offsetof(ClrParamsA, outputProfileName) == 288 &&
                        offsetof(ClrParamsA, outputProfileMemory) == 552 &&
                        offsetof(ClrParamsA, emulationTableName) == 560 && offsetof(ClrParamsA, cmykParams) == 824 &&
                        offsetof(ClrParamsA, yuvParams) == 832 && offsetof(ClrParamsA, labParams) == 840 &&
                        offsetof(ClrParamsA, methods) == 848 && offsetof(ClrParamsA, emulationMethod) == 852,
                    params_a_offsets);
ZVCLR_STATIC_ASSERT(sizeof(ZvBitmap) == 32 && offsetof(ZvBitmap, flags) == 4 && offsetof(ZvBitmap, pixels) == 24,
                    bitmap_layout);

#undef ZVCLR_STATIC_ASSERT

#endif /* ZVCLR_H */
