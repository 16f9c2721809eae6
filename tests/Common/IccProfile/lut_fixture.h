// What the tests of "mAB " and "mBA " have in common: bytes in both orders, runs of curves in both forms.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/icc_profile_support.h"
#include "tests/support/icc_settable_record.h"
#include "tests/support/icc_tag_bodies.h"

namespace zv::test {

inline Bytes BytesOf(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    return {bytes, bytes + size};
}

inline Bytes Slice(const Bytes& bytes, size_t offset, size_t size) { return BytesOf(bytes.data() + offset, size); }

/// 16- or 32-bit numbers the other way round.
inline Bytes Swapped(Bytes bytes, size_t width) {
    for (size_t i = 0; i + width <= bytes.size(); i += width) {
        std::reverse(bytes.begin() + static_cast<ptrdiff_t>(i), bytes.begin() + static_cast<ptrdiff_t>(i + width));
    }
    return bytes;
}

/// A run in the order of the host, as readers leave it: heads by field, values by their width.
inline Bytes HostRun(const Bytes& run, uint32_t count) {
    Bytes host;
    size_t place = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const bool parametric = GetBig32(run, place) == FourCc("para");
        host = host + Swapped(Slice(run, place, 8), 4);
        const Bytes number = Slice(run, place + 8, 4);
        size_t size = 0;
        if (parametric) {
            const size_t kBytes[] = {4, 12, 16, 20, 28};
            size = kBytes[GetBig16(run, place + 8)];
            host = host + Swapped(number, 2) + Swapped(Slice(run, place + 12, size), 4);
        } else {
            size = 2 * size_t{GetBig32(run, place + 8)};
            host = host + Swapped(number, 4) + Swapped(Slice(run, place + 12, size), 2);
        }
        const size_t padded = (size + 3) / 4 * 4;
        host.resize(host.size() + padded - size);
        place += 12 + padded;
    }
    EXPECT_EQ(run.size(), place);
    return host;
}

inline Bytes HostClut(const Bytes& block) {
    Bytes host = Slice(block, 0, 17) + Bytes{block[19], block[18], block[17]};
    const Bytes values(block.begin() + 20, block.end());
    return host + (block[16] == 1 ? values : Swapped(values, 2));
}

inline Words SomeWords(size_t count, uint64_t seed) {
    TestRandom random(seed);
    Words words = RandomTable(count, random);
    return words;
}

/// What a walk says that leaves its run.
inline constexpr uint64_t kDerailed = UINT64_MAX;

/// By the numbers that stand there: native for a "para" type, in the order asked for otherwise.
inline uint64_t PlainCurveSetSize(const Bytes& run, uint32_t count, bool bigEndian) {
    uint64_t place = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (place + 12 > run.size()) return kDerailed;
        const auto number = [&](uint64_t offset) {
            const Bytes word = Slice(run, place + offset, 4);
            return GetBig32(bigEndian ? word : Swapped(word, 4), 0);
        };
        uint64_t size = 0;
        if (number(0) == FourCc("para")) {
            const uint32_t type = run[place + 8] | static_cast<uint32_t>(run[place + 9]) << 8;
            const uint64_t kSizes[] = {8, 16, 20, 24, 32};
            size = type <= 4 ? kSizes[type] : 4;
        } else {
            size = 2 * uint64_t{number(8)} + 4;
        }
        place += (size + 3) / 4 * 4 + 8;
    }
    return place <= run.size() ? place : kDerailed;
}

/// Curves of the caller, in steps of 16 bytes.
struct HostCurves {
    void AddTable(const Words& words) {
        tables.push_back(words);
        tables.back().reserve(1);
        ClrIccTagCurve record = {FourCc("curv"), {}, static_cast<uint32_t>(words.size()), tables.back().data()};
        // Their order of construction keeps the words where they are.
        run.Add(&record);
        ++count;
        image = image + CurveRun({CurveBody(words)});
    }
    /// Only as the first one: other types are upper halves of pointers.
    void AddParametric(uint16_t type, std::vector<uint32_t> values) {
        parameters = std::move(values);
        ClrIccTagParametricCurve record = {FourCc("para"), {}, type, {}, parameters.data()};
        run.Add(&record);
        ++count;
        Bytes body = TypedBody("para", BigWords({type, 0}));
        if (type == 0) body = body + BigLongs(parameters);
        body.resize(12 + 4 * static_cast<size_t>(Zv_GetParametricCurveNumberOfParameters(type)));
        image = image + body;
    }
    void* Records() { return run.Records(); }

    IccRunRecords run;
    uint32_t count = 0;
    Bytes image;  ///< as it is written; what is lost is zero
    std::vector<Words> tables;
    std::vector<uint32_t> parameters;
};

inline HostCurves Tables(uint32_t count, uint64_t seed = 1) {
    HostCurves curves;
    for (uint32_t i = 0; i < count; ++i) curves.AddTable(SomeWords(1 + 5 * i, seed + i));
    return curves;
}

}  // namespace zv::test
