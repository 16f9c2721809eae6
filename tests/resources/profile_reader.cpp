#include "tests/resources/profile_reader.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zvtest {
namespace {

constexpr size_t kDirectory = 132;

double Look(const std::vector<uint16_t>& table, double word) {
    const double position = std::clamp(word, 0.0, 65535.0) / 65535.0 * static_cast<double>(table.size() - 1);
    const auto low = std::min(static_cast<size_t>(position), table.size() - 2);
    const double fraction = position - static_cast<double>(low);
    return table[low] * (1 - fraction) + table[low + 1] * fraction;
}

}  // namespace

std::vector<double> ProfileLut::Evaluate(const std::vector<double>& words) const {
    std::vector<size_t> low(inputs);
    std::vector<double> fraction(inputs);
    for (size_t axis = 0; axis < inputs; ++axis) {
        const double position = Look(inputTables[axis], words[axis]) / 65535.0 * static_cast<double>(gridPoints - 1);
        low[axis] = std::min(static_cast<size_t>(position), gridPoints - 2);
        fraction[axis] = position - static_cast<double>(low[axis]);
    }
    std::vector<double> result(outputs);
    for (size_t corner = 0; corner < size_t{1} << inputs; ++corner) {
        size_t node = 0;
        double share = 1;
        for (size_t axis = 0; axis < inputs; ++axis) {
            const size_t high = corner >> axis & 1;
            node = node * gridPoints + low[axis] + high;
            share *= high != 0 ? fraction[axis] : 1 - fraction[axis];
        }
        if (share == 0) continue;
        for (size_t i = 0; i < outputs; ++i) result[i] += share * grid[node * outputs + i];
    }
    for (size_t i = 0; i < outputs; ++i) result[i] = Look(outputTables[i], result[i]);
    return result;
}

Profile::Profile(ProfileBytes bytes) : bytes_(std::move(bytes)) {
    if (bytes_.size() < kDirectory || signatureAt(36) != "acsp") throw std::runtime_error("not a profile");
    const size_t count = u32(128);
    for (size_t i = 0; i < count; ++i) {
        const size_t entry = kDirectory + 12 * i;
        const ProfileTag tag{signatureAt(entry), u32(entry + 4), u32(entry + 8)};
        if (tag.offset > bytes_.size() || tag.size > bytes_.size() - tag.offset) {
            throw std::runtime_error("tag beyond the end: " + tag.signature);
        }
        tags_.push_back(tag);
    }
}

Profile Profile::Open(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + path);
    return Profile(ProfileBytes(std::istreambuf_iterator<char>(file), {}));
}

const ProfileTag& Profile::tag(const std::string& signature) const {
    const auto found = std::find_if(tags_.begin(), tags_.end(),
                                    [&signature](const ProfileTag& tag) { return tag.signature == signature; });
    if (found == tags_.end()) throw std::runtime_error("no tag " + signature);
    return *found;
}

bool Profile::has(const std::string& signature) const {
    return std::any_of(tags_.begin(), tags_.end(),
                       [&signature](const ProfileTag& tag) { return tag.signature == signature; });
}

uint16_t Profile::u16(size_t offset) const { return static_cast<uint16_t>(u8(offset) << 8 | u8(offset + 1)); }

uint32_t Profile::u32(size_t offset) const { return static_cast<uint32_t>(u16(offset)) << 16 | u16(offset + 2); }

std::string Profile::signatureAt(size_t offset) const {
    std::string four;
    for (size_t i = 0; i < 4; ++i) four += static_cast<char>(u8(offset + i));
    return four;
}

std::array<double, 3> Profile::xyz(const std::string& signature) const {
    const size_t offset = tag(signature).offset;
    if (signatureAt(offset) != "XYZ ") throw std::runtime_error("no XYZ in " + signature);
    std::array<double, 3> values{};
    for (size_t i = 0; i < 3; ++i) values[i] = static_cast<int32_t>(u32(offset + 8 + 4 * i)) / 65536.0;
    return values;
}

std::vector<uint16_t> Profile::curve(const std::string& signature) const {
    const size_t offset = tag(signature).offset;
    if (signatureAt(offset) != "curv") throw std::runtime_error("no curve in " + signature);
    std::vector<uint16_t> entries(u32(offset + 8));
    for (size_t i = 0; i < entries.size(); ++i) entries[i] = u16(offset + 12 + 2 * i);
    return entries;
}

ProfileLut Profile::lut(const std::string& signature) const {
    const ProfileTag& where = tag(signature);
    ProfileLut lut;
    lut.type = signatureAt(where.offset);
    if (lut.type != "mft1" && lut.type != "mft2") throw std::runtime_error("no table in " + signature);
    const bool wide = lut.type == "mft2";
    lut.inputs = u8(where.offset + 8);
    lut.outputs = u8(where.offset + 9);
    lut.gridPoints = u8(where.offset + 10);
    for (size_t i = 0; i < 9; ++i) lut.matrix[i] = static_cast<int32_t>(u32(where.offset + 12 + 4 * i)) / 65536.0;
    const size_t inputEntries = wide ? u16(where.offset + 48) : 256;
    const size_t outputEntries = wide ? u16(where.offset + 50) : 256;
    size_t cursor = where.offset + (wide ? 52 : 48);
    const auto next = [&] {
        const uint16_t value = wide ? u16(cursor) : static_cast<uint16_t>(u8(cursor) << 8);
        cursor += wide ? 2 : 1;
        return value;
    };
    const auto read = [&](size_t count) {
        std::vector<uint16_t> values(count);
        for (uint16_t& value : values) value = next();
        return values;
    };
    for (size_t i = 0; i < lut.inputs; ++i) lut.inputTables.push_back(read(inputEntries));
    size_t nodes = lut.outputs;
    for (size_t i = 0; i < lut.inputs; ++i) nodes *= lut.gridPoints;
    lut.grid = read(nodes);
    for (size_t i = 0; i < lut.outputs; ++i) lut.outputTables.push_back(read(outputEntries));
    if (cursor - where.offset != where.size) throw std::runtime_error("tables do not fill " + signature);
    return lut;
}

std::vector<double> WordsFromLab(const Lab& lab) { return {lab.l * 652.8, (lab.a + 128) * 256, (lab.b + 128) * 256}; }

Lab LabFromWords(const std::vector<double>& words) { return LabFromWords(words[0], words[1], words[2]); }

}  // namespace zvtest
