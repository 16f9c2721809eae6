/*
 * zvicc.h - ICC profiles as records: read, inspect, edit, write.
 *
 * A ClrIccProfile is filled from a profile image (Zv_FillICCProfileStructure,
 * Zv_FillICCProfileFromICCFile) or built up (Zv_InitICCHeader and the setters). Tags are
 * read, added and removed one by one, and Zv_GenerateICCPointer makes an image again.
 * docs/icc-profiles.md shows the order of calls and every record by bytes.
 *
 * The header stands alone in C99 and in C++. Functions return a signed 32-bit result
 * unless they say otherwise: 1 (CLR_SUCCESS) on success, a negative code of zvclr.h
 * otherwise. A failed allocation is ERR_FAILURE in this family. No exception crosses this
 * interface.
 *
 * All records are byte-packed: there is no padding, and a pointer may begin on any byte.
 * The arrays that they point to may lie anywhere as well. Where a record's pointer is not
 * null, as many bytes as its counts say must be there; arrays that cannot be read are
 * refused with ERR_INVALID_PARAMETER.
 *
 * Profiles move in and out of image files with Zv_LoadICCProfile and Zv_SaveICCProfile.
 *
 * Threads: there is no shared state but the file library's, which several threads may use at once; what
 * they save into JPEG and TIFF files goes one after the other. One profile is used by one thread at a time.
 */
#ifndef ZVICC_H
#define ZVICC_H

#include "zvclr.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A signature as the records hold it: ZVICC_SIG('w', 't', 'p', 't'). */
#define ZVICC_SIG(a, b, c, d) ((a)*0x1000000u + (b)*0x10000u + (c)*0x100u + (d))

/** Bytes of a profile image before its tag data: header, tag count, 12 for each tag. */
#define ZVICC_FIRST_TAG_OFFSET(tagCount) (132u + 12u * (tagCount))

/* ------------------------------------------------------------------------- */
/* The profile                                                                */
/* ------------------------------------------------------------------------- */

#pragma pack(push, 1)

/** The header of a profile, 128 bytes, with every number in the order of the host. */
typedef struct ClrIccHeader {
    uint32_t size;            /**< bytes of the profile image; kept up by tag editing */
    uint32_t cmmType;         /**< signature of the preferred colour-management module, 0 for none */
    uint32_t version;         /**< 0x04200000 for 4.2 */
    uint32_t deviceClass;     /**< "mntr", "prtr", "scnr", "link", "spac", "abst", "nmcl" */
    uint32_t colorSpace;      /**< signature of the data colour space, such as "RGB " */
    uint32_t connectionSpace; /**< "XYZ " or "Lab "; a colour space in a device link */
    uint16_t dateTime[6];     /**< year, month, day, hours, minutes, seconds */
    uint32_t signature;       /**< "acsp" */
    uint32_t platform;        /**< "APPL", "MSFT", "SGI ", "SUNW" or 0 */
    uint32_t flags;           /**< 1 embedded, 2 not to be used apart from its image */
    uint32_t manufacturer;    /**< of the device */
    uint32_t model;           /**< of the device */
    uint64_t attributes;      /**< 1 transparency, 2 matte, 4 negative, 8 black and white */
    uint32_t renderingIntent; /**< 0 perceptual, 1 relative, 2 saturation, 3 absolute */
    uint32_t illuminant[3];   /**< X, Y, Z of the connection space's illuminant, 16.16 */
    uint32_t creator;         /**< signature of the profile's creator */
    uint8_t profileId[16];    /**< identifier (MD5), or zero: none is ever computed here */
    uint8_t reserved[28];     /**< read from an image, never written to one */
} ClrIccHeader;

/** An entry of the tag table, 12 bytes. */
typedef struct ClrIccTagEntry {
    uint32_t signature; /**< of the tag */
    uint32_t offset;    /**< of the tag's body, from the first byte of the profile image */
    uint32_t size;      /**< of the body, without padding */
} ClrIccTagEntry;

/**
 * A profile, 56 bytes. The caller's; what it points to belongs to the library, is made and
 * grown by it, and goes with Zv_FreeICCProfile. A body lies in tagData at
 * offset - 12 * tagCount - 132.
 */
typedef struct ClrIccProfile {
    uint32_t structSize;      /**< 56 */
    uint64_t profileSize;     /**< bytes at profileData */
    uint64_t tagDataSize;     /**< bytes at tagData, padding included */
    ClrIccHeader* header;     /**< null until there is one */
    int32_t tagCount;         /**< entries of tagTable */
    ClrIccTagEntry* tagTable; /**< tags in the order of their insertion; without meaning when tagCount is 0 */
    uint8_t* tagData;         /**< the bodies, big-endian as in an image; without meaning when tagCount is 0 */
    uint8_t* profileData;     /**< the whole image as it was read or generated last; editing leaves it as it is */
} ClrIccProfile;

