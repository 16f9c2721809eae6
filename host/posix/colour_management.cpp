// There is no colour management of the platform here.
#include "host/colour_management.h"

namespace {

constexpr ZvColourManagement kAbsent = {};
constinit const ZvColourManagement* inForce = &kAbsent;

}  // namespace

const ZvColourManagement& ZvPlatformColours() noexcept { return *inForce; }

void ZvReplacePlatformColours(const ZvColourManagement* calls) noexcept {
    inForce = calls != nullptr ? calls : &kAbsent;
}
