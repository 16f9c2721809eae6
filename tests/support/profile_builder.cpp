#include "tests/support/profile_builder.h"

#include <algorithm>
#include <cmath>

namespace zv::test {

void PutBig16(Bytes& bytes, uint32_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

void PutBig32(Bytes& bytes, uint32_t value) {
    PutBig16(bytes, value >> 16);
    PutBig16(bytes, value & 0xFFFFU);
}

void SetBig16(Bytes& bytes, size_t offset, uint32_t value) {
    bytes.at(offset) = static_cast<uint8_t>(value >> 8);
    bytes.at(offset + 1) = static_cast<uint8_t>(value);
}

void SetBig32(Bytes& bytes, size_t offset, uint32_t value) {
    SetBig16(bytes, offset, value >> 16);
    SetBig16(bytes, offset + 2, value & 0xFFFFU);
}

uint32_t GetBig32(const Bytes& bytes, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8 | bytes.at(offset + i);
    return value;
}

uint32_t S15Fixed16(double value) { return static_cast<uint32_t>(static_cast<int32_t>(std::lround(value * 65536.0))); }

// --- Tag bodies -----------------------------------------------------------------------------------------------------

Bytes XyzBody(const Triple& value, uint32_t type) {
    Bytes body;
    PutBig32(body, type);
    PutBig32(body, 0);
    for (const double component : value) PutBig32(body, S15Fixed16(component));
    return body;
}

Bytes CurveBody(const Words& table) {
    Bytes body;
    PutBig32(body, FourCc("curv"));
    PutBig32(body, 0);
    PutBig32(body, static_cast<uint32_t>(table.size()));
    for (const uint16_t entry : table) PutBig16(body, entry);
    return body;
}

Bytes GammaBody(uint16_t u8Fixed8) { return CurveBody({u8Fixed8}); }

Bytes ParametricBody(uint16_t function, const std::vector<double>& parameters) {
    Bytes body;
    PutBig32(body, FourCc("para"));
    PutBig32(body, 0);
    PutBig16(body, function);
    PutBig16(body, 0);
    for (const double parameter : parameters) PutBig32(body, S15Fixed16(parameter));
    return body;
}

size_t LutTag::GridEntries() const {
    size_t entries = outputs;
    for (uint32_t i = 0; i < inputs; ++i) entries *= gridPoints;
    return entries;
}

Bytes LutBody(const LutTag& lut) {
    const bool narrow = lut.bits == 8;
    Bytes body;
    PutBig32(body, FourCc(narrow ? "mft1" : "mft2"));
    PutBig32(body, 0);
    body.push_back(static_cast<uint8_t>(lut.inputs));
    body.push_back(static_cast<uint8_t>(lut.outputs));
    body.push_back(static_cast<uint8_t>(lut.gridPoints));
    body.push_back(0);
    for (const uint32_t element : lut.matrix) PutBig32(body, element);
    if (!narrow) {
        PutBig16(body, lut.inputEntries);
        PutBig16(body, lut.outputEntries);
    }
    for (const Words* words : {&lut.inputTables, &lut.grid, &lut.outputTables}) {
        for (const uint16_t word : *words) {
            if (!narrow) body.push_back(static_cast<uint8_t>(word >> 8));
            body.push_back(static_cast<uint8_t>(word));
        }
    }
    return body;
}

// --- Profiles -------------------------------------------------------------------------------------------------------

ProfileBuilder& ProfileBuilder::Tag(std::string_view signature, const Bytes& body) {
    Entry entry;
    entry.signature = FourCc(signature);
    entry.body = bodies_.size();
    bodies_.push_back(body);
    entries_.push_back(entry);
    return *this;
}

ProfileBuilder& ProfileBuilder::Share(std::string_view signature, std::string_view with) {
    const auto same = [&](const Entry& entry) { return entry.signature == FourCc(with); };
    Entry entry = *std::find_if(entries_.begin(), entries_.end(), same);
    entry.signature = FourCc(signature);
    entries_.push_back(entry);
    return *this;
}

ProfileBuilder& ProfileBuilder::RawEntry(std::string_view signature, uint32_t offset, uint32_t size) {
    Entry entry;
    entry.signature = FourCc(signature);
    entry.raw = true;
    entry.offset = offset;
    entry.size = size;
    entries_.push_back(entry);
    return *this;
}

ProfileBuilder& ProfileBuilder::Remove(std::string_view signature) {
    const auto same = [&](const Entry& entry) { return entry.signature == FourCc(signature); };
    const auto found = std::find_if(entries_.begin(), entries_.end(), same);
    if (found != entries_.end()) entries_.erase(found);
    return *this;
}

Bytes ProfileBuilder::Build() const {
    Bytes profile(128);
    SetBig32(profile, 8, header.version);
    SetBig32(profile, 12, header.deviceClass);
    SetBig32(profile, 16, header.colorSpace);
    SetBig32(profile, 20, header.pcs);
    constexpr std::array<uint32_t, 6> kDate{2020, 1, 2, 3, 4, 5};
    for (size_t i = 0; i < kDate.size(); ++i) SetBig16(profile, 24 + 2 * i, kDate[i]);
    SetBig32(profile, 36, header.magic);
    SetBig32(profile, 64, header.intent);
    for (size_t i = 0; i < 3; ++i) SetBig32(profile, 68 + 4 * i, S15Fixed16(header.illuminant[i]));

    std::vector<size_t> offsets;
    size_t end = 132 + 12 * entries_.size();
    for (const Bytes& body : bodies_) {
        offsets.push_back(end);
        end += (body.size() + 3) / 4 * 4;
    }
    PutBig32(profile, static_cast<uint32_t>(entries_.size()));
    for (const Entry& entry : entries_) {
        PutBig32(profile, entry.signature);
        PutBig32(profile, entry.raw ? entry.offset : static_cast<uint32_t>(offsets[entry.body]));
        PutBig32(profile, entry.raw ? entry.size : static_cast<uint32_t>(bodies_[entry.body].size()));
    }
    for (const Bytes& body : bodies_) {
        profile.insert(profile.end(), body.begin(), body.end());
        profile.resize((profile.size() + 3) / 4 * 4);
    }
    SetBig32(profile, 0, static_cast<uint32_t>(profile.size()));
    return profile;
}

TagPlace FindTagPlace(const Bytes& profile, std::string_view signature) {
    const uint32_t count = GetBig32(profile, 128);
    for (size_t i = 0; i < count; ++i) {
        const size_t entry = 132 + 12 * i;
        if (GetBig32(profile, entry) == FourCc(signature)) {
            return {GetBig32(profile, entry + 4), GetBig32(profile, entry + 8)};
        }
    }
    return {};
}

// --- Contents -------------------------------------------------------------------------------------------------------

uint32_t TestRandom::Next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<uint32_t>(state_ >> 32);
}

Words RampTable(size_t entries) { return PowerTable(entries, 1.0); }

Words PowerTable(size_t entries, double gamma) {
    Words table(entries);
    for (size_t i = 0; i < entries; ++i) {
        const double position = entries > 1 ? static_cast<double>(i) / (static_cast<double>(entries) - 1.0) : 0.0;
        // A gamma of 1 is the exact ramp: no power that may fall short of it.
        const double value = gamma == 1.0 ? position : std::pow(position, gamma);
        table[i] = static_cast<uint16_t>(value * 65535.0 + 0.5);
    }
    return table;
}

Words RisingTable(size_t entries, TestRandom& random) {
    std::vector<uint64_t> sums(entries);
    uint64_t sum = 0;
    for (uint64_t& entry : sums) {
        entry = sum;
        sum += random.Below(1000) + 1;
    }
    Words table;
    for (const uint64_t entry : sums)
        table.push_back(static_cast<uint16_t>(entry * 0xFFFF / std::max<uint64_t>(1, sums.back())));
    return table;
}

Words RandomTable(size_t entries, TestRandom& random) {
    Words table(entries);
    for (uint16_t& entry : table) entry = random.Word();
    return table;
}

namespace {

LutTag EmptyLut(int bits, uint32_t inputs, uint32_t outputs, uint32_t gridPoints, uint32_t inputEntries,
                uint32_t outputEntries) {
    LutTag lut;
    lut.bits = bits;
    lut.inputs = inputs;
    lut.outputs = outputs;
    lut.gridPoints = gridPoints;
    lut.inputEntries = bits == 8 ? 256 : inputEntries;
    lut.outputEntries = bits == 8 ? 256 : outputEntries;
    return lut;
}

/// The top bytes, where a tag holds bytes.
void Narrow(LutTag& lut) {
    if (lut.bits != 8) return;
    for (Words* words : {&lut.inputTables, &lut.grid, &lut.outputTables}) {
        for (uint16_t& word : *words) word = static_cast<uint16_t>(word >> 8);
    }
}

}  // namespace

LutTag SmoothLut(int bits, uint32_t inputs, uint32_t outputs, uint32_t gridPoints, uint64_t seed, uint32_t inputEntries,
                 uint32_t outputEntries) {
    LutTag lut = EmptyLut(bits, inputs, outputs, gridPoints, inputEntries, outputEntries);
    TestRandom random(seed);
    for (uint32_t c = 0; c < inputs; ++c) {
        const Words table = PowerTable(lut.inputEntries, 0.6 + 0.2 * c + random.Unit() * 0.3);
        lut.inputTables.insert(lut.inputTables.end(), table.begin(), table.end());
    }
    for (uint32_t o = 0; o < outputs; ++o) {
        const Words table = PowerTable(lut.outputEntries, 1.6 - 0.2 * o + random.Unit() * 0.3);
        lut.outputTables.insert(lut.outputTables.end(), table.begin(), table.end());
    }
    const size_t nodes = lut.GridEntries() / outputs;
    for (size_t node = 0; node < nodes; ++node) {
        std::vector<double> position(inputs);
        size_t rest = node;
        for (size_t axis = inputs; axis-- > 0; rest /= gridPoints) {
            position[axis] = static_cast<double>(rest % gridPoints) / std::max(1.0, gridPoints - 1.0);
        }
        for (uint32_t o = 0; o < outputs; ++o) {
            double sum = 0, weights = 0;
            for (uint32_t axis = 0; axis < inputs; ++axis) {
                const double weight = axis == o % inputs ? 4.0 : 1.0;
                sum += weight * position[axis];
                weights += weight;
            }
            const double value = sum / weights * 62000.0 + random.Unit() * 3000.0;
            lut.grid.push_back(static_cast<uint16_t>(value));
        }
    }
    Narrow(lut);
    return lut;
}

LutTag RandomLut(int bits, uint32_t inputs, uint32_t outputs, uint32_t gridPoints, uint64_t seed, uint32_t inputEntries,
                 uint32_t outputEntries) {
    LutTag lut = EmptyLut(bits, inputs, outputs, gridPoints, inputEntries, outputEntries);
    TestRandom random(seed);
    lut.inputTables = RandomTable(size_t{inputs} * lut.inputEntries, random);
    lut.grid = RandomTable(lut.GridEntries(), random);
    lut.outputTables = RandomTable(size_t{outputs} * lut.outputEntries, random);
    Narrow(lut);
    return lut;
}

ProfileBuilder MatrixRgbProfile(const Colorants& colorants, const Bytes& redCurve, const Bytes& greenCurve,
                                const Bytes& blueCurve) {
    ProfileBuilder builder;
    builder.Tag("wtpt", XyzBody({0.9505, 1.0, 1.0891})).Tag("bkpt", XyzBody({0, 0, 0}));
    builder.Tag("rXYZ", XyzBody(colorants.red));
    builder.Tag("gXYZ", XyzBody(colorants.green));
    builder.Tag("bXYZ", XyzBody(colorants.blue));
    builder.Tag("rTRC", redCurve).Tag("gTRC", greenCurve).Tag("bTRC", blueCurve);
    return builder;
}

ProfileBuilder MatrixRgbProfile(const Colorants& colorants, const Bytes& curve) {
    ProfileBuilder builder = MatrixRgbProfile(colorants, curve, {}, {});
    builder.Remove("gTRC").Remove("bTRC").Share("gTRC", "rTRC").Share("bTRC", "rTRC");
    return builder;
}

ProfileBuilder MatrixRgbProfile() { return MatrixRgbProfile({}, CurveBody(PowerTable(1024, 2.2))); }

ProfileBuilder GrayProfile(const Bytes& curve) {
    ProfileBuilder builder;
    builder.header.colorSpace = FourCc("GRAY");
    builder.Tag("wtpt", XyzBody(kD50)).Tag("kTRC", curve);
    return builder;
}

ProfileBuilder LutProfile(std::string_view colorSpace, std::string_view pcs, const LutTag& toPcs,
                          const LutTag& fromPcs) {
    ProfileBuilder builder;
    builder.header.deviceClass = FourCc("prtr");
    builder.header.colorSpace = FourCc(colorSpace);
    builder.header.pcs = FourCc(pcs);
    builder.Tag("wtpt", XyzBody(kD50)).Tag("bkpt", XyzBody({0, 0, 0}));
    builder.Tag("A2B0", LutBody(toPcs)).Tag("B2A0", LutBody(fromPcs));
    return builder;
}

ProfileBuilder LutProfile(std::string_view colorSpace, std::string_view pcs, int bits, uint32_t gridPoints,
                          uint64_t seed) {
    const uint32_t channels = colorSpace == "CMYK" ? 4 : colorSpace == "GRAY" ? 1 : 3;
    return LutProfile(colorSpace, pcs, SmoothLut(bits, channels, 3, gridPoints, seed),
                      SmoothLut(bits, 3, channels, gridPoints, seed + 1));
}

ProfileBuilder DeviceLinkProfile(std::string_view from, std::string_view to, const LutTag& lut) {
    ProfileBuilder builder;
    builder.header.deviceClass = FourCc("link");
    builder.header.colorSpace = FourCc(from);
    builder.header.pcs = FourCc(to);
    builder.Tag("A2B0", LutBody(lut));
    return builder;
}

}  // namespace zv::test
