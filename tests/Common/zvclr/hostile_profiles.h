// Small profiles of every kind, their damaged forms, and what happens to those in the engine.
#pragma once

#include <functional>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/engine_reference.h"

namespace zv::test {

/// A profile, and the side and formats that it is tried with.
struct HostileKind {
    const char* name;
    Bytes bytes;
    bool asInput;
    bool alone;  ///< a device link, without a profile on the other side
    bool baked;  ///< ends on a grid of its own, which takes time
    uint32_t inputFormat;
    uint32_t outputFormat;
};

inline LutTag TinyLut(int bits, uint32_t inputs, uint32_t outputs) {
    return SmoothLut(bits, inputs, outputs, 2, 7, 3, 2);
}
inline Bytes TinyLutProfile(std::string_view space, std::string_view pcs, uint32_t channels) {
    return LutProfile(space, pcs, TinyLut(16, channels, 3), TinyLut(16, 3, channels)).Build();
}
inline Bytes TinyLink(int bits, std::string_view space, uint32_t channels) {
    return DeviceLinkProfile(space, "RGB ", TinyLut(bits, channels, 3)).Build();
}

inline std::vector<HostileKind> HostileKinds() {
    constexpr uint32_t kRgb = CMMFORMAT_RGB_8, kBgr = CMMFORMAT_BGR_8, kCmyk = CMMFORMAT_CMYK_8, kLab = CMMFORMAT_LAB_8;
    const Bytes matrix =
        MatrixRgbProfile({}, CurveBody({0, 9000, 30000, 65535}), GammaBody(0x0180), CurveBody({})).Build();
    const Bytes shared = MatrixRgbProfile({}, CurveBody({0, 20000, 65535})).Build();
    const Bytes gray = GrayProfile(CurveBody({0, 9000, 30000, 65535})).Build();
    const Bytes press = TinyLutProfile("CMYK", "Lab ", 4);
    const Bytes scene = TinyLutProfile("RGB ", "XYZ ", 3);
    const Bytes lab = TinyLutProfile("Lab ", "Lab ", 3);
    return {
        {"MatrixInput", shared, true, false, false, kRgb, kBgr},
        {"MatrixOutput", shared, false, false, false, kBgr, kRgb},
        // Curves of unequal lengths serve a pair of RGB profiles.
        {"CurvesOfEveryCount", matrix, true, false, false, kRgb, kRgb},
        {"GrayInput", gray, true, false, false, kBgr, kRgb},
        {"GrayOutput", gray, false, false, false, kRgb, kBgr},
        {"LinkOfWords", TinyLink(16, "RGB ", 3), true, true, false, kBgr, kBgr},
        {"LinkOfInks", TinyLink(16, "CMYK", 4), true, true, false, kCmyk, kBgr},
        {"LinkOfBytes", TinyLink(8, "RGB ", 3), true, true, false, kBgr, kBgr},
        {"PressInput", press, true, false, true, kCmyk, kRgb},
        {"PressOutput", press, false, false, true, kRgb, kCmyk},
        {"SceneInput", scene, true, false, true, kRgb, kBgr},
        {"LabOutput", lab, false, false, true, kBgr, kLab},
    };
}

/// What became of a profile; equal for equal bytes, or something read what nobody wrote.
struct HostileResult {
    bool opened = false;
    bool made = false;
    int32_t status = 0;
    Bytes pixels;