/* ------------------------------------------------------------------------- */
/* Records of tags                                                            */
/*                                                                            */
/* A record has two forms with the same fields. In host form every number is  */
/* in the order of the host: Zv_GetICCTagData fills it, Zv_SetICCTagData takes */
/* it. In image form every number stands big-endian, as its bytes in the      */
/* image do: Zv_CreateICCTagData makes it. In both forms a record is released  */
/* by Zv_FreeICCTagType if the library filled it.                             */
/*                                                                            */
/* The type of a record that Zv_SetICCTagData takes is told by an argument;   */
/* typeSig and typeReserved are not read there.                               */
/* ------------------------------------------------------------------------- */

/** "chrm", 22 bytes: chromaticities of phosphors or colorants. */
typedef struct ClrIccTagChromaticity {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint16_t channels;     /**< device channels; to be set: 3, or fewer with phosphorType 0 */
    uint32_t phosphorType; /**< 0 coordinates; 1 ITU-R BT.709, 2 SMPTE RP145, 3 EBU Tech. 3213-E, 4 P22 */
    uint32_t* coordinates; /**< x and y of each channel, 16.16; to be set: never null, not read for 1 to 4 */
} ClrIccTagChromaticity;

/** "clro", 20 bytes: the order in which colorants are laid down. */
typedef struct ClrIccTagColorantOrder {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t count; /**< bytes at order */
    uint8_t* order; /**< colorant numbers */
} ClrIccTagColorantOrder;

/** A colorant of a table, 38 bytes. */
typedef struct ClrIccColorantEntry {
    uint8_t name[32]; /**< ASCII, zero-ended */
    uint16_t pcs[3];  /**< in the profile connection space */
} ClrIccColorantEntry;

/** "clrt", 20 bytes: colorants by name. */
typedef struct ClrIccTagColorantTable {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t count; /**< entries */
    ClrIccColorantEntry* entries;
} ClrIccTagColorantTable;

/**
 * "data", 24 bytes. With dataFlag 0 the maker adds a byte to byteCount and the body has one more:
 * 10 bytes give a body of 12 + 12. A block read with dataFlag 0 has a byte more than byteCount says.
 * The bytes that are added are zero.
 */
typedef struct ClrIccTagData {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t dataFlag; /**< 0 ASCII, 1 binary */
    uint8_t* bytes;
    uint32_t byteCount;
} ClrIccTagData;

/** "dtim", 20 bytes. */
typedef struct ClrIccTagDateTime {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint16_t dateTime[6]; /**< year, month, day, hours, minutes, seconds */
} ClrIccTagDateTime;

/** "meas", 36 bytes: how the profile's data were measured. */
typedef struct ClrIccTagMeasurement {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t observer;       /**< 0 unknown, 1 CIE 1931, 2 CIE 1964 */
    uint32_t backing[3];     /**< X, Y, Z, 16.16 */
    uint32_t geometry;       /**< 0 unknown, 1 0/45 or 45/0, 2 0/d or d/0 */
    uint32_t flare;          /**< 0 or 65536 (100 %) */
    uint32_t illuminantType; /**< 0 unknown, 1 D50, 2 D65, 3 D93, 4 F2, 5 D55, 6 A, 7 E, 8 F8 */
} ClrIccTagMeasurement;

/** A language of a localised text, 12 bytes. */
typedef struct ClrIccMlucEntry {
    uint16_t language; /**< ISO 639-1, two letters, the first in the high byte */
    uint16_t country;  /**< ISO 3166-1, likewise */
    uint32_t length;   /**< bytes of the text */
    uint32_t offset;   /**< of the text, from the first byte of the tag's body: 28 with one record */
} ClrIccMlucEntry;

/**
 * "mluc", 32 bytes: text in several languages.
 *
 * A read text stays big-endian, while a text to be set is in the order of the host: a record that
 * goes from Zv_GetICCTagData to Zv_SetICCTagData needs its text swapped. As many bytes as all
 * lengths together are copied from the offset of the last record, which is right for one record;
 * where that would run past the body the read is refused with ERR_INVALID_PARAMETER.
 */
typedef struct ClrIccTagMultiLocalized {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t recordCount;     /**< entries at records */
    uint32_t recordSize;      /**< 12 */
    ClrIccMlucEntry* records; /**< always in steps of 12 bytes */
    void* text;               /**< 16-bit units, without alignment; as many bytes as the lengths together */
} ClrIccTagMultiLocalized;

/** A named colour, 46 bytes. */
typedef struct ClrIccNamedColorEntry {
    uint8_t name[32]; /**< ASCII, zero-ended */
    uint16_t pcs[3];  /**< in the profile connection space; Zv_SetICCTagData does not swap it */
    uint16_t* device; /**< deviceCoords values */
} ClrIccNamedColorEntry;

