#include "colour.h"

#include <cmath>

namespace zvmake {
namespace {

constexpr double kRootEnd = 216.0 / 24389.0;
constexpr double kLineSlope = 841.0 / 108.0;
constexpr double kLineStart = 16.0 / 116.0;

double Root(double t) { return t > kRootEnd ? CubeRoot(t) : kLineSlope * t + kLineStart; }

double Cube(double root) { return root > 6.0 / 29.0 ? root * root * root : (root - kLineStart) / kLineSlope; }

// Halley's and Newton's steps from 1 on a value between 1/8 (or 1/32) and 1: eight are plenty for 53 bits.
double NewtonRoot(double value, int order) {
    if (value <= 0) return 0;
    int exponent = 0;
    double mantissa = std::frexp(value, &exponent);
    while (exponent % order != 0) {
        mantissa /= 2;
        ++exponent;
    }
    double root = 1.0;
    for (int step = 0; step < 12; ++step) {
        double power = 1.0;
        for (int i = 1; i < order; ++i) power *= root;
        root += (mantissa / power - root) / order;
    }
    return std::ldexp(root, exponent / order);
}

}  // namespace

double CubeRoot(double value) { return NewtonRoot(value, 3); }
double FifthRoot(double value) { return NewtonRoot(value, 5); }

Vec3 XyzToLab(const Vec3& xyz) {
    const double fx = Root(xyz[0] / kWhiteD50[0]);
    const double fy = Root(xyz[1] / kWhiteD50[1]);
    const double fz = Root(xyz[2] / kWhiteD50[2]);
    return {116 * fy - 16, 500 * (fx - fy), 200 * (fy - fz)};
}

Vec3 LabToXyz(const Vec3& lab) {
    const double fy = (lab[0] + 16) / 116;
    return {Cube(fy + lab[1] / 500) * kWhiteD50[0], Cube(fy) * kWhiteD50[1], Cube(fy - lab[2] / 200) * kWhiteD50[2]};
}

// x^2.4 is the square of x times the square of its fifth root.
double SrgbDecode(double component) {
    if (component <= 0.04045) return component / 12.92;
    const double base = (component + 0.055) / 1.055;
    const double root = FifthRoot(base);
    return base * base * (root * root);
}

// x^(1/2.4) is the fifth power of the twelfth root.
double SrgbEncode(double linear) {
    if (linear <= 0.0031308) return linear * 12.92;
    const double root = CubeRoot(std::sqrt(std::sqrt(linear)));
    return 1.055 * (root * root * root * root * root) - 0.055;
}

const Matrix3& SrgbToXyz() {
    static constexpr Matrix3 matrix{{{0.4361, 0.3851, 0.1431}, {0.2225, 0.7169, 0.0606}, {0.0139, 0.0971, 0.7141}}};
    return matrix;
}

const Matrix3& XyzToSrgb() {
    static const Matrix3 matrix = Invert(SrgbToXyz());
    return matrix;
}

Vec3 Multiply(const Matrix3& matrix, const Vec3& vector) {
    Vec3 result{};
    for (size_t row = 0; row < 3; ++row) {
        result[row] = matrix[row][0] * vector[0] + matrix[row][1] * vector[1] + matrix[row][2] * vector[2];
    }
    return result;
}

Matrix3 Invert(const Matrix3& m) {
    const auto cofactor = [&m](size_t row, size_t column) {
        const size_t r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (column + 1) % 3, c2 = (column + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    Matrix3 inverse{};
    for (size_t row = 0; row < 3; ++row) {
        for (size_t column = 0; column < 3; ++column) inverse[row][column] = cofactor(column, row) / determinant;
    }
    return inverse;
}

double Chroma(const Vec3& lab) { return std::sqrt(lab[1] * lab[1] + lab[2] * lab[2]); }

double Clamp(double value, double low, double high) { return value < low ? low : (value > high ? high : value); }

double SmoothStep(double low, double high, double value) {
    const double t = Clamp((value - low) / (high - low), 0, 1);
    return t * t * (3 - 2 * t);
}

std::array<uint16_t, 3> LabToWords(const Vec3& lab) {
    return {ToWord(Clamp(lab[0], 0, 100) * 652.8), ToWord((lab[1] + 128) * 256), ToWord((lab[2] + 128) * 256)};
}

uint16_t ToWord(double value) { return static_cast<uint16_t>(Clamp(value + 0.5, 0, 65535)); }

}  // namespace zvmake
