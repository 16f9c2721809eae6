// Running a transform, and the two YCCK kernels that do.
#include "Common/Zvtrans/transform.h"

#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

/// Complements the first three bytes of a pixel of `kIn` bytes into one of `kOut`, and says 1.
template <size_t kIn, size_t kOut>
int32_t Complement(CmmTransform*, const void* input, void* output, uint32_t pixelCount) {
    const auto* from = static_cast<const uint8_t*>(input);
    auto* to = static_cast<uint8_t*>(output);
    for (size_t i = 0; i < pixelCount; ++i) {
        for (size_t k = 0; k < kOut; ++k) to[i * kOut + k] = k < 3 ? static_cast<uint8_t>(255 - from[i * kIn + k]) : 0;
    }
    return 1;
}

int32_t Refuse(CmmTransform*, const void*, void*, uint32_t) { return ERR_FAILURE; }

CmmTransform RunBy(CmmRunner runner) {
    CmmTransform transform{};
    transform.run = runner;
    return transform;
}

constexpr int32_t kWidth = 5, kHeight = 3;

TEST(RunTransform, StoresThePixelCountAndPassesEverythingOn) {
    CmmTransform transform = RunBy(Complement<3, 3>);
    const uint8_t in[6] = {1, 2, 3, 4, 5, 6};
    uint8_t out[6] = {};
    EXPECT_EQ(1, CmmRunTransform(in, out, 2, &transform));
    EXPECT_EQ(2U, transform.inputCount);
    EXPECT_EQ(2U, transform.outputCount);
    constexpr uint8_t kExpected[6] = {254, 253, 252, 251, 250, 249};
    EXPECT_EQ(0, std::memcmp(kExpected, out, sizeof out));
    transform.run = Refuse;
    EXPECT_EQ(ERR_FAILURE, CmmRunTransform(in, out, 1, &transform));
    EXPECT_EQ(1U, transform.inputCount);
}

TEST(RunTransform, TransformThatCannotBeWritten) {
    GuardedBuffer page(sizeof(CmmTransform));
    const CmmTransform transform = RunBy(Complement<3, 3>);
    auto* placed = PlaceAt(page.Data(), transform);
    uint8_t pixel[3] = {};
    EXPECT_EQ(1, CmmRunTransform(pixel, pixel, 1, placed));
    page.MakeReadOnly();
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmRunTransform(pixel, pixel, 1, placed));
    page.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmRunTransform(pixel, pixel, 1, placed));
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmRunTransform(pixel, pixel, 1, nullptr));
}

/// A converter of the profile method that borrows a transform for the length of a test.
class ByProfiles {
public:
    ByProfiles(int32_t source, int32_t destination, CmmTransform* transform) : converter_(source, destination) {
        converter_->activeMethod = CLRMETHOD_ICC;
        converter_->iccTransform = transform;
    }
    ~ByProfiles() { converter_->iccTransform = nullptr; }
    ByProfiles(const ByProfiles&) = delete;
    ByProfiles& operator=(const ByProfiles&) = delete;

    ClrHandle* operator->() const { return converter_.Get(); }
    int32_t Convert(const GuardedBuffer& from, const GuardedBuffer& to, int32_t sourceExtra,
                    int32_t destinationExtra) const {
        return Zv_ClrConvert(converter_.Get(), from.Data(), to.Data(), kWidth, kHeight, sourceExtra, destinationExtra);
    }

private:
    Converter converter_;
};

