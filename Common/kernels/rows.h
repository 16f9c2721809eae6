// Rows of pixels: what the frame of a kernel calls, and what each instruction set has a variant of.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/kernels/isa.h"

namespace zv {

/// One row, without any check. The context is what the codec needs beside the pixels.
using ClrRow = void (*)(const uint8_t* source, uint8_t* destination, int32_t width, const void* context) noexcept;

/// A codec's rows; the second of each serves the hub with red first.
struct ClrHubRows {
    ClrRow fromHub[2];
    ClrRow toHub[2];
};

struct LumaChromaRowTable {
    ClrHubRows yuv;
    ClrHubRows yiq;
    ClrHubRows ycbcr;
};

struct HueRowTable {
    ClrHubRows hsv;
    ClrHubRows hls;
    /// Pixels of a row of HLS before the first one with a data error.
    int32_t (*hlsPixelsBeforeError)(const uint8_t* row, int32_t width) noexcept;
    ClrHubRows hsi;  ///< with an Hsi::HueTable from the hub, an Hsi::AngleTable to it
};

struct ByteRowTable {
    ClrHubRows rgb444;
    ClrHubRows cmy;
    ClrRow swap;
};

/// Four rows of a hub, `rowStep` bytes apart, into four rows of luma and one row of each chroma plane.
using ClrYvu9FromHubBand = void (*)(const uint8_t* band, ptrdiff_t rowStep, uint8_t* luma, uint8_t* planeV,
                                    uint8_t* planeU, int32_t width) noexcept;
/// One row back.
using ClrYvu9ToHubRow = void (*)(const uint8_t* luma, const uint8_t* planeV, const uint8_t* planeU, uint8_t* hub,
                                 int32_t width) noexcept;

/// Widths are multiples of the format's group.
struct SubsampledRowTable {
    ClrHubRows yuy2;
    ClrHubRows uyvy;
    ClrHubRows y41p;
    ClrYvu9FromHubBand yvu9FromHub[2];
    ClrYvu9ToHubRow yvu9ToHub[2];
};

struct PrintRowTable {
    ClrHubRows cmyk;  ///< with a Cmyk
    ClrRow cmykToYcck;
    ClrRow ycckToCmyk;
    ClrRow hubToYcck;  ///< the hub's bytes as they stand
    ClrRow ycckToHub[2];
};

/// With an EmulationTable.
struct EmulationRowTable {
    ClrHubRows cmyk;  ///< to the hub only
    ClrHubRows lab;
};

}  // namespace zv

ZV_ISA_TABLE(ByteRowTable, ByteRows)
ZV_ISA_TABLE(SubsampledRowTable, SubsampledRows)
ZV_ISA_TABLE(LumaChromaRowTable, LumaChromaRows)
ZV_ISA_TABLE(HueRowTable, HueRows)
ZV_ISA_TABLE(PrintRowTable, PrintRows)
ZV_ISA_TABLE(ClrHubRows, XyzRows)
/// With LabTables both ways.
ZV_ISA_TABLE(ClrHubRows, LabRows)
ZV_ISA_TABLE(EmulationRowTable, EmulationRows)
/// With a LabEncodeContext from the hub, a LabDecodeContext to it.
ZV_ISA_TABLE(ClrHubRows, LabRecordRows)
