// A transform of the engine, as far as running it goes.
#pragma once

#include <cstdint>

namespace zv {

struct CmmTransform {
    uint32_t inputCount;  ///< pixels in the current run: one transform cannot run on two threads
    uint32_t outputCount;
    int32_t (*run)(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount);
};

}  // namespace zv