/** "ncl2", 92 bytes: named colours. The three values of pcs are swapped when read and not when set. */
typedef struct ClrIccTagNamedColor2 {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t vendorFlags;  /**< the upper 16 bits only are set */
    uint32_t colorCount;   /**< entries at colors */
    uint32_t deviceCoords; /**< device values of each colour */
    uint8_t prefix[32];    /**< of all names */
    uint8_t suffix[32];    /**< of all names */
    ClrIccNamedColorEntry* colors;
} ClrIccTagNamedColor2;

/** A profile of a sequence, 84 bytes. */
typedef struct ClrIccProfileSeqEntry {
    uint32_t manufacturer;
    uint32_t model;
    uint8_t attributes[8]; /**< a number in the order of the host when read; set as it stands */
    uint32_t technology;
    ClrIccTagMultiLocalized manufacturerText; /**< host form when read, image form to be set */
    ClrIccTagMultiLocalized modelText;        /**< likewise */
} ClrIccProfileSeqEntry;

/**
 * "pseq", 20 bytes: the profiles that a device link was made of. To be set it holds one entry as a
 * rule: texts of later ones are taken 32 bytes on from those of the first, the body has the size
 * that the last entry takes, and what does not fit is left out. Of a text of n bytes 2n - 16
 * are taken, and texts of more than 16 bytes are refused. Where n is a multiple of 4, what follows the
 * text is written four bytes further on than readers look for it.
 */
typedef struct ClrIccTagProfileSequence {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t count;
    ClrIccProfileSeqEntry* entries;
} ClrIccTagProfileSequence;

/** A response of a device channel, 8 bytes. */
typedef struct ClrIccResponse {
    uint16_t device;
    uint16_t reserved;
    uint32_t measure; /**< 16.16 */
} ClrIccResponse;

/** Responses in one unit of measurement, 28 bytes. */
typedef struct ClrIccResponseCurve {
    uint32_t measurement;       /**< signature of the unit */
    uint32_t* counts;           /**< for each channel; kept, and not used */
    uint32_t* patches;          /**< X, Y, Z for each channel, 16.16 */
    ClrIccResponse** responses; /**< for each channel a list of as many responses as the set has types */
} ClrIccResponseCurve;

/** "rcs2", 28 bytes: a set of response curves. */
typedef struct ClrIccTagResponseCurveSet {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint16_t channels;
    uint16_t types;              /**< entries at offsets and at curves */
    uint32_t* offsets;           /**< of the curves, from the first byte of the tag's body; not read when set */
    ClrIccResponseCurve* curves; /**< one for each type of measurement */
} ClrIccTagResponseCurveSet;

/** "sig ", 12 bytes. A value of fewer than four letters is moved to the left and filled with blanks when set. */
typedef struct ClrIccTagSignature {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t value;
} ClrIccTagSignature;

/**
 * "text", 16 bytes. A read text has the size of the tag's body less 8, and is followed by a 16-bit
 * zero. A text to be set must end with a 16-bit zero: the 16-bit units before it are counted, and one
 * more than that many bytes are stored. So an ASCII text of n characters is given as these and a zero,
 * then n - 1 bytes that are not zero, then two that are; docs/icc-profiles.md has an example.
 */
typedef struct ClrIccTagText {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    char* text;
} ClrIccTagText;

/** "view", 36 bytes: viewing conditions. */
typedef struct ClrIccTagViewingConditions {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t illuminantXyz[3]; /**< 16.16 */
    uint32_t surroundXyz[3];   /**< 16.16 */
    uint32_t illuminantType;   /**< as in ClrIccTagMeasurement, at most 8 */
} ClrIccTagViewingConditions;

/**
 * "sf32", "uf32", "ui08", "ui16", "ui32", "ui64", "XYZ " and every type that the library does not
 * know, 20 bytes. An element has 4 bytes in "sf32", "uf32" and "ui32", 2 in "ui16", 8 in "ui64", 12
 * (three 16.16 numbers) in "XYZ " and one otherwise. A read "ui64" has lost the upper halves.
 */
typedef struct ClrIccTagArray {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    void* values;
    uint32_t count; /**< elements; not part of the image */
} ClrIccTagArray;

/** "curv", 20 bytes: no entry is the identity, one a gamma in 8.8, more a table. */
typedef struct ClrIccTagCurve {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint32_t entryCount;
    uint16_t* entries;
} ClrIccTagCurve;

/**
 * "para", 20 bytes: a curve by a formula. Types 1 to 4 are set with a body of 12 bytes, which has no
 * room for their parameters.
 */
typedef struct ClrIccTagParametricCurve {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint16_t functionType;    /**< 0 to 4 */
    uint8_t paramReserved[2]; /**< zero */
    uint32_t* parameters;     /**< 16.16; Zv_GetParametricCurveNumberOfParameters tells how many */
} ClrIccTagParametricCurve;

