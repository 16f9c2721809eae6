// Where things are found: files by their names, the library's data blocks by type and id.
#pragma once

#include <cstdint>

#include "host/platform.h"
#include "zvclr.h"

namespace zv {

/// Nonzero when the path names something that exists.
int32_t ClrFileExists(const ZvChar* path) noexcept;

struct ClrResource {
    const uint8_t* data;
    uint32_t size;
};

/// A data block of the module in force, of type "ICM" or "ET"; null data if there is none.
ClrResource FindClrResource(const ZvChar* type, uint16_t id) noexcept;
/// The module that resources and dialogs are looked up in; null for the library itself.
void SetClrResourceModule(void* module) noexcept;
void* ClrResourceModule() noexcept;

}  // namespace zv
