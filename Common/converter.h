// The converter's record and its neighbours: data only, pointers to the rest.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/platform.h"
#include "zvclr.h"

namespace zv {

struct CmmTransform;
struct ClrYcckTables;
struct ClrLabDecodeRecord;
struct ClrLabEncodeRecord;
/// A plain block of grid nodes, three bytes each, without a header.
using EmulationTable = uint8_t;

inline constexpr uint32_t kConverterSize = 1720;
/// A name of the caller's record holds 264 characters and one of the converter 260, so longer names are refused.
inline constexpr int32_t kConverterNameLength = 260;
inline constexpr int32_t kGammaPercent = 45;
inline constexpr int32_t kDefaultGcrLevel = 175;
inline constexpr uint32_t kDefaultWhiteCode = 50;

/// The two spaces that every other has a kernel from and to.
constexpr bool ClrIsHub(int32_t space) noexcept { return space == CLRSPACE_RGB || space == CLRSPACE_BGR; }

enum ClrRoute : uint32_t {
    kRouteOneStep = 1,
    kRouteThroughHub = 2,
};

/// Runs a transform over a packed run of pixels: all that a kernel needs of the transform engine.
int32_t CmmRunTransform(const void* input, void* output, uint32_t pixelCount, CmmTransform* transform) noexcept;
/// The same for the transform of a live converter, which needs no probe.
int32_t CmmRunOwnTransform(const void* input, void* output, uint32_t pixelCount, CmmTransform* transform) noexcept;

}  // namespace zv

/// The converter. A stored null means that the feature is absent; conversion picks its kernel by that.
struct ClrHandle {
    uint32_t size;  ///< 1720; the validity test reads it
    int32_t sourceSpace;
    int32_t destinationSpace;
    zv::CmmTransform* iccTransform;     ///< built-in profiles
    zv::CmmTransform* customTransform;  ///< the caller's profiles
    uint32_t sourceFormat;              ///< pixel format words; the ids when route is 2
    uint32_t destinationFormat;
    ClrCmykParams* cmykParams;  ///< owned copy
    ClrYuvParams* yuvParams;    ///< owned copy
    uint32_t route;             ///< zv::ClrRoute
    ClrWhitePoint* whitePoint;  ///< owned copy; null only for a converter made without ClrParams
    uint32_t activeMethod;
    uint32_t methods;
    ZvChar inputProfileName[zv::kConverterNameLength];
    ZvChar outputProfileName[zv::kConverterNameLength];
    ZvChar emulationTableName[zv::kConverterNameLength];
    ClrProfileMemory* inputProfileMemory;  ///< owned, with owned data
    ClrProfileMemory* outputProfileMemory;
    const zv::EmulationTable* builtinEmulationTable;  ///< into the locked resource, not owned
    zv::EmulationTable* customEmulationTable;         ///< owned
    int32_t gammaPercent;
    zv::ClrLabDecodeRecord* labDecode;  ///< owned
    zv::ClrLabEncodeRecord* labEncode;  ///< owned
    zv::ClrYcckTables* ycckTables;      ///< owned
    HANDLE systemTransform;             ///< the platform's transform
    uint8_t reserved[8];                ///< the record has 1720 bytes, of which the fields fill 1712
};

static_assert(sizeof(ClrHandle) == zv::kConverterSize);
static_assert(offsetof(ClrHandle, sourceSpace) == 4 && offsetof(ClrHandle, destinationSpace) == 8);
static_assert(offsetof(ClrHandle, iccTransform) == 16 && offsetof(ClrHandle, customTransform) == 24);
static_assert(offsetof(ClrHandle, sourceFormat) == 32 && offsetof(ClrHandle, destinationFormat) == 36);
static_assert(offsetof(ClrHandle, cmykParams) == 40 && offsetof(ClrHandle, yuvParams) == 48);
static_assert(offsetof(ClrHandle, route) == 56 && offsetof(ClrHandle, whitePoint) == 64);
static_assert(offsetof(ClrHandle, activeMethod) == 72 && offsetof(ClrHandle, methods) == 76);
static_assert(offsetof(ClrHandle, inputProfileName) == 80 && offsetof(ClrHandle, outputProfileName) == 600);
static_assert(offsetof(ClrHandle, emulationTableName) == 1120 && offsetof(ClrHandle, inputProfileMemory) == 1640);
static_assert(offsetof(ClrHandle, outputProfileMemory) == 1648 && offsetof(ClrHandle, builtinEmulationTable) == 1656);
static_assert(offsetof(ClrHandle, customEmulationTable) == 1664 && offsetof(ClrHandle, gammaPercent) == 1672);
static_assert(offsetof(ClrHandle, labDecode) == 1680 && offsetof(ClrHandle, labEncode) == 1688);
static_assert(offsetof(ClrHandle, ycckTables) == 1696 && offsetof(ClrHandle, systemTransform) == 1704);
static_assert(offsetof(ClrHandle, reserved) == 1712);