/**
 * "mft2", 76 bytes: a matrix, input tables, a grid, output tables, with 16-bit values. Tables follow
 * one another by channel; the last channel of the grid's input varies fastest.
 */
typedef struct ClrIccTagLut16 {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint8_t inputChannels;
    uint8_t outputChannels;
    uint8_t gridPoints; /**< along each input channel */
    uint8_t lutPad;
    uint32_t matrix[9]; /**< by rows, 16.16 */
    uint16_t inputEntries;
    uint16_t outputEntries;
    uint16_t* inputTables;  /**< inputEntries * inputChannels values */
    uint16_t* clut;         /**< gridPoints to the power of inputChannels, times outputChannels values */
    uint16_t* outputTables; /**< outputEntries * outputChannels values */
} ClrIccTagLut16;

/**
 * "mft1", 76 bytes: as "mft2" with values of one byte. The image has the two entry counts as well, in
 * the order of the host, and so is not that of a standard lut8 tag, whose tables always have 256
 * entries. A standard tag that does not happen to fit is refused with ERR_INVALID_PARAMETER.
 */
typedef struct ClrIccTagLut8 {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint8_t inputChannels;
    uint8_t outputChannels;
    uint8_t gridPoints;
    uint8_t lutPad;
    uint32_t matrix[9];
    uint16_t inputEntries;
    uint16_t outputEntries;
    uint8_t* inputTables;
    uint8_t* clut;
    uint8_t* outputTables;
} ClrIccTagLut8;

/** The grid of "mAB " and "mBA " as it is set, 28 bytes. */
typedef struct ClrIccClut {
    uint8_t gridPoints[16]; /**< for each input channel */
    uint8_t precision;      /**< bytes of a value, 1 or 2 */
    uint8_t clutPad[3];
    void* data; /**< values; those of 2 bytes are swapped in place when set */
} ClrIccClut;

/**
 * "mAB " and "mBA ", 120 bytes: curves, matrix and grid between device and connection space.
 *
 * When read, allData has all elements one after another with numbers in the order of the host, and
 * each of the four other blocks a copy of its element: runs of curves as in the image (heads of 12
 * bytes and values, each rounded up to 4 bytes), the grid as 20 bytes and its values. Elements that
 * are absent are null; offsets are those of the image.
 *
 * To be set, curvesB, curvesM and curvesA point to records, ClrIccTagCurve or
 * ClrIccTagParametricCurve, that follow one another in steps of 16 bytes, so that the upper half of a
 * record's pointer is the typeSig of the next one; clut points to a ClrIccClut. All of them are
 * needed. allData must be null: a record that has been read is refused. Offsets are not read. Curves
 * have at most 255 entries. Parametric ones of type 0 keep their parameter, of others none is stored,
 * and some runs of several of them are refused. matrix and the values of a 16-bit grid are left
 * swapped in the caller's record: one record can be set once.
 */
typedef struct ClrIccTagLutAToB {
    uint32_t typeSig;
    uint8_t typeReserved[4];
    uint8_t inputChannels;
    uint8_t outputChannels;
    uint8_t lutReserved[2];
    uint32_t offsetB; /**< of the elements, from the first byte of the tag's body; 0 for none */
    uint32_t offsetMatrix;
    uint32_t offsetM;
    uint32_t offsetClut;
    uint32_t offsetA;
    uint8_t* allData;
    void* curvesB; /**< as many as there are connection-space channels */
    void* curvesM; /**< likewise */
    void* curvesA; /**< as many as there are device channels */
    void* clut;
    uint32_t matrix[12]; /**< 3 x 3 by rows, then three offsets; 16.16 */
} ClrIccTagLutAToB;

/**
 * Room for any of the records, 120 bytes, for callers who do not know a tag's type beforehand. The largest
 * stands first, since an initialiser such as {0} clears the first member only.
 */
typedef union ClrIccTagRecord {
    ClrIccTagLutAToB lutAToB;
    uint32_t typeSig;
    ClrIccTagArray array;
    ClrIccTagChromaticity chromaticity;
    ClrIccTagColorantOrder colorantOrder;
    ClrIccTagColorantTable colorantTable;
    ClrIccTagCurve curve;
    ClrIccTagData data;
    ClrIccTagDateTime dateTime;
    ClrIccTagLut16 lut16;
    ClrIccTagLut8 lut8;
    ClrIccTagMeasurement measurement;
    ClrIccTagMultiLocalized multiLocalized;
    ClrIccTagNamedColor2 namedColor2;
    ClrIccTagParametricCurve parametricCurve;
    ClrIccTagProfileSequence profileSequence;
    ClrIccTagResponseCurveSet responseCurveSet;
    ClrIccTagSignature signature;
    ClrIccTagText text;
    ClrIccTagViewingConditions viewingConditions;
} ClrIccTagRecord;

#pragma pack(pop)

/* ------------------------------------------------------------------------- */
/* Profile and header                                                         */
/* ------------------------------------------------------------------------- */

