#include "builtin_profiles.h"

#include "resources/resources.h"
#include "zvclr.h"

namespace zvtool {

namespace {

uint16_t resourceOf(int32_t space) {
    switch (space) {
        case CLRSPACE_RGB:
            return 105;
        case CLRSPACE_LAB:
            return 106;
        case CLRSPACE_CMYK:
            return 107;
        case CLRSPACE_CMY:
            return 110;
        default:
            return 0;
    }
}

}  // namespace

std::vector<uint8_t> builtinProfile(int32_t space) {
    const uint16_t id = resourceOf(space);
    for (const ZvModuleResource* block = zvclrOwnResources; id != 0 && block->type != nullptr; ++block) {
        if (block->id == id) {
            const auto* bytes = static_cast<const uint8_t*>(block->data);
            return std::vector<uint8_t>(bytes, bytes + block->size);
        }
    }
    return {};
}

}  // namespace zvtool
