// Converting pixels. Runners probe the transform once; their stages are the unchecked ones.
#include <algorithm>
#include <atomic>

#include "Common/Zvtrans/byte_tables.h"
#include "Common/Zvtrans/transform.h"

namespace zv {

namespace {

/// A pixel in flight. Words that no stage writes are 0.
using Words = uint16_t[kMostChannels];

constexpr uint32_t kGamutLimit = 0xF000;
constexpr uint16_t kGamutAlarm[4] = {0x7FFF, 0xFFFE, 0x7FFF, 0};

bool IsReadable(const CmmTransform* transform) noexcept {
    return transform != nullptr && !IsBadReadPtr(transform, sizeof *transform);
}

bool AllOnes(const uint16_t* words) noexcept { return words[0] == 0xFFFF && words[1] == 0xFFFF && words[2] == 0xFFFF; }

/// Walks the buffers by the positions that the formatters return.
template <class Stages>
int32_t RunPixels(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount,
                  const Stages& stages) noexcept {
    const auto* from = static_cast<const uint8_t*>(input);
    auto* to = static_cast<uint8_t*>(output);
    const CmmUnpack unpack = transform->unpack;
    const CmmPack pack = transform->pack;
    Words in = {}, out = {};
    for (uint32_t i = 0; i < pixelCount; ++i) {
        from = unpack(transform, in, from);
        to = pack(transform, stages(in, out), to);
    }
    return CLR_SUCCESS;
}

/// Every stage of a transform in its order.
class FullChain {
public:
    explicit FullChain(const CmmTransform& transform) noexcept
        : t_(transform),
          first_(CmmUncheckedPcs(transform.pcsConvert)),
          second_(CmmUncheckedPcs(transform.pcsConvert2)),
          white_(CmmSpaceWhite(transform.outputProfile == nullptr ? 0 : transform.outputProfile->colorSpace)) {}

    const uint16_t* operator()(const uint16_t* device, uint16_t* out) noexcept {
        if (t_.deviceToPcs != nullptr) t_.deviceToPcs(&t_, device, fromDevice_);
        if (first_ == nullptr) {
            std::copy_n(fromDevice_, 3, joint_);
        } else {
            first_(fromDevice_, joint_, t_.pcsScale, t_.pcsOffset);
            if (AllOnes(joint_)) return white_;
        }
        if (t_.gamutLut != nullptr) {
            CmmLutEvalUnchecked(*t_.gamutLut, joint_, proof_);
            if (proof_[0] > kGamutLimit) return kGamutAlarm;
        }
        if (t_.previewLut != nullptr) {
            CmmLutEvalUnchecked(*t_.previewLut, joint_, proof_);
            std::copy_n(proof_, 3, joint_);
        }
        if (second_ == nullptr) {
            std::copy_n(joint_, 3, toDevice_);
        } else {
            second_(joint_, toDevice_, t_.pcsScale2, t_.pcsOffset2);
            // Here it is the input that is looked at, and at the first conversion the result.
            if (AllOnes(joint_)) return white_;
        }
        if (t_.pcsToDevice != nullptr) t_.pcsToDevice(&t_, toDevice_, out);
        return out;
    }

private:
    const CmmTransform& t_;
    CmmPcsFunction first_;
    CmmPcsFunction second_;
    const uint16_t* white_;
    Words fromDevice_ = {}, joint_ = {}, proof_ = {}, toDevice_ = {};
};

int32_t RunFull(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    FullChain chain(*transform);
    return RunPixels(transform, input, output, pixelCount,
                     [&chain](const uint16_t* in, uint16_t* out) { return chain(in, out); });
}

int32_t RunGrid(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    if (CmmRunGridByBytes(*transform, input, output, pixelCount)) return CLR_SUCCESS;
    const CmmLut* grid = transform->gridLut;
    return RunPixels(transform, input, output, pixelCount, [grid](const uint16_t* in, uint16_t* out) {
        if (grid != nullptr) CmmLutEvalUnchecked(*grid, in, out);
        return static_cast<const uint16_t*>(out);
    });
}

int32_t RunShaper(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    if (CmmRunShaperByBytes(*transform, input, output, pixelCount)) return CLR_SUCCESS;
    const MatShaper* shaper = transform->combinedShaper;
    const bool usable = shaper != nullptr && !IsBadReadPtr(shaper, sizeof *shaper);
    return RunPixels(transform, input, output, pixelCount, [shaper, usable](const uint16_t* in, uint16_t* out) {
        if (usable) MatShaperEvalUnchecked(*shaper, in, out);
        return static_cast<const uint16_t*>(out);
    });
}

int32_t RunCopy(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    return RunPixels(transform, input, output, pixelCount, [](const uint16_t* in, uint16_t*) { return in; });
}

/// The form of a runner for a transform that is known to be good.
CmmRunner Unchecked(CmmRunner run) noexcept {
    if (run == CmmRunGrid) return RunGrid;
    if (run == CmmRunShaper) return RunShaper;
    if (run == CmmRunFull) return RunFull;
    if (run == CmmRunCopy) return RunCopy;
    return run;
}

}  // namespace

void CmmStageInputLut(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept {
    if (transform->inputLut != nullptr) CmmLutEvalUnchecked(*transform->inputLut, in, out);
}

void CmmStageOutputLut(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept {
    if (transform->outputLut != nullptr) CmmLutEvalUnchecked(*transform->outputLut, in, out);
}

void CmmStageInputShaper(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept {
    if (transform->inputShaper != nullptr) MatShaperEvalUnchecked(*transform->inputShaper, in, out);
}

void CmmStageOutputShaper(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept {
    if (transform->outputShaper != nullptr) MatShaperEvalUnchecked(*transform->outputShaper, in, out);
}

int32_t CmmRunFull(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    return IsReadable(transform) ? RunFull(transform, input, output, pixelCount) : int32_t{ERR_INVALID_PARAMETER};
}

int32_t CmmRunGrid(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    return IsReadable(transform) ? RunGrid(transform, input, output, pixelCount) : int32_t{ERR_INVALID_PARAMETER};
}

int32_t CmmRunShaper(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    return IsReadable(transform) ? RunShaper(transform, input, output, pixelCount) : int32_t{ERR_INVALID_PARAMETER};
}

int32_t CmmRunCopy(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept {
    return IsReadable(transform) ? RunCopy(transform, input, output, pixelCount) : int32_t{ERR_INVALID_PARAMETER};
}

int32_t CmmRunTransform(const void* input, void* output, uint32_t pixelCount, CmmTransform* transform) noexcept {
    if (transform == nullptr || IsBadWritePtr(transform, sizeof *transform)) return ERR_INVALID_PARAMETER;
    return CmmRunOwnTransform(input, output, pixelCount, transform);
}

int32_t CmmRunOwnTransform(const void* input, void* output, uint32_t pixelCount, CmmTransform* transform) noexcept {
    // Nobody reads the counts during a run; two threads may write theirs at once.
    std::atomic_ref(transform->inputCount).store(pixelCount, std::memory_order_relaxed);
    std::atomic_ref(transform->outputCount).store(pixelCount, std::memory_order_relaxed);
    return Unchecked(transform->run)(transform, input, output, pixelCount);
}

}  // namespace zv
