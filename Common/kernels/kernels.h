// Every kernel once, and the table that binds them to the colour-space ids.
#pragma once

#include <cstdint>

#include "Common/converter.h"
#include "Common/kernels/lab_records.h"
#include "Common/kernels/print.h"
#include "Common/kernels/row_frame.h"

namespace zv {

// The common form: pixels, size, bytes after each row, hub byte order (not 0: red first), and what the caller knows to
// be reachable. The result is 1, ERR_INVALID_PARAMETER when a buffer cannot be reached, or what is said here.

ZV_DECLARE_KERNEL(ClrYuvFromHub);
ZV_DECLARE_KERNEL(ClrYuvToHub);
ZV_DECLARE_KERNEL(ClrYiqFromHub);
ZV_DECLARE_KERNEL(ClrYiqToHub);
ZV_DECLARE_KERNEL(ClrYcbcrFromHub);
ZV_DECLARE_KERNEL(ClrYcbcrToHub);

ZV_DECLARE_KERNEL(ClrCmyFromHub);
ZV_DECLARE_KERNEL(ClrCmyToHub);
int32_t ClrCmykFromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t gcrLevel, int32_t rgbFirst,
                       ClrReach reach = {}) noexcept;
int32_t ClrCmykToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                     int32_t destinationRowExtra, int32_t gcrLevel, int32_t rgbFirst, ClrReach reach = {}) noexcept;

/// Works on the source's byte order as it stands: C comes from byte 0. With a converter of the built-in or the ICC
/// method the converter's own tables are used, which exist only for a YCCK source: nothing is written without them.
int32_t ClrYcckFromHub(const ClrHandle* converter, const uint8_t* source, uint8_t* destination, int32_t width,
                       int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra) noexcept;
/// 1 without a converter; the transform's result with the ICC method; 0 with any other, also after a written image.
int32_t ClrYcckToHub(const ClrHandle* converter, const uint8_t* source, uint8_t* destination, int32_t width,
                     int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t rgbFirst) noexcept;
/// From a packed CMYK buffer; nothing but nulls is checked.
int32_t ClrCmykToYcck(const ClrYcckTables* tables, const uint8_t* source, uint8_t* destination, int32_t width,
                      int32_t height, int32_t destinationRowExtra) noexcept;
/// Into a packed CMYK buffer; nothing but nulls is checked.
int32_t ClrYcckToCmyk(const ClrYcckTables* tables, const uint8_t* source, uint8_t* destination, int32_t width,
                      int32_t height, int32_t sourceRowExtra) noexcept;

ZV_DECLARE_KERNEL(ClrXyzFromHub);
ZV_DECLARE_KERNEL(ClrXyzToHub);
ZV_DECLARE_KERNEL(ClrLabFromHub);
ZV_DECLARE_KERNEL(ClrLabToHub);
/// The parameterised route checks nothing but nulls: the frame has checked the buffers.
int32_t ClrLabParamsFromHub(const ClrLabEncodeRecord* record, const uint8_t* source, uint8_t* destination,
                            int32_t width, int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra,
                            int32_t rgbFirst) noexcept;
int32_t ClrLabParamsToHub(const ClrLabDecodeRecord* record, const uint8_t* source, uint8_t* destination, int32_t width,
                          int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra,
                          int32_t rgbFirst) noexcept;

ZV_DECLARE_KERNEL(ClrHsvFromHub);
ZV_DECLARE_KERNEL(ClrHsvToHub);
ZV_DECLARE_KERNEL(ClrHlsFromHub);
/// ERR_BAD_TAG at the first pixel that has a hue and no saturation; the pixels before it are written.
ZV_DECLARE_KERNEL(ClrHlsToHub);
ZV_DECLARE_KERNEL(ClrHsiFromHub);
ZV_DECLARE_KERNEL(ClrHsiToHub);

