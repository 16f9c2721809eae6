// Small bodies of tags, at least one of each type, as version 4 profiles have them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/profile_builder.h"

namespace zv::test {

/// A run of curve elements, each padded with zero bytes to a multiple of four.
Bytes CurveRun(const std::vector<Bytes>& curves);

/// A grid of "mAB " and "mBA ": points along each input, bytes of a value, the values, padded.
Bytes ClutBlock(const std::vector<uint8_t>& gridPoints, uint8_t precision, const Bytes& values);

/// Elements of a "mAB " or "mBA " body. An empty one is absent.
struct ElementBodies {
    uint8_t inputs = 3;
    uint8_t outputs = 3;
    Bytes curvesB;
    Bytes matrix;
    Bytes curvesM;
    Bytes clut;
    Bytes curvesA;
};
/// The head and the elements in the order of the record's members.
Bytes ElementsBody(std::string_view type, const ElementBodies& elements);

/// Twelve numbers of 16.16.
Bytes MatrixBlock();

struct IccSampleBody {
    std::string name;
    Bytes body;
    /// Setting what was read of it gives the same bytes again.
    bool survives = true;
};
/// Every one is read with success, or as an unknown type.
std::vector<IccSampleBody> IccSampleBodies();

}  // namespace zv::test
