// Rows around a transform: packed before it, spread behind it.
#include "tests/Common/zvclr/icc_fixture.h"

namespace zv::test {
namespace {

/// Bytes between two rows of a destination, whose padding is an alignment.
size_t PitchOf(size_t rowBytes, int32_t alignment) {
    const auto unit = static_cast<size_t>(alignment < 2 ? 1 : alignment);
    return (rowBytes + unit - 1) / unit * unit;
}

// --- Packing --------------------------------------------------------------------------------------------------------

TEST(PackRows, LeavesThePaddingOut) {
    const HostScope host;
    for (const int32_t bytes : {3, 4}) {
        for (const int32_t width : {1, 2, 3, 5, 17}) {
            for (const int32_t height : {1, 2, 3, 7}) {
                for (const int32_t extra : {-3, 0, 1, 2, 3, 4, 9, 100}) {
                    const auto row = static_cast<size_t>(width * bytes);
                    const size_t pitch = row + static_cast<size_t>(std::max(0, extra));
                    const auto rows = static_cast<size_t>(height);
                    const Bytes picture = RandomBytes(pitch * (rows - 1) + row, 3);
                    const GuardedBuffer from(picture.size()), to(row * rows);
                    Put(from, picture);
                    ClrPackRows(from.Data(), to.Data(), height, width, bytes, extra);
                    for (size_t i = 0; i < rows; ++i) {
                        ASSERT_EQ(0, std::memcmp(picture.data() + i * pitch, to.Data() + i * row, row))
                            << width << " x " << height << " of " << bytes << " bytes, padding " << extra;
                    }
                }
            }
        }
    }
}

// --- Spreading ------------------------------------------------------------------------------------------------------

/// Spreads a packed picture between guard pages and looks at every row, and at what must stay as it was.
void ExpectSpread(int32_t width, int32_t height, int32_t bytes, int32_t alignment, GuardedBuffer::Side side) {
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + " of " + std::to_string(bytes) +
                 " bytes, alignment " + std::to_string(alignment));
    const auto row = static_cast<size_t>(width * bytes);
    const auto rows = static_cast<size_t>(height);
    const size_t pitch = PitchOf(row, alignment);
    const GuardedBuffer picture(pitch * (rows - 1) + row, side);
    const Bytes packed = RandomBytes(row * rows, static_cast<uint32_t>(width * 31 + height));
    Put(picture, packed);
    ASSERT_EQ(CLR_SUCCESS, ClrSpreadRows(picture.Data(), height, width, bytes, alignment));
    for (size_t i = 0; i < rows; ++i) {
        ASSERT_EQ(0, std::memcmp(packed.data() + i * row, picture.Data() + i * pitch, row)) << "row " << i;
        for (size_t gap = i * pitch + row; i + 1 < rows && gap < (i + 1) * pitch; ++gap) {
            if (gap < packed.size()) continue;  // what lay there was a row
            ASSERT_EQ(0xCD, picture.Data()[gap]) << "behind row " << i;
        }
    }
}

TEST(SpreadRows, EveryRowArrivesForEveryShape) {
    const HostScope host;
    for (const int32_t bytes : {3, 4}) {
        for (const int32_t width : {1, 2, 3, 4, 5, 8, 13, 33}) {
            for (const int32_t height : {1, 2, 3, 4, 5, 6, 11, 40}) {
                for (int32_t alignment = 0; alignment <= 9; ++alignment) {
                    ExpectSpread(width, height, bytes, alignment, GuardedBuffer::Side::kBack);
                }
                for (const int32_t alignment : {16, 31, 32, 64, 99, 100, 257}) {
                    ExpectSpread(width, height, bytes, alignment, GuardedBuffer::Side::kBack);
                    ExpectSpread(width, height, bytes, alignment, GuardedBuffer::Side::kFront);
                }
            }
        }
    }
}

TEST(SpreadRows, NarrowRowsFarApartDoNotMeetUnreadOnes) {
    const HostScope host;
    ExpectSpread(1, 5, 3, 100, GuardedBuffer::Side::kBack);
    ExpectSpread(1, 50, 4, 5, GuardedBuffer::Side::kBack);
    ExpectSpread(1, 1000, 3, 4, GuardedBuffer::Side::kBack);
}

TEST(SpreadRows, WorkedPitches) {
    const HostScope host;
    ExpectSpread(3, 4, 3, 4, GuardedBuffer::Side::kBack);
    EXPECT_EQ(12U, PitchOf(9, 4));
    ExpectSpread(3, 4, 3, 3, GuardedBuffer::Side::kBack);
    EXPECT_EQ(9U, PitchOf(9, 3));
    EXPECT_EQ(100U, PitchOf(3, 100));
}

TEST(SpreadRows, NothingMovesForOneRowNoAlignmentOrAMultiple) {
    const HostScope host;
    const Bytes before = RandomBytes(64, 8);
    struct Case {
        int32_t height, width, bytes, alignment;
    };
    constexpr Case kCases[] = {{1, 3, 3, 4}, {3, 3, 3, 1},  {3, 3, 3, 0}, {3, 3, 3, -4},
                               {3, 3, 3, 3}, {3, 4, 4, 16}, {3, 4, 4, 8}, {3, 3, 4, 2}};
    for (const Case& c : kCases) {
        Bytes picture = before;
        EXPECT_EQ(CLR_SUCCESS, ClrSpreadRows(picture.data(), c.height, c.width, c.bytes, c.alignment));
        EXPECT_EQ(before, picture) << c.width << " " << c.alignment;
    }
}

TEST(SpreadRows, NullDestination) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrSpreadRows(nullptr, 3, 3, 3, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrSpreadRows(nullptr, 1, 3, 3, 0)) << "before everything else";
}

