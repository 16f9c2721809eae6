#include "separation.h"

#include <cmath>

namespace zvmake {
namespace {

// Weights of the search, in squared units of Lab for one unit of ink.
constexpr double kBlackPull = 4.0;
constexpr double kStartPull = 0.005;
constexpr double kLimitPush = 40000.0;
constexpr int kSteps = 60;

using Matrix4 = std::array<Inks, 4>;

// Weighted differences of lightness, chroma and hue as a quadratic form in Lab, about the target's own hue.
Matrix3 Metric(const Vec3& target) {
    const double chroma = Chroma(target);
    const double wide = 1 + 0.008 * chroma;
    // Near black the gamut is a narrow cone, and pale colours beside white shall not draw ink: lightness leads there.
    const double nearWhite = SmoothStep(95, 100, target[0]) * (1 - SmoothStep(10, 40, chroma));
    const double chromaWeight = (0.002 + 0.998 * SmoothStep(0, 30, target[0]) * (1 - nearWhite)) / (wide * wide);
    const double hueWeight = 1 + 5 * SmoothStep(0, 40, chroma);
    Matrix3 metric{};
    metric[0][0] = 1;
    if (chroma < 1e-9) {
        metric[1][1] = metric[2][2] = 1;
        return metric;
    }
    const double u = target[1] / chroma, v = target[2] / chroma;
    metric[1][1] = chromaWeight * u * u + hueWeight * v * v;
    metric[2][2] = chromaWeight * v * v + hueWeight * u * u;
    metric[1][2] = metric[2][1] = (chromaWeight - hueWeight) * u * v;
    return metric;
}

// Solves by elimination among the inks that are free to move; the others get no step.
Inks SolveFree(Matrix4 m, Inks rhs, const std::array<bool, 4>& held) {
    for (size_t i = 0; i < 4; ++i) {
        if (!held[i]) continue;
        for (size_t j = 0; j < 4; ++j) m[i][j] = m[j][i] = 0;
        m[i][i] = 1;
        rhs[i] = 0;
    }
    for (size_t k = 0; k < 4; ++k) {
        for (size_t row = k + 1; row < 4; ++row) {
            const double factor = m[row][k] / m[k][k];
            for (size_t column = k; column < 4; ++column) m[row][column] -= factor * m[k][column];
            rhs[row] -= factor * rhs[k];
        }
    }
    Inks step{};
    for (size_t k = 4; k-- > 0;) {
        double sum = rhs[k];
        for (size_t column = k + 1; column < 4; ++column) sum -= m[k][column] * step[column];
        step[k] = sum / m[k][k];
    }
    return step;
}

double Total(const Inks& inks) {
    double sum = 0;
    for (const double ink : inks) sum += ink > 0 ? ink : 0;
    return sum;
}

}  // namespace

double BlackTarget(const Vec3& lab) {
    const Vec3 linear = Multiply(XyzToSrgb(), LabToXyz(lab));
    double brightest = linear[0];
    for (const double component : linear) brightest = component > brightest ? component : brightest;
    const double lightness = Clamp(XyzToLab({0, Clamp(brightest, 0, 1), 0})[0], 0, 100);
    const double t = Clamp((80 - lightness) / 80, 0, 1);
    const double grey = t * t * (0.62 + 0.29 * t);
    const double alone = 1 - lightness * lightness / 10000 * 0.3 - lightness / 100 * 0.7;
    const double share = SmoothStep(15, 80, Chroma(lab));
    return grey + share * (0.9 * alone - grey);
}

Separation Separator::Search(const Vec3& target, const Inks& start, double reach, double leastBlack,
                             double mostBlack) const {
    const auto lowest = [=](size_t ink) { return ink == 3 ? leastBlack : -reach; };
    const auto highest = [=](size_t ink) { return ink == 3 ? mostBlack : 1 + reach; };
    const Matrix3 metric = Metric(target);
    const double black = BlackTarget(target);
    const auto cost = [&](const Inks& inks, const Vec3& lab) {
        const Vec3 d{lab[0] - target[0], lab[1] - target[1], lab[2] - target[2]};
        const Vec3 md = Multiply(metric, d);
        double sum = d[0] * md[0] + d[1] * md[1] + d[2] * md[2];
        sum += kBlackPull * (inks[3] - black) * (inks[3] - black);
        const double excess = Total(inks) - kTotalInkLimit;
        return excess > 0 ? sum + kLimitPush * excess * excess : sum;
    };
    const auto tether = [&](const Inks& inks) {
        double sum = 0;
        for (size_t i = 0; i < 3; ++i) sum += kStartPull * (inks[i] - start[i]) * (inks[i] - start[i]);
        return sum;
    };

    Inks inks = start;
    for (size_t i = 0; i < 4; ++i) inks[i] = Clamp(inks[i], lowest(i), highest(i));
    std::array<Inks, 3> slope{};
    Vec3 lab = forward_.Lab(inks, slope);
    double best = cost(inks, lab);
    double damping = 1;
    for (int step = 0; step < kSteps; ++step) {
        const Vec3 md = Multiply(metric, {lab[0] - target[0], lab[1] - target[1], lab[2] - target[2]});
        Inks pull{};  // downhill
        Matrix4 hessian{};
        for (size_t i = 0; i < 4; ++i) {
            for (size_t c = 0; c < 3; ++c) pull[i] -= slope[c][i] * md[c];
            for (size_t j = 0; j < 4; ++j) {
                const Vec3 ms = Multiply(metric, {slope[0][j], slope[1][j], slope[2][j]});
                for (size_t c = 0; c < 3; ++c) hessian[i][j] += slope[c][i] * ms[c];
            }
            const double weight = i == 3 ? kBlackPull : kStartPull;
            pull[i] -= weight * (inks[i] - (i == 3 ? black : start[i]));
            hessian[i][i] += weight;
        }
        const double excess = Total(inks) - kTotalInkLimit;
        if (excess > 0) {
            for (size_t i = 0; i < 4; ++i) {
                if (inks[i] <= 0) continue;
                pull[i] -= kLimitPush * excess;
                for (size_t j = 0; j < 4; ++j) hessian[i][j] += inks[j] > 0 ? kLimitPush : 0;
            }
        }
        std::array<bool, 4> held{};
        for (size_t i = 0; i < 4; ++i) {
            held[i] = (inks[i] <= lowest(i) && pull[i] < 0) || (inks[i] >= highest(i) && pull[i] > 0);
        }

        bool moved = false;
        for (int attempt = 0; attempt < 8 && !moved; ++attempt) {
            Matrix4 damped = hessian;
            for (size_t i = 0; i < 4; ++i) damped[i][i] += damping;
            const Inks change = SolveFree(damped, pull, held);
            Inks next{};
            double largest = 0;
            for (size_t i = 0; i < 4; ++i) {
                next[i] = Clamp(inks[i] + change[i], lowest(i), highest(i));
                largest = std::fmax(largest, std::fabs(next[i] - inks[i]));
            }
            if (largest < 1e-6) return {inks, cost(inks, lab)};
            const Vec3 nextLab = forward_.Lab(next);
            const double nextCost = cost(next, nextLab) + tether(next);
            if (nextCost < best) {
                inks = next;
                best = nextCost;
                damping = damping > 1e-3 ? damping / 8 : damping;
                moved = true;
            } else {
                damping *= 6;
            }
        }
        if (!moved) break;
        lab = forward_.Lab(inks, slope);
    }
    return {inks, cost(inks, lab)};
}

}  // namespace zvmake
