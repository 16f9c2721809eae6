#include "profiles.h"

namespace zvmake {
namespace {

constexpr size_t kCurveEntries = 1024;
constexpr uint32_t kIlluminantD50 = 1;
constexpr uint32_t kIlluminantD65 = 2;

std::vector<uint16_t> SrgbCurve() {
    std::vector<uint16_t> curve(kCurveEntries);
    for (size_t i = 0; i < kCurveEntries; ++i) {
        curve[i] = ToWord(SrgbDecode(static_cast<double>(i) / (kCurveEntries - 1)) * 65535);
    }
    return curve;
}

Vec3 Column(size_t index) { return {SrgbToXyz()[0][index], SrgbToXyz()[1][index], SrgbToXyz()[2][index]}; }

}  // namespace

// Viewing conditions and luminance are those of IEC 61966-2-1: 80 cd/m2, an ambient of 64 lx under D50, of which the
// surround returns a fifth.
Bytes MakeRgbProfile() {
    ProfileWriter profile("mntr", "RGB ", "XYZ ");
    profile.Add("cprt", TextTag(kCopyright));
    profile.Add("desc", DescriptionTag("zvclr sRGB, a matrix and tone curve profile"));
    profile.Add("wtpt", XyzTag({0.9505, 1.0, 1.0891}));
    profile.Add("bkpt", XyzTag({0, 0, 0}));
    profile.Add("rXYZ", XyzTag(Column(0)));
    profile.Add("gXYZ", XyzTag(Column(1)));
    profile.Add("bXYZ", XyzTag(Column(2)));
    profile.Add("dmnd", DescriptionTag("IEC 61966-2-1 reference display"));
    profile.Add("dmdd", DescriptionTag("IEC 61966-2-1 default RGB space, sRGB"));
    profile.Add("vued", DescriptionTag("IEC 61966-2-1 reference viewing"));
    const double ambient = 64 / 3.14159265;
    profile.Add("view",
                ViewingConditionsTag({ambient * 0.9642, ambient, ambient * 0.8249},
                                     {ambient * 0.9642 / 5, ambient / 5, ambient * 0.8249 / 5}, kIlluminantD50));
    profile.Add("lumi", XyzTag({0.9505 * 80, 80, 1.0891 * 80}));
    profile.Add("meas", MeasurementTag(0.01, kIlluminantD65));
    profile.Add("tech", SignatureTag("CRT "));
    profile.Add("rTRC", CurveTag(SrgbCurve()));
    profile.Alias("gTRC", "rTRC");
    profile.Alias("bTRC", "rTRC");
    return profile.Finish();
}

}  // namespace zvmake
