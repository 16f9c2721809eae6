#include "Common/kernels/emulation.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

/// 0 for a converted image: nobody looks at the result of these kernels.
template <class Run>
int32_t Emulate(const EmulationTable* table, const Run& run) noexcept {
    if (table == nullptr) return ERR_INVALID_PARAMETER;
    const int32_t result = run();
    return result == CLR_SUCCESS ? 0 : result;
}

}  // namespace

int32_t ClrEmulateCmykToHub(const uint8_t* source, const EmulationTable* table, int32_t width, int32_t height,
                            int32_t sourceRowExtra, int32_t destinationRowExtra, uint8_t* destination, int32_t rgbFirst,
                            ClrReach reach) noexcept {
    return Emulate(table, [&] {
        return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, EmulationRows().cmyk, CmykEmulation::kPixelBytes, table);
    });
}

int32_t ClrEmulateHubToLab(const uint8_t* source, const EmulationTable* table, int32_t width, int32_t height,
                           int32_t sourceRowExtra, int32_t destinationRowExtra, uint8_t* destination, int32_t rgbFirst,
                           ClrReach reach) noexcept {
    return Emulate(table, [&] {
        return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, EmulationRows().lab, HubToLabEmulation::kPixelBytes, table);
    });
}

int32_t ClrEmulateLabToHub(const uint8_t* source, const EmulationTable* table, int32_t width, int32_t height,
                           int32_t sourceRowExtra, int32_t destinationRowExtra, uint8_t* destination, int32_t rgbFirst,
                           ClrReach reach) noexcept {
    return Emulate(table, [&] {
        return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, EmulationRows().lab, LabToHubEmulation::kPixelBytes, table);
    });
}

}  // namespace zv
