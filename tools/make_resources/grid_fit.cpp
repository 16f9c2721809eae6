#include "grid_fit.h"

namespace zvmake {
namespace {

constexpr int kIterations = 60;

double Dot(const std::vector<double>& first, const std::vector<double>& second) {
    double sum = 0;
    for (size_t i = 0; i < first.size(); ++i) sum += first[i] * second[i];
    return sum;
}

}  // namespace

GridFit::Sample GridFit::Locate(const Vec3& place) const {
    Sample sample{};
    std::array<size_t, 3> low{};
    Vec3 fraction{};
    for (size_t axis = 0; axis < 3; ++axis) {
        const double position = Clamp(place[axis], 0, static_cast<double>(points_ - 1));
        low[axis] = static_cast<size_t>(Clamp(position, 0, static_cast<double>(points_ - 2)));
        fraction[axis] = position - static_cast<double>(low[axis]);
    }
    for (size_t corner = 0; corner < 8; ++corner) {
        size_t node = 0;
        double share = 1;
        for (size_t axis = 0; axis < 3; ++axis) {
            const size_t high = corner >> axis & 1;
            node = node * points_ + low[axis] + high;
            share *= high != 0 ? fraction[axis] : 1 - fraction[axis];
        }
        sample.node[corner] = static_cast<uint32_t>(node);
        sample.share[corner] = share;
    }
    return sample;
}

void GridFit::Add(const Vec3& place, const Vec3& value, const Vec3& weight) {
    Sample sample = Locate(place);
    sample.value = value;
    sample.weight = weight;
    samples_.push_back(sample);
}

Vec3 GridFit::Value(const std::vector<Vec3>& nodes, const Vec3& place) const {
    const Sample sample = Locate(place);
    Vec3 value{};
    for (size_t corner = 0; corner < 8; ++corner) {
        for (size_t i = 0; i < 3; ++i) value[i] += sample.share[corner] * nodes[sample.node[corner]][i];
    }
    return value;
}

std::vector<double> GridFit::Normal(const std::vector<double>& nodes, size_t channel, double priorWeight) const {
    std::vector<double> result(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) result[i] = priorWeight * nodes[i];
    for (const Sample& sample : samples_) {
        double value = 0;
        for (size_t corner = 0; corner < 8; ++corner) value += sample.share[corner] * nodes[sample.node[corner]];
        value *= sample.weight[channel];
        for (size_t corner = 0; corner < 8; ++corner) result[sample.node[corner]] += sample.share[corner] * value;
    }
    return result;
}

std::vector<Vec3> GridFit::Solve(const std::vector<Vec3>& prior, double priorWeight) const {
    std::vector<Vec3> nodes = prior;
    for (size_t channel = 0; channel < 3; ++channel) {
        std::vector<double> x(prior.size());
        std::vector<double> residual(prior.size());
        for (size_t i = 0; i < prior.size(); ++i) {
            x[i] = prior[i][channel];
            residual[i] = priorWeight * x[i];
        }
        for (const Sample& sample : samples_) {
            const double pull = sample.weight[channel] * sample.value[channel];
            for (size_t corner = 0; corner < 8; ++corner) residual[sample.node[corner]] += sample.share[corner] * pull;
        }
        const std::vector<double> start = Normal(x, channel, priorWeight);
        for (size_t i = 0; i < x.size(); ++i) residual[i] -= start[i];
        std::vector<double> direction = residual;
        double energy = Dot(residual, residual);
        for (int step = 0; step < kIterations && energy > 1e-24; ++step) {
            const std::vector<double> image = Normal(direction, channel, priorWeight);
            const double length = energy / Dot(direction, image);
            for (size_t i = 0; i < x.size(); ++i) {
                x[i] += length * direction[i];
                residual[i] -= length * image[i];
            }
            const double next = Dot(residual, residual);
            for (size_t i = 0; i < x.size(); ++i) direction[i] = residual[i] + next / energy * direction[i];
            energy = next;
        }
        for (size_t i = 0; i < x.size(); ++i) nodes[i][channel] = x[i];
    }
    return nodes;
}

}  // namespace zvmake