/**
 * Clears the first `size` bytes of the caller's record and sets structSize. Releases nothing.
 *
 * @param size sizeof(ClrIccProfile); any number from 0 to 56 is accepted.
 * @return 1, or ERR_INVALID_PARAMETER (profile null, size above 56).
 */
ZVCLR_API int32_t Zv_InitICCProfile(ClrIccProfile* profile, uint64_t size);

/**
 * Gives the profile a header with its defaults: size 132, version 4.2, "acsp", the illuminant D50,
 * zero otherwise. An existing header is reset in place, and its size then does not count tags that
 * are there.
 *
 * @return 1, ERR_INVALID_PARAMETER (profile null) or ERR_FAILURE.
 */
ZVCLR_API int32_t Zv_InitICCHeader(ClrIccProfile* profile);

/**
 * Releases header, tags and image, and sets their pointers to null. With a tagCount of 0 there are no
 * tags to release, and their pointers stay. tagCount, tagDataSize and profileSize keep their values:
 * initialise the record before using it again. Null is ignored.
 */
ZVCLR_API void Zv_FreeICCProfile(ClrIccProfile* profile);

/*
 * Setters of the header. All return 1, or ERR_INVALID_PARAMETER when profile or its header is null
 * or the value is refused; the header is then as it was.
 */

/** Clears the identifier; none is computed. */
ZVCLR_API int32_t Zv_SetICCProfileId(ClrIccProfile* profile);
ZVCLR_API int32_t Zv_SetICCCMMType(ClrIccProfile* profile, uint32_t cmmType);
/** "abst", "link", "mntr", "nmcl", "prtr", "scnr" or "spac". */
ZVCLR_API int32_t Zv_SetICCDeviceClass(ClrIccProfile* profile, int32_t deviceClass);
/** "2CLR" to "9CLR", "ACLR" to "FCLR", "CMY ", "CMYK", "GRAY", "HLS ", "HSV ", "Lab ", "Luv ", "RGB ", "XYZ ",
 *  "YCbr" or "Yxy ". */
ZVCLR_API int32_t Zv_SetICCColorSpace(ClrIccProfile* profile, int32_t colorSpace);
/** "XYZ " or "Lab "; any colour space in a device link. The device class must have been set before. */
ZVCLR_API int32_t Zv_SetICCConnectionSpace(ClrIccProfile* profile, int32_t connectionSpace);
/** "APPL", "MSFT", "SGI ", "SUNW" or 0. */
ZVCLR_API int32_t Zv_SetICCPrimaryPlatform(ClrIccProfile* profile, int32_t platform);
/** The lower two bits are stored. */
ZVCLR_API int32_t Zv_SetICCFlags(ClrIccProfile* profile, uint8_t flags);
ZVCLR_API int32_t Zv_SetICCDevManufacturer(ClrIccProfile* profile, uint32_t manufacturer);
ZVCLR_API int32_t Zv_SetICCDevModel(ClrIccProfile* profile, uint32_t model);
/** The lower four bits are stored, and all others cleared. */
ZVCLR_API int32_t Zv_SetICCDeviceAttributes(ClrIccProfile* profile, uint8_t attributes);
/** 0 perceptual, 1 relative, 2 saturation, 3 absolute. */
ZVCLR_API int32_t Zv_SetICCRenderingIntent(ClrIccProfile* profile, uint32_t renderingIntent);
ZVCLR_API int32_t Zv_SetICCCreator(ClrIccProfile* profile, uint32_t creator);
/** Six numbers: year, month, day, hours, minutes, seconds. They are not checked. */
ZVCLR_API int32_t Zv_SetICCDateTime(ClrIccProfile* profile, const uint16_t* dateTime);

/* ------------------------------------------------------------------------- */
/* Numbers                                                                    */
/* ------------------------------------------------------------------------- */

/**
 * A number as a 32-bit word with 16 integer and 16 fraction bits: 1.0 gives 0x10000, 0.1 gives
 * 0x199A, 0.9642 gives 0xF6D6.
 *
 * The fraction is made of up to four hexadecimal digits, and ends with the last one that is not
 * zero. A fraction of fewer digits is not moved up to its place: 0.5 gives 0x8, 1.5 gives 0x18, 2.75
 * gives 0x2C. Where such words are not wanted, compute them: (uint32_t)(int32_t)floor(value * 65536 + 0.5).
 * Negative numbers lose their fraction: -1.5 gives 0xFFFF0000. Of numbers beyond 32 bits the nearest
 * integer is taken, and 0 of what is none.
 */