// --- Through a converter --------------------------------------------------------------------------------------------

/// Tells the first bytes of a pixel by position, so that any misplaced pixel shows.
template <size_t kIn, size_t kOut>
int32_t Mix(CmmTransform*, const void* input, void* output, uint32_t pixelCount) {
    const auto* from = static_cast<const uint8_t*>(input);
    auto* to = static_cast<uint8_t*>(output);
    for (size_t i = 0; i < pixelCount; ++i) {
        for (size_t k = 0; k < kOut; ++k) to[i * kOut + k] = static_cast<uint8_t>(from[i * kIn + k % kIn] ^ (k + 1));
    }
    return 1;
}

/// A converter that borrows a transform for the length of a test.
class Borrower {
public:
    Borrower(int32_t source, int32_t destination, uint32_t method, CmmTransform* transform)
        : converter_(source, destination) {
        converter_->activeMethod = method;
        (method == CLRMETHOD_ICC ? converter_->iccTransform : converter_->customTransform) = transform;
    }
    ~Borrower() { converter_->iccTransform = converter_->customTransform = nullptr; }
    Borrower(const Borrower&) = delete;
    Borrower& operator=(const Borrower&) = delete;

    const ClrHandle* Get() const { return converter_.Get(); }

private:
    Converter converter_;
};

struct Shape {
    int32_t width, height, sourceExtra, destinationExtra;
};

void ExpectMixed(const Borrower& c, const CmmTransform& transform, const Shape& s, GuardedBuffer::Side side) {
    SCOPED_TRACE(std::to_string(s.width) + " x " + std::to_string(s.height) + ", paddings " +
                 std::to_string(s.sourceExtra) + " and " + std::to_string(s.destinationExtra));
    const size_t in = PixelBytes(c.Get()->sourceSpace), out = PixelBytes(c.Get()->destinationSpace);
    const auto width = static_cast<size_t>(s.width), rows = static_cast<size_t>(s.height);
    const size_t inPitch = width * in + static_cast<size_t>(s.sourceExtra);
    const size_t outPitch = rows == 1 ? 0 : PitchOf(width * out, s.destinationExtra);
    const GuardedBuffer from(TightBytes(c.Get()->sourceSpace, s.width, s.height, s.sourceExtra), side);
    const GuardedBuffer to(TightBytes(c.Get()->destinationSpace, s.width, s.height, s.destinationExtra), side);
    const Bytes picture = RandomBytes(from.Size(), 17);
    Put(from, picture);
    ASSERT_EQ(CLR_SUCCESS,
              Zv_ClrConvert(c.Get(), from.Data(), to.Data(), s.width, s.height, s.sourceExtra, s.destinationExtra));
    ASSERT_EQ(picture, BytesOf(from)) << "the source is read only";
    ASSERT_EQ(width * rows, transform.inputCount) << "one run for the whole image";
    for (size_t y = 0; y < rows; ++y) {
        for (size_t x = 0; x < width; ++x) {
            for (size_t k = 0; k < out; ++k) {
                const uint8_t expected = static_cast<uint8_t>(picture[y * inPitch + x * in + k % in] ^ (k + 1));
                ASSERT_EQ(expected, to.Data()[y * outPitch + x * out + k]) << "row " << y << ", pixel " << x;
            }
        }
    }
    for (size_t i = (rows - 1) * outPitch + width * out; i < to.Size(); ++i) {
        if (i >= width * rows * out) {
            ASSERT_EQ(0xCD, to.Data()[i]) << "behind the last row";
        }
    }
}

