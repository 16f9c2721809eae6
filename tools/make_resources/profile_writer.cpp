#include "profile_writer.h"

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

namespace zvmake {
namespace {

constexpr size_t kHeaderSize = 128;
constexpr uint32_t kVersion21 = 0x02100000;

size_t Aligned(size_t size) { return (size + 3) / 4 * 4; }

void IdentityMatrix(BigEndian& out) {
    for (int i = 0; i < 9; ++i) out.S15Fixed16(i % 4 == 0 ? 1.0 : 0.0);
}

void LutHead(BigEndian& out, std::string_view type, const LookupTable& table) {
    out.Signature(type);
    out.U32(0);
    out.U8(static_cast<uint8_t>(table.inputTables.size()));
    out.U8(static_cast<uint8_t>(table.outputTables.size()));
    out.U8(table.gridPoints);
    out.U8(0);
    IdentityMatrix(out);
}

}  // namespace

void BigEndian::U16(uint16_t value) {
    U8(static_cast<uint8_t>(value >> 8));
    U8(static_cast<uint8_t>(value & 0xFF));
}

void BigEndian::U32(uint32_t value) {
    U16(static_cast<uint16_t>(value >> 16));
    U16(static_cast<uint16_t>(value & 0xFFFF));
}

void BigEndian::Signature(std::string_view four) {
    if (four.size() != 4) throw std::logic_error("a signature has four characters");
    Text(four);
}

void BigEndian::S15Fixed16(double value) {
    const double scaled = value * 65536.0;
    U32(static_cast<uint32_t>(static_cast<int32_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5)));
}

void BigEndian::Text(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }

Bytes TextTag(std::string_view text) {
    BigEndian out;
    out.Signature("text");
    out.U32(0);
    out.Text(text);
    out.U8(0);
    return out.Take();
}

Bytes DescriptionTag(std::string_view text) {
    BigEndian out;
    out.Signature("desc");
    out.U32(0);
    out.U32(static_cast<uint32_t>(text.size() + 1));
    out.Text(text);
    out.U8(0);
    out.U32(0);     // Unicode language
    out.U32(0);     // Unicode characters
    out.U16(0);     // ScriptCode code
    out.U8(0);      // ScriptCode characters
    out.Zeros(67);  // and their fixed room
    return out.Take();
}

Bytes XyzTag(const Vec3& xyz) {
    BigEndian out;
    out.Signature("XYZ ");
    out.U32(0);
    for (const double value : xyz) out.S15Fixed16(value);
    return out.Take();
}

Bytes CurveTag(const std::vector<uint16_t>& entries) {
    BigEndian out;
    out.Signature("curv");
    out.U32(0);
    out.U32(static_cast<uint32_t>(entries.size()));
    for (const uint16_t entry : entries) out.U16(entry);
    return out.Take();
}

Bytes SignatureTag(std::string_view four) {
    BigEndian out;
    out.Signature("sig ");
    out.U32(0);
    out.Signature(four);
    return out.Take();
}

Bytes ViewingConditionsTag(const Vec3& illuminant, const Vec3& surround, uint32_t illuminantType) {
    BigEndian out;
    out.Signature("view");
    out.U32(0);
    for (const double value : illuminant) out.S15Fixed16(value);
    for (const double value : surround) out.S15Fixed16(value);
    out.U32(illuminantType);
    return out.Take();
}

Bytes MeasurementTag(double flare, uint32_t illuminantType) {
    BigEndian out;
    out.Signature("meas");
    out.U32(0);
    out.U32(1);  // the CIE 1931 observer
    for (int i = 0; i < 3; ++i) out.S15Fixed16(0);
    out.U32(0);  // geometry unknown
    out.S15Fixed16(flare);
    out.U32(illuminantType);
    return out.Take();
}

std::vector<uint16_t> IdentityTable(size_t entries) {
    std::vector<uint16_t> table(entries);
    for (size_t i = 0; i < entries; ++i) {
        table[i] = ToWord(static_cast<double>(i) * 65535.0 / static_cast<double>(entries - 1));
    }
    return table;
}

Bytes Lut16Tag(const LookupTable& table) {
    BigEndian out;
    LutHead(out, "mft2", table);
    out.U16(static_cast<uint16_t>(table.inputTables.front().size()));
    out.U16(static_cast<uint16_t>(table.outputTables.front().size()));
    const auto words = [&out](const std::vector<uint16_t>& values) {
        for (const uint16_t value : values) out.U16(value);
    };
    for (const auto& input : table.inputTables) words(input);
    words(table.grid);
    for (const auto& output : table.outputTables) words(output);
    return out.Take();
}

Bytes Lut8Tag(const LookupTable& table) {
    BigEndian out;
    LutHead(out, "mft1", table);
    const auto bytes = [&out](const std::vector<uint16_t>& values) {
        for (const uint16_t value : values) {
            if (value > 255) throw std::logic_error("an 8-bit table holds bytes");
            out.U8(static_cast<uint8_t>(value));
        }
    };
    for (const auto& input : table.inputTables) bytes(input);
    bytes(table.grid);
    for (const auto& output : table.outputTables) bytes(output);
    return out.Take();
}

ProfileWriter::ProfileWriter(std::string_view deviceClass, std::string_view colourSpace,
                             std::string_view connectionSpace)
    : deviceClass_(deviceClass), colourSpace_(colourSpace), connectionSpace_(connectionSpace) {}

void ProfileWriter::Add(std::string_view signature, Bytes body) {
    tags_.push_back({std::string(signature), bodies_.size()});
    bodies_.push_back(std::move(body));
}

void ProfileWriter::Alias(std::string_view signature, std::string_view existing) {
    const auto named = [&existing](const Tag& tag) { return tag.signature == existing; };
    const auto found = std::find_if(tags_.begin(), tags_.end(), named);
    if (found == tags_.end()) throw std::logic_error("an alias needs its tag");
    tags_.push_back({std::string(signature), found->body});
}

Bytes ProfileWriter::Finish() const {
    std::vector<size_t> offsets;
    size_t end = kHeaderSize + 4 + 12 * tags_.size();
    for (const Bytes& body : bodies_) {
        offsets.push_back(Aligned(end));
        end = offsets.back() + body.size();
    }

    BigEndian head;
    head.U32(static_cast<uint32_t>(end));
    head.U32(0);  // no preferred engine
    head.U32(kVersion21);
    head.Signature(deviceClass_);
    head.Signature(colourSpace_);
    head.Signature(connectionSpace_);
    for (const uint16_t part : std::initializer_list<uint16_t>{2026, 1, 1, 0, 0, 0}) head.U16(part);
    head.Signature("acsp");
    head.Zeros(28);  // platform, flags, manufacturer, model, attributes, intent: none, perceptual
    for (const double value : kWhiteD50) head.S15Fixed16(value);
    head.Zeros(kHeaderSize - 80);
    head.U32(static_cast<uint32_t>(tags_.size()));
    for (const Tag& tag : tags_) {
        head.Signature(tag.signature);
        head.U32(static_cast<uint32_t>(offsets[tag.body]));
        head.U32(static_cast<uint32_t>(bodies_[tag.body].size()));
    }

    Bytes image = head.Take();
    for (size_t i = 0; i < bodies_.size(); ++i) {
        image.resize(offsets[i], 0);
        image.insert(image.end(), bodies_[i].begin(), bodies_[i].end());
    }
    return image;
}

}  // namespace zvmake
