// "mft1" and "mft2".
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "decode.h"

namespace zvinfo {

namespace {

/// Tables of both types: what they say of themselves, and their values as bytes or words in a row.
struct Tables {
    uint32_t inputs = 0;
    uint32_t outputs = 0;
    uint32_t gridPoints = 0;
    std::vector<double> matrix;
    uint32_t inputEntries = 0;
    uint32_t outputEntries = 0;
};

constexpr uint32_t kStandardEntries = 256;
constexpr size_t kStandardHead = 48;

/// Grid values; too many count as more than any body has.
uint64_t gridValues(uint32_t points, uint32_t inputs, uint32_t outputs) {
    constexpr uint64_t kTooMany = uint64_t{1} << 40;
    uint64_t count = outputs;
    for (uint32_t i = 0; i < inputs && count < kTooMany; ++i) {
        count *= points;
    }
    return count;
}

class LutNodes {
public:
    LutNodes(const Tables& tables, const Style& style) : tables_(tables), style_(style) {
        nodes_ = {integer("input channels", tables.inputs), integer("output channels", tables.outputs),
                  integer("grid points", tables.gridPoints), integer("input table entries", tables.inputEntries),
                  integer("output table entries", tables.outputEntries)};
        addMatrix();
    }

    /// `next` gives one value after the other.
    template <class Next>
    Nodes finish(Next next) {
        addTables("input tables", tables_.inputs, tables_.inputEntries, next);
        const uint64_t count = gridValues(tables_.gridPoints, tables_.inputs, tables_.outputs);
        nodes_.push_back(one("grid", count, next));
        addTables("output tables", tables_.outputs, tables_.outputEntries, next);
        return std::move(nodes_);
    }

private:
    void addMatrix() {
        constexpr double kIdentity[] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        const bool identity = std::equal(tables_.matrix.begin(), tables_.matrix.end(), std::begin(kIdentity));
        nodes_.push_back(identity ? text("matrix", "identity") : series({true}, "matrix", tables_.matrix, false));
    }

    template <class Next>
    Node one(const std::string& label, uint64_t count, Next& next) {
        SeriesBuilder builder(style_, count, true);
        for (uint64_t i = 0; i < count; ++i) {
            builder.add(next());
        }
        return builder.finish(label);
    }

    template <class Next>
    void addTables(const std::string& label, uint32_t channels, uint32_t entries, Next& next) {
        Node& tables = nodes_.emplace_back(list(label));
        const uint64_t shown = shownEntries(style_, channels);
        for (uint64_t i = 0; i < shown; ++i) {
            tables.add(one(fmt::format("channel {}", i + 1), entries, next));
        }
        for (uint64_t i = shown * entries; i < uint64_t{channels} * entries; ++i) {
            next();
        }
        addLeftOut(tables.children, style_, channels, shown);
    }

    const Tables& tables_;
    const Style& style_;
    Nodes nodes_;
};

/// Of the two records, which have the same fields.
template <class Record>
Tables tablesOf(const Record& record) {
    Tables tables;
    tables.inputs = record.inputChannels;
    tables.outputs = record.outputChannels;
    tables.gridPoints = record.gridPoints;
    tables.inputEntries = record.inputEntries;
    tables.outputEntries = record.outputEntries;
    uint32_t words[9];
    std::memcpy(words, &record.matrix, sizeof words);
    for (const uint32_t word : words) {
        tables.matrix.push_back(s15Fixed16(word));
    }
    return tables;
}

/// Whether every channel has values: no bytes pay for those that have none.
bool usable(const Tables& tables) {
    return tables.inputs != 0 && tables.outputs != 0 && tables.gridPoints != 0 && tables.inputEntries >= 2 &&
           tables.outputEntries >= 2;
}

/// The three blocks of a record one after the other.
template <class T>
class Blocks {
public:
    Blocks(const Tables& tables, const void* inputs, const void* grid, const void* outputs)
        : blocks_{inputs, grid, outputs},
          counts_{uint64_t{tables.inputs} * tables.inputEntries,
                  gridValues(tables.gridPoints, tables.inputs, tables.outputs),
                  uint64_t{tables.outputs} * tables.outputEntries} {}

    double operator()() {
        while (at_ == counts_[block_]) {
            ++block_;
            at_ = 0;
        }
        T value;
        std::memcpy(&value, static_cast<const uint8_t*>(blocks_[block_]) + at_++ * sizeof value, sizeof value);
        return value;
    }

private:
    const void* blocks_[3];
    uint64_t counts_[3];
    size_t block_ = 0;
    uint64_t at_ = 0;
};

std::optional<Nodes> lut16Record(const TagContext& context) {
    const ClrIccTagLut16 record = context.record.get().lut16;
    const Tables tables = tablesOf(record);
    if (!usable(tables)) {
        return std::nullopt;
    }
    return LutNodes(tables, context.style)
        .finish(Blocks<uint16_t>(tables, record.inputTables, record.clut, record.outputTables));
}

/// A table of the standard, whose curves always have 256 entries.
std::optional<Tables> standardTables(Span body) {
    Cursor cursor(body, 8);
    Tables tables;
    tables.inputs = cursor.u8();
    tables.outputs = cursor.u8();
    tables.gridPoints = cursor.u8();
    cursor.skip(1);
    for (int i = 0; i < 9; ++i) {
        tables.matrix.push_back(cursor.fixed16());
    }
    tables.inputEntries = kStandardEntries;
    tables.outputEntries = kStandardEntries;
    const uint64_t values = gridValues(tables.gridPoints, tables.inputs, tables.outputs) +
                            uint64_t{kStandardEntries} * (tables.inputs + tables.outputs);
    return cursor.failed() || !usable(tables) || values > cursor.left() ? std::nullopt : std::optional(tables);
}

/// Whether the library's record, which has counts of entries in the body, takes all of it.
bool fillsBody(const Tables& tables, size_t size) {
    const uint64_t values = gridValues(tables.gridPoints, tables.inputs, tables.outputs) +
                            uint64_t{tables.inputs} * tables.inputEntries +
                            uint64_t{tables.outputs} * tables.outputEntries;
    constexpr uint64_t kHead = 52;
    return kHead + values == size;
}

std::optional<Nodes> lut8Record(const TagContext& context) {
    const ClrIccTagLut8 record = context.record.get().lut8;
    const Tables tables = tablesOf(record);
    if (!usable(tables) || (standardTables(context.body) && !fillsBody(tables, context.body.size()))) {
        return std::nullopt;
    }
    Nodes nodes = LutNodes(tables, context.style)
                      .finish(Blocks<uint8_t>(tables, record.inputTables, record.clut, record.outputTables));
    nodes.push_back(text("layout",
                         "with counts of entries, as this library writes it; other readers take the counts "
                         "for values"));
    return nodes;
}

std::optional<Nodes> lut8Body(const TagContext& context) {
    const std::optional<Tables> tables = standardTables(context.body);
    if (!tables) {
        return std::nullopt;
    }
    Cursor cursor(context.body, kStandardHead);
    return LutNodes(*tables, context.style).finish([&cursor] { return static_cast<double>(cursor.u8()); });
}

}  // namespace

std::vector<TypeDecoder> lutDecoders() {
    return {{"mft1", lut8Record, lut8Body, "the library looks for counts of entries, which the standard's table lacks"},
            {"mft2", lut16Record, nullptr, ""}};
}

}  // namespace zvinfo