struct Kind {
    int32_t source;
    int32_t destination;
    CmmRunner run;
};
// Two hubs have no transform of their own, but the frame does not look at the spaces.
const Kind kKinds[] = {
    {0, 12, Mix<3, 3>}, {0, 2, Mix<3, 4>}, {2, 12, Mix<4, 3>}, {12, 7, Mix<3, 3>}, {6, 0, Mix<3, 3>}};

TEST(ProfileRows, EveryPaddingBetweenGuardPages) {
    const HostScope host;
    for (const Kind& kind : kKinds) {
        for (const uint32_t method : {uint32_t{CLRMETHOD_ICC}, uint32_t{CLRMETHOD_CUSTOM_ICC}}) {
            CmmTransform transform{};
            transform.run = kind.run;
            const Borrower c(kind.source, kind.destination, method, &transform);
            for (const auto side : {GuardedBuffer::Side::kBack, GuardedBuffer::Side::kFront}) {
                for (const int32_t height : {1, 2, 3, 5}) {
                    for (int32_t extra = 0; extra <= 9; ++extra) {
                        ExpectMixed(c, transform, {3, height, extra, 9 - extra}, side);
                        ExpectMixed(c, transform, {7, height, 9 - extra, extra}, side);
                    }
                    for (const int32_t width : {1, 2, 40}) {
                        ExpectMixed(c, transform, {width, height, 2, 100}, side);
                        ExpectMixed(c, transform, {width, height, 100, 41}, side);
                    }
                }
            }
        }
    }
}

TEST(ProfileRows, NarrowImageWithWidePadding) {
    const HostScope host;
    CmmTransform transform{};
    transform.run = Mix<3, 3>;
    const Borrower c(0, 7, CLRMETHOD_ICC, &transform);
    ExpectMixed(c, transform, {1, 5, 0, 100}, GuardedBuffer::Side::kBack);
    ExpectMixed(c, transform, {1, 200, 3, 4}, GuardedBuffer::Side::kBack);
    ExpectMixed(c, transform, {3, 200, 0, 4}, GuardedBuffer::Side::kBack);
}

TEST(ProfileRows, WidthThreeHasPitchTwelveByFourAndNineByThree) {
    const HostScope host;
    CmmTransform transform{};
    transform.run = Mix<3, 3>;
    const Borrower c(0, 7, CLRMETHOD_ICC, &transform);
    const Bytes picture = RandomBytes(18, 5);
    Bytes byFour(30, 0xCD), byThree(30, 0xCD);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), picture.data(), byFour.data(), 3, 2, 0, 4));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), picture.data(), byThree.data(), 3, 2, 0, 3));
    EXPECT_EQ(picture[9] ^ 1, byFour[12]);
    EXPECT_EQ(picture[9] ^ 1, byThree[9]);
    EXPECT_EQ(0xCD, byThree[18]) << "rows of a multiple stay packed";
}

TEST(ProfileRows, OneRowGoesStraightAndAllocatesNothing) {
    const HostScope host;
    CmmTransform transform{};
    transform.run = Mix<3, 4>;
    const Borrower c(0, 2, CLRMETHOD_ICC, &transform);
    const Bytes picture = RandomBytes(30, 5);
    Bytes out(40);
    host->Reset();
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 10, 1, 77, 7));
    EXPECT_EQ(0, host->AllocationsSinceReset());
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 5, 2, 0, 0));
    EXPECT_GE(host->AllocationsSinceReset(), 1);
    EXPECT_EQ(30U, host->Calls().at(0).size) << "width x height x bytes of a source pixel";
}

int32_t Refuse(CmmTransform*, const void*, void*, uint32_t) { return ERR_FAILURE; }

