// What is set for the next save. It belongs to the file library as a whole: a thread that sets something has the
// library to itself until it clears that, and others that save wait.
#pragma once

#include <cstdint>

#include "host/host.h"

namespace zvhost {

struct SaveState {
    HostMarkers markers = nullptr;
    uint32_t tag = 0;  ///< 0 for none
    uint16_t tagType = 0;
    uint64_t tagCount = 0;
    const uint8_t* tagData = nullptr;

    bool IsEmpty() const noexcept { return markers == nullptr && tag == 0; }
};

/// Waits until no other thread has anything set. For what sets.
SaveState* TakeSaveState() noexcept;
/// What this thread has set; null if that is nothing. For what saves.
SaveState* OwnSaveState() noexcept;
/// Lets others in if nothing is set any more.
void YieldSaveState() noexcept;

}  // namespace zvhost
