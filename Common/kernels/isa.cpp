#include "Common/kernels/isa.h"

#include <atomic>

namespace zv {

namespace {

constexpr int32_t kUnknown = -1;

/// Constant-initialised: kernels work before any constructor has run.
constinit std::atomic<int32_t> current{kUnknown};

}  // namespace

ClrIsa ClrHighestIsa() noexcept {
#ifdef ZVCLR_ISA_VARIANTS
    // These look at what the system saves of the registers too.
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512vbmi");
    if (avx2 && avx512) return kIsaAvx512;
    if (avx2) return kIsaAvx2;
#endif
    return kIsaBaseline;
}

ClrIsa ClrCurrentIsa() noexcept {
    int32_t level = current.load(std::memory_order_relaxed);
    if (level == kUnknown) {
        const ClrIsa highest = ClrHighestIsa();
        // A level that another thread asks for meanwhile stays.
        if (current.compare_exchange_strong(level, highest, std::memory_order_relaxed)) level = highest;
    }
    return static_cast<ClrIsa>(level);
}

ClrIsa ClrUseIsa(ClrIsa level) noexcept {
    const ClrIsa highest = ClrHighestIsa();
    const ClrIsa taken = level >= kIsaBaseline && level <= highest ? level : ClrCurrentIsa();
    current.store(taken, std::memory_order_relaxed);
    return taken;
}

}  // namespace zv
