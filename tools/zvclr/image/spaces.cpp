#include <algorithm>

#include "image.h"
#include "zvspaces.h"

namespace zvimage {

const std::vector<Space>& allSpaces() {
#define ZVCLR_SPACE_ENTRY(id, name, bits, widthMultiple, heightMultiple, bytes, description)                           \
    Space{id, #id, name, bits, widthMultiple, heightMultiple, bytes, description},
    static const std::vector<Space> spaces = {ZVCLR_SPACES(ZVCLR_SPACE_ENTRY)};
#undef ZVCLR_SPACE_ENTRY
    return spaces;
}

const Space& spaceOf(int32_t id) {
    const auto& spaces = allSpaces();
    const auto found = std::find_if(spaces.begin(), spaces.end(), [id](const Space& space) { return space.id == id; });
    if (found == spaces.end()) {
        throw std::logic_error("no colour space has the id " + std::to_string(id));
    }
    return *found;
}

std::optional<int32_t> spaceFromName(std::string_view name) {
    for (const Space& space : allSpaces()) {
        if (name == space.name) {
            return space.id;
        }
    }
    return std::nullopt;
}

std::string spaceNames(const std::vector<int32_t>& ids) {
    std::string names;
    for (const int32_t id : ids) {
        names += (names.empty() ? "" : ", ") + std::string(spaceOf(id).name);
    }
    return names;
}

RawLayout layoutOf(int32_t space) {
    if (space == CLRSPACE_YVU9) {
        return {{{1, 1, 1}, {1, 4, 4}, {1, 4, 4}}};
    }
    const Space& entry = spaceOf(space);
    return {{{entry.bits * entry.widthMultiple / 8, entry.widthMultiple, 1}}};
}

int64_t RawLayout::bytes(int32_t width, int64_t rows) const {
    int64_t sum = 0;
    for (const RawPlane& plane : planes) {
        sum += plane.bytes(width, rows);
    }
    return sum;
}

int32_t RawLayout::widthMultiple() const {
    int32_t multiple = 1;
    for (const RawPlane& plane : planes) {
        multiple = std::max(multiple, plane.xPeriod);
    }
    return multiple;
}

int32_t RawLayout::heightMultiple() const {
    int32_t multiple = 1;
    for (const RawPlane& plane : planes) {
        multiple = std::max(multiple, plane.yPeriod);
    }
    return multiple;
}

}  // namespace zvimage