ZVCLR_API uint32_t Zv_DoubleTo2bFixed2bNumber(double value);
/** The reverse: 0x18000 gives 1.5. Words are unsigned. */
ZVCLR_API double Zv_2bFixed2bNumberToDouble(uint32_t word);
/** As Zv_DoubleTo2bFixed2bNumber with 8 and 8 bits: 1.0 gives 0x100, 2.2 gives 0x233, 0.5 gives 0x8. */
ZVCLR_API uint16_t Zv_DoubleToU8Fixed8Number(double value);
/** The reverse: 0x180 gives 1.5. */
ZVCLR_API double Zv_U8Fixed8NumberToDouble(uint16_t word);

/* ------------------------------------------------------------------------- */
/* Profile images and files                                                   */
/* ------------------------------------------------------------------------- */

/**
 * Reads a profile image of version 4.0 or above into the record: a copy as profileData, header, tag
 * table and tag data. Bodies of tags are not looked into. The record should be freshly initialised:
 * blocks that it holds are not released, but for a header, which is used again.
 *
 * @param bytes the image; copied.
 * @param size  its length; the image may be shorter than that by its own size field.
 * @return 1, ERR_INVALID_PARAMETER (null, size 0, memory that cannot be read), ERR_FAILURE, or
 *         ERR_BAD_PROFILE: version below 4.0 (profileData, profileSize and header's size, cmmType and
 *         version are set then), or header, tag table or data reach beyond `size`. Release the record
 *         in any case.
 */
ZVCLR_API int32_t Zv_FillICCProfileStructure(ClrIccProfile* profile, const void* bytes, uint64_t size);

/**
 * Reads a profile file. Versions 4.0 and 4.2 go through Zv_FillICCProfileStructure. A profile of any
 * other version is kept as profileData and profileSize only: without header and tags.
 *
 * @return 1, ERR_INVALID_PARAMETER (null), ERR_FILE_OPEN, ERR_FILE_READ (also for a file that is
 *         shorter than it says), ERR_BAD_PROFILE (size field 0, or as above), ERR_FAILURE.
 */
ZVCLR_API int32_t Zv_FillICCProfileFromICCFile(const ZvChar* fileName, ClrIccProfile* profile);

/**
 * Makes the profile image of header and tags, in place of the one that is there. Reserved bytes of
 * the header are written as zero.
 *
 * @return 1, ERR_INVALID_PARAMETER (profile or header null), ERR_FAILURE, or ERR_BAD_PROFILE: the
 *         header's size is not that of the tags, as after the deletion of the last one or a second
 *         Zv_InitICCHeader, or tagCount is negative. But for the latter profileSize has changed then; the
 *         image keeps what it has, and grows by zeros to a larger profileSize (ERR_FAILURE without memory).
 */
ZVCLR_API int32_t Zv_GenerateICCPointer(ClrIccProfile* profile);

/**
 * Writes the image that Zv_GenerateICCPointer has made to a file. A file of that name is replaced,
 * also when there is no image.
 *
 * @return 1, ERR_INVALID_PARAMETER (null), ERR_FILE_OPEN or ERR_FILE_WRITE.
 */
ZVCLR_API int32_t Zv_GenerateICCFile(const ClrIccProfile* profile, const ZvChar* fileName);

/** Zv_FillICCProfileFromICCFile with a narrow name. ERR_FAILURE when that cannot be converted. */
ZVCLR_API int32_t Zv_FillICCProfileFromICCFileA(const char* fileName, ClrIccProfile* profile);

/** Zv_GenerateICCFile with a narrow name. ERR_FAILURE when that cannot be converted. */
ZVCLR_API int32_t Zv_GenerateICCFileA(const ClrIccProfile* profile, const char* fileName);

/** Type signature of the first tag of that signature; 0 if there is none. */
ZVCLR_API uint32_t Zv_GetICCTagTypeSig(const ClrIccProfile* profile, uint32_t tagSignature);

/* ------------------------------------------------------------------------- */
/* Tags                                                                       */
/*                                                                            */
/* Three results are warnings: what was asked for has been done.              */
/* ERR_UNKNOWN_TAG: the library does not know the tag's signature.            */
/* ERR_UNKNOWN_TAG_TYPE: it does not know the type, and handles the body as   */
/* bytes in a ClrIccTagArray. ERR_UNKNOWN_TAG_AND_TYPE: both.                 */
/* ------------------------------------------------------------------------- */

/**
 * Reads the first tag of that signature.
 *
 * @param record receives the tag in host form: the record of the tag's type
 *               (Zv_GetICCTagTypeSig), or a ClrIccTagRecord. Clear it before the call: then
 *               Zv_FreeICCTagType with its typeSig is right after any result, and needed after failures
 *               too, which leave what was read so far.
 * @return 1 or a warning, ERR_INVALID_PARAMETER (null, or fields of the body count or point past it),
 *         ERR_FAILURE, or ERR_BAD_TAG: no such tag or its body lies outside the tag data or has not even a
 *         type (record untouched), a selector in it is out of range, a "mAB " or "mBA " body lacks what it
 *         needs.
 */
ZVCLR_API int32_t Zv_GetICCTagData(const ClrIccProfile* profile, void* record, uint32_t tagSignature);