    bool operator==(const HostileResult&) const = default;
};

/// What a transform of such a profile may ask for at once: its bytes, widened, or the largest grid.
inline size_t MostBytesFor(const Bytes& profile) { return 2 * profile.size() + size_t{16 * 16 * 16 * 16 * 4 * 2}; }

inline constexpr uint32_t kHostilePixels = 40;

inline Bytes HostileSample(uint32_t format) {
    Bytes pixels = RandomBytes(kHostilePixels * FormatChannels(format), 12);
    std::fill_n(pixels.begin(), 4, uint8_t{255});
    std::fill_n(pixels.end() - 8, 8, uint8_t{0});
    return pixels;
}

inline Bytes RunSample(CmmTransform* transform) {
    const Bytes sample = HostileSample(transform->inputFormat);
    const GuardedBuffer from(sample.size()), to(kHostilePixels * FormatChannels(transform->outputFormat));
    Put(from, sample);
    EXPECT_EQ(CLR_SUCCESS, CmmRunTransform(from.Data(), to.Data(), kHostilePixels, transform));
    return BytesOf(to);
}

inline const Bytes& Partner() {
    static const Bytes partner = MatrixRgbProfile({}, CurveBody({0, 9000, 30000, 65535})).Build();
    return partner;
}
inline CmmProfile* OpenPartner() { return CmmOpenProfileFromMemory(Partner().data(), Partner().size()); }

/// What the plain engine makes of the bytes; empty where it makes no transform.
inline Bytes ReferenceSample(const HostileKind& kind, const Bytes& bytes) {
    const std::optional<Bytes> partner = kind.alone ? std::nullopt : std::optional(Partner());
    const auto reference = kind.asInput ? reference::Build(bytes, kind.inputFormat, partner, kind.outputFormat)
                                        : reference::Build(partner, kind.inputFormat, bytes, kind.outputFormat);
    return reference ? reference::Run(*reference, HostileSample(kind.inputFormat)) : Bytes();
}

/// Opens the bytes, makes a transform and runs it. Every tag is read as each kind of tag, too.
inline HostileResult TryOnce(const HostileKind& kind, const Bytes& bytes, uint8_t fill, size_t mostBytes) {
    RecordingHost& host = RecordingHost::Get();
    const size_t held = host.LiveCount();
    host.Reset();
    host.FillBlocksWith(fill);
    host.FailAllocationsAbove(mostBytes);
    HostileResult result;
    if (CmmProfile* profile = CmmOpenProfileFromMemory(bytes.data(), bytes.size())) {
        result.opened = true;
        for (int32_t i = 0; i < profile->tagCount; ++i) {
            double xyz[3] = {};
            CmmReadXyzTag(profile, profile->tagSignature[i], xyz);
            ToneCurveFree(CmmReadCurveTag(profile, profile->tagSignature[i]));
            CmmLutFree(CmmReadLutTag(profile, profile->tagSignature[i]));
        }
        CmmSetReferenceWhiteByCode(50);
        CmmProfile* const partner = kind.alone ? nullptr : OpenPartner();
        CmmTransform* const transform =
            CmmCreateTransform(kind.asInput ? profile : partner, kind.inputFormat, kind.asInput ? partner : profile,
                               kind.outputFormat, &result.status);
        if (transform != nullptr) {
            result.made = true;
            result.pixels = RunSample(transform);
            CmmFreeTransform(transform);
        }
    }
    EXPECT_LE(host.LargestRequestSinceReset(), MostBytesFor(bytes)) << "the profile's claims set an allocation";
    EXPECT_EQ(held, host.LiveCount()) << "blocks left behind";
    host.Reset();
    return result;
}

/// Twice, with other bytes in what is not cleared.
inline HostileResult Try(const HostileKind& kind, const Bytes& bytes, size_t mostBytes = 0) {
    HostileResult first = TryOnce(kind, bytes, 0xA5, mostBytes);
    EXPECT_TRUE(first == TryOnce(kind, bytes, 0x3C, mostBytes)) << "bytes that nobody wrote";
    if (first.made) {
        EXPECT_EQ(CLR_SUCCESS, first.status);
    }
    if (mostBytes == 0 && first.opened) {
        EXPECT_EQ(ReferenceSample(kind, bytes), first.pixels);
    }
    return first;
}

using Damage = std::function<void(const Bytes& damaged, const std::string& what)>;

inline void TruncateEverywhere(const Bytes& profile, size_t step, const Damage& use) {
    for (size_t length = 0; length < profile.size(); length += step) {
        use(Bytes(profile.begin(), profile.begin() + static_cast<ptrdiff_t>(length)),
            "cut to " + std::to_string(length));
    }
}

/// Places of the 32-bit fields of header, directory and tag heads.
inline std::vector<size_t> FieldPlaces(const Bytes& profile) {
    std::vector<size_t> places;
    const uint32_t tags = GetBig32(profile, 128);
    for (size_t at = 0; at < 132 + size_t{12} * tags; at += 4) places.push_back(at);
    for (size_t i = 0; i < tags; ++i) {
        const size_t body = GetBig32(profile, 136 + 12 * i);
        const size_t size = GetBig32(profile, 140 + 12 * i);
        for (size_t at = 0; at < std::min<size_t>(size, 56); at += 4) places.push_back(body + at);
    }
    return places;
}

inline void ChangeEveryField(const Bytes& profile, const Damage& use) {
    for (const size_t place : FieldPlaces(profile)) {
        const uint32_t value = GetBig32(profile, place);
        const uint32_t size = static_cast<uint32_t>(profile.size());
        for (const uint32_t other : {uint32_t{0}, uint32_t{1}, value - 1, value + 1, uint32_t{0x7FFFFFFF},
                                     uint32_t{0x80000000}, uint32_t{0xFFFFFFFF}, size - 1, size, value ^ 0x01000000}) {
            Bytes damaged = profile;
            SetBig32(damaged, place, other);
            use(damaged, "field at " + std::to_string(place) + " holds " + std::to_string(other));
        }
    }
}

/// Grids fail above this, so that parsing is all that happens.
inline constexpr size_t kBelowEveryGrid = 200000;

}  // namespace zv::test
