#include "Common/kernels/lab_estimates.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

class LabCodec {
public:
    static constexpr int32_t kPixelBytes = Lab::kPixelBytes;

    explicit LabCodec(const void* context) noexcept : tables_(*static_cast<const LabTables*>(context)) {}

    template <class Hub>
    void Encode(const Hub& in, Planes<3>& out) const noexcept {
        ClosePixels close;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            Ints xyz[3];
            SumQuads(tables_.xyz, in.r.At(at), in.g.At(at), in.b.At(at), xyz);
            Ints differences = {};
            Floats f[3];
            for (size_t c = 0; c < 3; ++c) f[c] = LabRoot(reinterpret_cast<Floats>(xyz[c]), differences);

            static constexpr double kA = 500, kB = 200, kL = 116;
            static_assert(lab::SumsOfRoots(1, 1, 1) == Sums{kL - 16, 0, 0});
            static_assert(lab::SumsOfRoots(1, 0, 0)[1] == kA && lab::SumsOfRoots(0, 1, 0)[2] == kB);
            const Cut l(f[1] * static_cast<float>(kL) - 16.0F, kL * kRootError + 4 * 100 * kSingleUnit);
            const Cut a((f[0] - f[1]) * static_cast<float>(kA), 2 * kA * kRootError + 4 * 128 * kSingleUnit);
            const Cut b((f[1] - f[2]) * static_cast<float>(kB), 2 * kB * kRootError + 4 * 128 * kSingleUnit);
            // Only white reaches 100, and that by 3e-7.
            differences |= (l.Differences() & (l.high != 100)) | a.Differences() | b.Differences();
            StoreBytes(out[0].At(at), Truncate(ToFloat(l.high) * kStoredScale + kStoredConstant));
            StoreLowBytes(out[1].At(at), a.high);
            StoreLowBytes(out[2].At(at), b.high);
            close.Add(at, differences);
        }
        RedoOnce(
            close, [&](int32_t i) { return LoadHub(in, i); },
            [&](Rgb p) {
                return Lab::Stored(lab::FromLinear(tables_.linear[p.r], tables_.linear[p.g], tables_.linear[p.b]));
            },
            [&](int32_t i, const Pixel<3>& pixel) { StorePlanes(out, i, pixel); });
    }

    template <class Hub>
    void Decode(const Planes<3>& in, const Hub& out) const noexcept {
        ClosePixels close;
        LightBlock light(kLightSums, tables_.cells);
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Floats l = ToFloat(Truncate(ToFloat(LoadBytes(in[0].At(at))) * kLightScale + kLightConstant)) + 16.0F;
            const Floats a = ToFloat(LoadSignedBytes(in[1].At(at)));
            const Floats b = ToFloat(LoadSignedBytes(in[2].At(at)));
            const Floats x = LightOfFraction<125 * 116>(l * 125.0F + a * 29.0F);
            const Floats y = LightOfFraction<116>(l);
            const Floats z = LightOfFraction<50 * 116>(l * 50.0F - b * 29.0F);
            light.Put(at, x, y, z);
        }
        light.Store({out.r.At(0), out.g.At(0), out.b.At(0)}, close);
        RedoOnce(
            close, [&](int32_t i) { return LoadPlanes(in, i); }, Lab::ToRgb,
            [&](int32_t i, Rgb pixel) { StoreHub(out, i, pixel); });
    }

private:
    /// A number cut toward zero, from its least and its greatest value.
    struct Cut {
        Ints low, high;
        Cut(Floats value, double margin) noexcept {
            low = Truncate(value - static_cast<float>(margin));
            high = Truncate(value + static_cast<float>(margin));
        }
        Ints Differences() const noexcept { return low ^ high; }
    };

    static constexpr float kStoredScale = 2.55F, kStoredConstant = 0.005F;
    static_assert([] {
        for (int32_t l = 0; l <= 100; ++l) {
            const auto stored = static_cast<int32_t>(static_cast<float>(l) * kStoredScale + kStoredConstant);
            if (stored != Lab::Stored({static_cast<uint8_t>(l), 0, 0})[0]) return false;
        }
        return true;
    }());

    static constexpr float kLightScale = static_cast<float>(1 / 2.55), kLightConstant = 0.001F;
    static_assert([] {
        for (int32_t i = 0; i < 256; ++i) {
            const auto cut = static_cast<int32_t>(static_cast<float>(i) * kLightScale + kLightConstant);
            if (cut != Lab::Lightness(static_cast<uint8_t>(i))) return false;
        }
        return true;
    }());

    const LabTables& tables_;
};

}  // namespace

const ClrHubRows kLabRows = kHubRows<LabCodec>;

}  // namespace ZV_ISA
}  // namespace zv
