// Every pair of synthetic profiles with its grid, against the plain reference.
#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/engine_sweep.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

class EveryTransform : public ::testing::TestWithParam<uint32_t> {};

TEST_P(EveryTransform, EqualsTheReference) {
    const HostScope host;
    const std::vector<SweepProfile> sources = AllProfiles(GetParam()), destinations = AllProfiles(GetParam() / 2 + 1);
    size_t pair = 0;
    for (const SweepProfile& from : sources) {
        for (const SweepProfile& to : destinations) {
            // A third of the pairs for each size of table.
            if (pair++ % 3 != GetParam() % 3) continue;
            SCOPED_TRACE(from.name + " to " + to.name);
            ExpectLikeTheReference(from.bytes, from.format, to.bytes, to.format, 3000,
                                   {reference::WhiteOfCode(pair % 2 == 0 ? 50 : 65), false, false});
            if (HasFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(GridPoints, EveryTransform, ::testing::Values(2U, 9U, 16U, 33U));

}  // namespace
}  // namespace zv::test