TEST(YcckByProfiles, ToHubRunsTheTransformOverThePackedInks) {
    const HostScope host;
    CmmTransform transform = RunBy(Complement<4, 3>);
    const ByProfiles c(CLRSPACE_YCCK, CLRSPACE_RGB, &transform);
    constexpr int32_t kFrom = 2, kTo = 4;
    const GuardedBuffer from(PaddedBytes(11, kWidth, kHeight, kFrom)), to(TightBytes(0, kWidth, kHeight, kTo));
    // White paper: luma 255 without chroma; its inks are zero.
    for (size_t row = 0; row < kHeight; ++row) {
        for (size_t x = 0; x < kWidth; ++x) {
            constexpr uint8_t kWhite[4] = {255, 128, 128, 0};
            std::memcpy(from.Data() + row * (kWidth * 4 + kFrom) + x * 4, kWhite, sizeof kWhite);
        }
    }
    EXPECT_EQ(1, c.Convert(from, to, kFrom, kTo));
    EXPECT_EQ(uint32_t{kWidth * kHeight}, transform.inputCount);
    for (size_t i = 0; i < to.Size(); ++i) {
        const bool padding = i % (kWidth * 3 + kTo) >= kWidth * 3;
        EXPECT_EQ(padding ? 0xCD : 0xFF, to.Data()[i]) << i;
    }
}

TEST(YcckByProfiles, ResultOfTheTransformIsReturned) {
    const HostScope host;
    CmmTransform transform = RunBy(Refuse);
    const GuardedBuffer four(PaddedBytes(11, kWidth, kHeight, 0)), three(PaddedBytes(0, kWidth, kHeight, 0));
    const ByProfiles toHub(CLRSPACE_YCCK, CLRSPACE_RGB, &transform), fromHub(CLRSPACE_RGB, CLRSPACE_YCCK, &transform);
    EXPECT_EQ(ERR_FAILURE, toHub.Convert(four, three, 0, 0));
    EXPECT_EQ(ERR_FAILURE, fromHub.Convert(three, four, 0, 0));
}

TEST(YcckByProfiles, WithoutATransformIsInvalidParameter) {
    const HostScope host;
    const GuardedBuffer four(PaddedBytes(11, kWidth, kHeight, 0)), three(PaddedBytes(0, kWidth, kHeight, 0));
    const ByProfiles toHub(CLRSPACE_YCCK, CLRSPACE_RGB, nullptr), fromHub(CLRSPACE_RGB, CLRSPACE_YCCK, nullptr);
    EXPECT_EQ(ERR_INVALID_PARAMETER, toHub.Convert(four, three, 0, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, fromHub.Convert(three, four, 0, 0));
    EXPECT_EQ(std::vector<uint8_t>(three.Size(), 0xCD), BytesOf(three));
}

TEST(YcckByProfiles, FromHubWritesNothingForWantOfTables) {
    const HostScope host;
    CmmTransform transform = RunBy(Complement<3, 4>);
    const ByProfiles c(CLRSPACE_RGB, CLRSPACE_YCCK, &transform);
    const GuardedBuffer from(PaddedBytes(0, kWidth, kHeight, 2)), to(PaddedBytes(11, kWidth, kHeight, 1));
    EXPECT_EQ(1, c.Convert(from, to, 2, 1));
    EXPECT_EQ(uint32_t{kWidth * kHeight}, transform.inputCount) << "the transform ran";
    EXPECT_EQ(std::vector<uint8_t>(to.Size(), 0xCD), BytesOf(to));
}

TEST(YcckByProfiles, EveryAllocationFailing) {
    HostScope host;
    CmmTransform toInks = RunBy(Complement<3, 4>), toPixels = RunBy(Complement<4, 3>);
    const GuardedBuffer four(PaddedBytes(11, kWidth, kHeight, 0)), three(PaddedBytes(0, kWidth, kHeight, 0));
    const ByProfiles toHub(CLRSPACE_YCCK, CLRSPACE_RGB, &toPixels), fromHub(CLRSPACE_RGB, CLRSPACE_YCCK, &toInks);
    const size_t held = host.Leaked();
    for (int64_t n = 1; n <= 2; ++n) {
        host->FailAllocation(n);
        EXPECT_EQ(ERR_NO_MEMORY, toHub.Convert(four, three, 0, 0)) << n;
        host->FailAllocation(n);
        EXPECT_EQ(ERR_NO_MEMORY, fromHub.Convert(three, four, 0, 0)) << n;
        EXPECT_EQ(held, host.Leaked());
    }
    host->FailAllocation(3);
    EXPECT_EQ(1, toHub.Convert(four, three, 0, 0));
    host->FailAllocation(0);
}

}  // namespace
}  // namespace zv::test
