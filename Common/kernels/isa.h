// Row code is compiled once for each instruction set that it has a variant for. All that such a compilation defines or
// instantiates lies in an inline namespace named after the set, so that no linker takes the code of one set for that of
// another: on an old processor only the baseline ever runs.
#pragma once

#include <cstdint>

// Name and level of the set that a row source is compiled for. All other sources know of every set and are of the
// baseline themselves.
#ifdef ZV_ISA
#    define ZV_IS_ROW_SOURCE 1
#else
#    define ZV_IS_ROW_SOURCE 0
#    define ZV_ISA baseline
#    define ZV_ISA_LEVEL 0
#endif

namespace zv::inline ZV_ISA {}

namespace zv {

/// Ascending. A processor of one level runs the code of every lower one.
enum ClrIsa : int32_t {
    kIsaBaseline = 0,  ///< what every processor of the platform has: SSE2 on x86-64
    kIsaAvx2 = 1,      ///< AVX2, BMI1, BMI2
    kIsaAvx512 = 2,    ///< AVX-512 F, BW, DQ, VL, VBMI
};
inline constexpr int32_t kIsaCount = 3;

/// The level in use: the highest that the processor and the build have, unless a lower one was asked for.
ClrIsa ClrCurrentIsa() noexcept;
/// The highest level of processor and build.
ClrIsa ClrHighestIsa() noexcept;
/// Asks for a level, for tests and measurements; calls already under way keep theirs. What cannot run is not taken:
/// returns the level now in use.
ClrIsa ClrUseIsa(ClrIsa level) noexcept;

}  // namespace zv

// ZV_ISA_TABLE(Type, Name) declares the constant kName that each variant of a row source defines and, for the others,
// const Type& Name(), the one in use.
#if ZV_IS_ROW_SOURCE
#    define ZV_ISA_TABLE(Type, Name)                                                                                   \
        namespace zv::inline ZV_ISA {                                                                                  \
        extern const Type k##Name;                                                                                     \
        }
#elif defined(ZVCLR_ISA_VARIANTS)
#    define ZV_ISA_TABLE(Type, Name)                                                                                   \
        namespace zv::inline baseline {                                                                                \
        extern const Type k##Name;                                                                                     \
        }                                                                                                              \
        namespace zv::avx2 {                                                                                           \
        extern const Type k##Name;                                                                                     \
        }                                                                                                              \
        namespace zv::avx512 {                                                                                         \
        extern const Type k##Name;                                                                                     \
        }                                                                                                              \
        namespace zv {                                                                                                 \
        inline const Type& Name() noexcept {                                                                           \
            const Type* const variants[kIsaCount] = {&baseline::k##Name, &avx2::k##Name, &avx512::k##Name};            \
            return *variants[ClrCurrentIsa()];                                                                         \
        }                                                                                                              \
        }
#else
#    define ZV_ISA_TABLE(Type, Name)                                                                                   \
        namespace zv::inline baseline {                                                                                \
        extern const Type k##Name;                                                                                     \
        }                                                                                                              \
        namespace zv {                                                                                                 \
        inline const Type& Name() noexcept { return baseline::k##Name; }                                               \
        }
#endif
