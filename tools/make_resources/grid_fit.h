// The nodes of a three-dimensional grid whose linear interpolation comes nearest to given samples.
#pragma once

#include <cstdint>
#include <vector>

#include "colour.h"

namespace zvmake {

class GridFit {
public:
    explicit GridFit(size_t points) : points_(points) {}
    /// A value wanted at a place in grid units, 0 to points - 1 on each axis, with a weight for each channel.
    void Add(const Vec3& place, const Vec3& value, const Vec3& weight);
    /// Least squares by conjugate gradients from the prior, to which nodes without samples stay near.
    std::vector<Vec3> Solve(const std::vector<Vec3>& prior, double priorWeight) const;
    /// Linear interpolation as the samples see it.
    Vec3 Value(const std::vector<Vec3>& nodes, const Vec3& place) const;

private:
    struct Sample {
        uint32_t node[8];
        double share[8];
        Vec3 value, weight;
    };
    Sample Locate(const Vec3& place) const;
    std::vector<double> Normal(const std::vector<double>& nodes, size_t channel, double priorWeight) const;

    size_t points_;
    std::vector<Sample> samples_;
};

}  // namespace zvmake
