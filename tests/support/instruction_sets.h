// Tests that run the same under every instruction set that the processor has.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "Common/kernels/isa.h"

namespace zv {

inline void PrintTo(ClrIsa isa, std::ostream* out) {
    const char* const names[kIsaCount] = {"baseline", "avx2", "avx512"};
    *out << (isa >= 0 && isa < kIsaCount ? names[isa] : "none");
}

}  // namespace zv

namespace zv::test {

/// Lowest first.
inline const std::vector<ClrIsa>& InstructionSets() {
    static const std::vector<ClrIsa> sets = [] {
        std::vector<ClrIsa> all;
        for (int32_t level = 0; level <= ClrHighestIsa(); ++level) all.push_back(static_cast<ClrIsa>(level));
        return all;
    }();
    return sets;
}

/// As long as it lives, kernels use that set.
class UseIsa {
public:
    explicit UseIsa(ClrIsa isa) : before_(ClrCurrentIsa()) { ClrUseIsa(isa); }
    ~UseIsa() { ClrUseIsa(before_); }
    UseIsa(const UseIsa&) = delete;
    UseIsa& operator=(const UseIsa&) = delete;

private:
    ClrIsa before_;
};

}  // namespace zv::test