/**
 * Adds a tag at the end. A tag of the same signature that is there stays, and is the one that reads
 * find: delete it before.
 *
 * @param record        in host form, of the record type that goes with typeSignature. It stays the
 *                      caller's, and is left as it was but for "mAB " and "mBA ".
 * @param typeSignature what the record is. Any type goes with any tag, but for "mluc" as "pseq".
 * @return 1 or a warning, ERR_INVALID_PARAMETER (null, no header, a field that is refused, arrays that
 *         cannot be read), or ERR_FAILURE: tagCount may have been raised then, and the profile is
 *         only good for release.
 */
ZVCLR_API int32_t Zv_SetICCTagData(ClrIccProfile* profile, void* record, uint32_t tagSignature, uint32_t typeSignature);

/**
 * Makes the image form of a record. For "chrm" the fields behind the head are expected from the very
 * first byte of `record` on, so that a ClrIccTagChromaticity with its typeSig is refused.
 *
 * @param imageRecord receives it; cleared first. Release it with Zv_FreeICCTagType, after a failure too.
 * @return 1, ERR_UNKNOWN_TAG_TYPE (a warning), ERR_INVALID_PARAMETER or ERR_FAILURE.
 */
ZVCLR_API int32_t Zv_CreateICCTagData(void* imageRecord, void* record, uint32_t typeSignature);

/**
 * Removes the first tag of that signature and clears profileId. Padding behind the body stays in the
 * tag data. A body that other tags share goes for them too.
 *
 * @param record null, or receives the tag as by Zv_GetICCTagData. Then any result of that other than 1,
 *               warnings too, is returned and nothing is deleted.
 * @return 1, ERR_INVALID_PARAMETER (null profile, no header, no tags), ERR_BAD_TAG (no such tag, or its
 *         body lies outside the tag data), ERR_FAILURE: the profile is only good for release then.
 *
 * After the last tag the sizes in the record and the header stay as they were, and
 * Zv_GenerateICCPointer refuses the profile.
 */
ZVCLR_API int32_t Zv_DeleteICCTag(ClrIccProfile* profile, uint32_t tagSignature, void* record);

/**
 * Releases the arrays of a record that the library filled, in either form, and sets their pointers to
 * null. The record itself is the caller's. Null is ignored.
 *
 * @param typeSignature the type that the record was filled as.
 */
ZVCLR_API void Zv_FreeICCTagType(void* record, uint32_t typeSignature);

/* ------------------------------------------------------------------------- */
/* Profiles in image files                                                    */
/*                                                                            */
/* The format is told by the file's content. Of a profile only profileData    */
/* and profileSize take part, as bytes: a profile of any version will do.     */
/*                                                                            */
/*   JPEG                       loaded and saved (replaced)                   */
/*   TIFF, BigTIFF              loaded and saved (replaced), first directory  */
/*   EPS                        loaded, all but its last 1 to 80 bytes        */
/*   Macintosh picture          loaded                                        */
/*   GIF                        saved (each time one more is added)           */
/*   any other                  ERR_FORMAT_NO_ICC                             */
/* ------------------------------------------------------------------------- */

/**
 * Options of a save for the small host layer that the library comes with. A toolkit that links its own
 * host layer has records of its own under these names.
 */
typedef struct _SAVEFILEOPTION {
    uint32_t size; /**< sizeof(SAVEFILEOPTION) */
    /** The file as it was is kept under this name, in the same file system; empty: not kept. */
    ZvChar backupName[CLR_NAME_LENGTH];
} SAVEFILEOPTION;

/** The same with narrow characters: UTF-8, on Windows the system's code page. */
typedef struct _SAVEFILEOPTIONA {
    uint32_t size; /**< sizeof(SAVEFILEOPTIONA) */
    char backupName[CLR_NAME_LENGTH];
} SAVEFILEOPTIONA;

/**
 * Takes the ICC profile out of an image file, byte for byte, into profileData and profileSize. Give these
 * to Zv_FillICCProfileStructure (with another record, or with a copy) for header and tags.
 *
 * Both fields are cleared first. The block that they held comes back when the file has no profile
 * (ERR_NO_PROFILE), but for TIFF; otherwise it is forgotten, also by other failures: keep the pointer, and
 * release it with Zv_FreeICCProfile on a record that holds it, or load into a fresh record. After a failure
 * the fields may hold a part of a profile.
 *
 * The parts of a JPEG's profile are joined as they stand in the file, whatever their numbers say.
 *
 * While it runs, faults of this thread are the library's to catch: on Linux by handlers of SIGSEGV, SIGBUS,
 * SIGFPE and SIGILL, which pass on what is another thread's and give way to the earlier ones at the end.
 *
 * @param loadOptions passed on to the host; the library's own host layer has none: null.
 * @return 1, ERR_INVALID_PARAMETER (null), ERR_STRUCT_SIZE, ERR_FORMAT_NO_ICC, ERR_NO_PROFILE,
 *         ERR_FILE_OPEN, ERR_FILE_READ (also for an image that is damaged), ERR_IMAGE_OPEN,
 *         ERR_PROFILE_TRUNCATED (EPS or picture: the data end early, or are not hexadecimal),
 *         ERR_PROFILE_UNUSABLE (EPS: nothing follows the begin line, or the file is empty), ERR_FAILURE,
 *         ERR_NO_MEMORY, ERR_BAD_TAG (TIFF: the tag is no bytes), or ERR_FILE_FAULT.
 */