TEST(ProfileRows, ResultOfTheRunIsReturned) {
    const HostScope host;
    CmmTransform transform{};
    transform.run = Refuse;
    const Bytes picture = RandomBytes(100, 5);
    Bytes out(100);
    for (const uint32_t method : {uint32_t{CLRMETHOD_ICC}, uint32_t{CLRMETHOD_CUSTOM_ICC}}) {
        const Borrower c(0, 7, method, &transform);
        EXPECT_EQ(ERR_FAILURE, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 1, 0, 0));
        EXPECT_EQ(ERR_FAILURE, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 3, 1, 4));
    }
}

TEST(ProfileRows, WithoutTheMethodsOwnTransform) {
    const HostScope host;
    CmmTransform transform{};
    transform.run = Mix<3, 3>;
    const Bytes picture = RandomBytes(100, 5);
    Bytes out(100, 0xCD);
    for (const uint32_t method : {uint32_t{CLRMETHOD_ICC}, uint32_t{CLRMETHOD_CUSTOM_ICC}}) {
        const Converter c(0, 7);
        c->activeMethod = method;
        // The other method's transform does not step in.
        (method == CLRMETHOD_ICC ? c->customTransform : c->iccTransform) = &transform;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 1, 0, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 3, 2, 0));
        c->iccTransform = c->customTransform = nullptr;
    }
    EXPECT_EQ(Bytes(100, 0xCD), out);
    EXPECT_EQ(0U, transform.inputCount);
}

TEST(ProfileRows, WithoutATransformTheDestinationsOldRowsAreSpread) {
    const HostScope host;
    const Converter c(0, 7);
    c->activeMethod = CLRMETHOD_ICC;
    const Bytes picture = RandomBytes(18, 5), old = RandomBytes(22, 6);
    Bytes out = old;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 2, 0, 4));
    EXPECT_EQ(0, std::memcmp(old.data(), out.data(), 9));
    EXPECT_EQ(0, std::memcmp(old.data() + 9, out.data() + 12, 9));
}

TEST(ProfileRows, WithoutATransformNoOtherPixelIsPackedOrSpread) {
    const HostScope host;
    for (const int32_t space : {9, 10, 13, 14, 144}) {
        for (const bool toHub : {true, false}) {
            const Converter c(toHub ? space : 0, toHub ? 0 : space);
            c->activeMethod = CLRMETHOD_CUSTOM_ICC;
            const GuardedBuffer from(TightBytes(c->sourceSpace, 8, 4, 1)), to(TightBytes(c->destinationSpace, 8, 4, 7));
            EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), from.Data(), to.Data(), 8, 4, 1, 7)) << space;
            EXPECT_EQ(Bytes(to.Size(), 0xCD), BytesOf(to));
        }
    }
}

TEST(ProfileRows, WithoutMemory) {
    HostScope host;
    CmmTransform transform{};
    transform.run = Mix<3, 3>;
    const Borrower c(0, 7, CLRMETHOD_ICC, &transform);
    const size_t held = host.Leaked();
    const Bytes picture = RandomBytes(100, 5);
    for (int64_t n = 1;; ++n) {
        ASSERT_LT(n, 10);
        Bytes out(100, 0xCD);
        host->Reset();
        host->FailAllocation(n);
        const int32_t result = Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 5, 2, 4);
        const bool failed = host->AllocationsSinceReset() >= n;
        host->FailAllocation(0);
        EXPECT_EQ(held, host.Leaked()) << n;
        // Only the packed copy takes memory.
        EXPECT_EQ(n == 1 ? int32_t{ERR_NO_MEMORY} : int32_t{CLR_SUCCESS}, result) << n;
        if (n == 1) {
            EXPECT_EQ(Bytes(100, 0xCD), out);
        }
        if (!failed) break;
    }
}

TEST(ProfileRows, ImageInPlace) {
    const HostScope host;
    CmmTransform transform{};
    transform.run = Mix<3, 3>;
    const Borrower c(0, 7, CLRMETHOD_ICC, &transform);
    const Bytes picture = RandomBytes(60, 5);
    Bytes apart(60, 0xCD), inPlace = picture;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), picture.data(), apart.data(), 4, 5, 0, 0));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), inPlace.data(), inPlace.data(), 4, 5, 0, 0));
    EXPECT_EQ(apart, inPlace);
}

}  // namespace
}  // namespace zv::test