// ERR_WIDTH_MULTIPLE and ERR_YVU9_SIZE go before the checks of the buffers.
ZV_DECLARE_KERNEL(ClrYuy2FromHub);
ZV_DECLARE_KERNEL(ClrYuy2ToHub);
ZV_DECLARE_KERNEL(ClrUyvyFromHub);
ZV_DECLARE_KERNEL(ClrUyvyToHub);
ZV_DECLARE_KERNEL(ClrY41pFromHub);
ZV_DECLARE_KERNEL(ClrY41pToHub);
int32_t ClrYvu9FromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t rgbFirst, ClrReach reach = {}) noexcept;
int32_t ClrYvu9ToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                     int32_t destinationRowExtra, int32_t rgbFirst, ClrReach reach = {}) noexcept;
ZV_DECLARE_KERNEL(ClrRgb444FromHub);
ZV_DECLARE_KERNEL(ClrRgb444ToHub);
/// Any layout that a record describes; always writes B, G, R. ERR_BAD_POINTER for the source, and the codes of
/// ClrYuvParams.
int32_t ClrYuvParamsToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                          int32_t sourceRowExtra, int32_t destinationRowExtra, const ClrYuvParams* params,
                          ClrReach reach = {}) noexcept;

/// Byte 0 from byte 2, byte 1 from byte 1, byte 2 from byte 0: between the two hubs, either way.
int32_t ClrHubSwap(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                   int32_t destinationRowExtra, ClrReach reach = {}) noexcept;

// Emulation tables. The results have no meaning: 0 for a converted image, negative when nothing was done for want of a
// table or of a buffer that can be reached. The table must have its grid's bytes.
int32_t ClrEmulateCmykToHub(const uint8_t* source, const EmulationTable* table, int32_t width, int32_t height,
                            int32_t sourceRowExtra, int32_t destinationRowExtra, uint8_t* destination, int32_t rgbFirst,
                            ClrReach reach = {}) noexcept;
int32_t ClrEmulateHubToLab(const uint8_t* source, const EmulationTable* table, int32_t width, int32_t height,
                           int32_t sourceRowExtra, int32_t destinationRowExtra, uint8_t* destination, int32_t rgbFirst,
                           ClrReach reach = {}) noexcept;
int32_t ClrEmulateLabToHub(const uint8_t* source, const EmulationTable* table, int32_t width, int32_t height,
                           int32_t sourceRowExtra, int32_t destinationRowExtra, uint8_t* destination, int32_t rgbFirst,
                           ClrReach reach = {}) noexcept;

/// Binds the table of a pair: the built-in one, or with `custom` not 0 that of the caller's file. A pair without a
/// table binds nothing and is no failure. 1, a negative code, or the system's error number when the file cannot be
/// read. Each custom load from CMYK or to Lab leaves one block of the table's size unreleased.
int32_t ClrLoadEmulationTable(ClrHandle* converter, int32_t sourceId, int32_t destinationId, const ClrParams* params,
                              int32_t custom) noexcept;
/// Reads the pixels of a little-endian baseline TIFF of one strip into a new block, which holds the largest grid and is
/// zero where the file has nothing. 1, or the system's error number; the pointer is set once memory was asked for.
int32_t ClrReadEmulationFile(const ZvChar* name, EmulationTable** table) noexcept;
/// A table of zeros, or null.
EmulationTable* ClrAllocEmulationTable(int32_t bytes) noexcept;

/// Any kernel of the common form.
class ClrKernel {
public:
    using Function = decltype(&ClrYuvFromHub);
    constexpr ClrKernel(Function function) noexcept : function_(function) {}  // NOLINT: a kernel is one as it stands

    int32_t operator()(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t rgbFirst,
                       ClrReach reach = {}) const noexcept {
        return function_(source, destination, width, height, sourceRowExtra, destinationRowExtra, rgbFirst, reach);
    }

private:
    Function function_;
};

/// A space's two kernels, without any converter: default black generation, no records.
struct ClrKernelPair {
    int32_t space;
    const char* fromHubName;
    ClrKernel fromHub;
    const char* toHubName;
    ClrKernel toHub;
};

inline constexpr int32_t kKernelPairCount = 16;
extern const ClrKernelPair kKernelPairs[kKernelPairCount];

/// The entry of a space, or null for the hubs and for what is no space.
const ClrKernelPair* FindKernelPair(int32_t space) noexcept;

}  // namespace zv