ZVCLR_API int32_t Zv_LoadICCProfile(const ZvChar* fileName, ClrIccProfile* profile, const void* loadOptions);

/**
 * Zv_LoadICCProfile with a narrow name. ERR_FAILURE when that cannot be converted.
 */
ZVCLR_API int32_t Zv_LoadICCProfileA(const char* fileName, ClrIccProfile* profile, const void* loadOptions);

/**
 * Puts profileData, profileSize bytes, into an image file that exists. Make them with
 * Zv_GenerateICCPointer, Zv_FillICCProfileFromICCFile or Zv_LoadICCProfile. Pixels are not touched.
 *
 * JPEG and TIFF files are written anew beside the old one, which is replaced at the end: after a failure
 * the old file is whole. Owner and rights stay, other names of the file (hard links) keep the old one. A
 * GIF file is written in place, and no failure of that is noticed.
 *
 * A JPEG takes a profile in parts of 65,519 bytes, and no profile of which 65,520 to 65,532 bytes are left
 * for the last part (ERR_INVALID_PARAMETER). Above 255 parts the numbers in them begin again. Without bytes
 * (profileSize 0) a JPEG stays as it is, a TIFF is refused (ERR_INVALID_PARAMETER), and a GIF gets an
 * extension without data. In a TIFF the bytes of the directory and of the profile before stay behind unused.
 *
 * @param saveOptions null, or a SAVEFILEOPTION (ERR_STRUCT_SIZE if its size is another); for JPEG and TIFF.
 * @return 1, ERR_INVALID_PARAMETER (null; profileData cannot be read; the sizes above, and 0 for TIFF; a
 *         backup name without an end), ERR_STRUCT_SIZE, ERR_NO_PROFILE (profileData null and profileSize not
 *         0), ERR_FORMAT_NO_ICC, ERR_FILE_OPEN, ERR_FILE_READ (also for an image that is damaged),
 *         ERR_FILE_WRITE, ERR_BAD_POINTER (options that cannot be read), ERR_NO_MEMORY, or the number 8: no
 *         memory for the parts of a JPEG.
 */
ZVCLR_API int32_t Zv_SaveICCProfile(const ZvChar* fileName, const ClrIccProfile* profile,
                                    const SAVEFILEOPTION* saveOptions);

/** Zv_SaveICCProfile with narrow names. ERR_FAILURE when these cannot be converted; nothing is saved then. */
ZVCLR_API int32_t Zv_SaveICCProfileA(const char* fileName, const ClrIccProfile* profile,
                                     const SAVEFILEOPTIONA* saveOptions);

/* ------------------------------------------------------------------------- */
/* Elements of LUT tags                                                       */
/* ------------------------------------------------------------------------- */

/**
 * Writes a grid: 20 bytes of the record's head, then `length` bytes of its data.
 *
 * @param destination 20 + length bytes.
 * @param precision   1 or 2; checked only.
 * @return 1 or ERR_INVALID_PARAMETER.
 */
ZVCLR_API int32_t Zv_ConvertCLUTToBuffer(void* destination, const ClrIccClut* clut, int32_t precision, uint64_t length);

/**
 * Writes the first 12 bytes of a curve in host or image form and its values, as they stand.
 *
 * @param destination 12 + 2 * entryCount bytes.
 * @return 1 or ERR_INVALID_PARAMETER.
 */
ZVCLR_API int32_t Zv_ConvertCurveTypeToBuffer(void* destination, const ClrIccTagCurve* curve);

/**
 * Writes the first 12 bytes of a parametric curve and its parameters, as they stand. functionType is
 * taken in the order of the host, so that types 1 to 4 in image form have no parameters here.
 *
 * @param destination 12 + 4 * the number of parameters.
 * @return 1 or ERR_INVALID_PARAMETER.
 */
ZVCLR_API int32_t Zv_ConvertParametricCurveTypeToBuffer(void* destination, const ClrIccTagParametricCurve* curve);

/** Parameters of a function type: 1, 3, 4, 5, 7 for 0 to 4; 0 for others. */
ZVCLR_API int32_t Zv_GetParametricCurveNumberOfParameters(int32_t functionType);

#ifdef __cplusplus
}
#endif

#endif /* ZVICC_H */
