// Damaged profile images, and memory that ends: nothing is read or written out of bounds, nothing is lost, and no field
// makes the library ask for more than the image can hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

using Start = IccProfileHolder::Start;
using Side = GuardedBuffer::Side;

constexpr std::string_view kTags[] = {"desc", "cprt", "wtpt", "rTRC", "gTRC", "A2B0", "chad", "bTRC", "tech", "abcd"};

Bytes Localized(size_t units) {
    const auto bytes = static_cast<uint32_t>(2 * units);
    return TypedBody("mluc", BigLongs({1, 12, 0x656E5553, bytes, 28}) + CountingBytes(bytes));
}

/// Tags of ten kinds, one of them shared by two entries.
Bytes WholeImage() {
    return IccImageBuilder()
        .Tag("desc", Localized(5))
        .Tag("cprt", TypedBody("text", CountingBytes(9)))
        .Tag("wtpt", TypedBody("XYZ ", BigLongs({0xF6D6, 0x10000, 0xD32D})))
        .Tag("rTRC", CurveBody(RampTable(16)))
        .Share("gTRC", 3)
        .Tag("A2B0", LutBody(SmoothLut(16, 3, 3, 2, 1, 4, 4)))
        .Tag("chad", TypedBody("sf32", CountingBytes(36)))
        .Tag("bTRC", ParametricBody(3, {2.4, 0.9, 0.1, 0.08, 0.04}))
        .Tag("tech", TypedBody("sig ", BigLongs({FourCc("dcam")})))
        .Tag("abcd", TypedBody("zzzz", CountingBytes(5)))
        .Build();
}

/// Calls all that takes a profile, whatever comes out. `order` tells which tags go first.
void UseAll(ClrIccProfile* profile, uint32_t order) {
    for (const std::string_view tag : kTags) {
        IccRecordHolder record;
        const int32_t result = record.Read(profile, tag);
        EXPECT_GE(1, result) << tag;
        EXPECT_NE(0, result) << tag;
        // A tag that cannot be read is not deleted with a record; twice released is released.
        record.Free();
    }
    Zv_GenerateICCPointer(profile);
    uint8_t values[6] = {1, 2, 3, 4, 5, 6};
    ClrIccTagArray added = {0, {}, values, 6};
    if (profile->header != nullptr) {
        const bool counts = profile->tagCount >= 0;
        EXPECT_EQ(counts ? CLR_SUCCESS : ERR_FAILURE,
                  Zv_SetICCTagData(profile, &added, FourCc("calt"), FourCc("ui08")));
        if (counts) {
            EXPECT_EQ(TypedBody("ui08", {1, 2, 3, 4, 5, 6}), IccBodyOf(profile, "calt"));
        }
    }
    Zv_GenerateICCPointer(profile);
    for (size_t i = 0; i < std::size(kTags); ++i) {
        const uint32_t tag = FourCc(kTags[(i * 3 + order) % std::size(kTags)]);
        Zv_GetICCTagTypeSig(profile, tag);
        Zv_DeleteICCTag(profile, tag, nullptr);
        Zv_GetICCTagTypeSig(profile, tag);
    }
    Zv_GenerateICCPointer(profile);
}

/// Everything is done with an image between guard pages; its parse gives `result` back.
int32_t Survive(HostScope& host, const Bytes& image, Side side, uint32_t order = 0) {
    const GuardedBuffer room(image.size(), side);
    std::copy(image.begin(), image.end(), room.begin());
    host->Reset();
    int32_t result = 0;
    {
        IccProfileHolder profile;
        result = Zv_FillICCProfileStructure(profile, room.Data(), image.size());
        EXPECT_TRUE(result == CLR_SUCCESS || result == ERR_BAD_PROFILE) << result;
        EXPECT_EQ(image, IccImageBytesOf(profile));
        UseAll(profile, order);
    }
    EXPECT_EQ(0U, host.Leaked());
    // Records of tags take up to four times their bodies, and an inserted tag some bytes more.
    EXPECT_GE(4 * image.size() + 256, host->LargestRequestSinceReset());
    return result;
}

TEST(IccHostileImages, TheWholeOneIsReadInFull) {
    HostScope host;
    const Bytes image = WholeImage();
    EXPECT_EQ(CLR_SUCCESS, Survive(host, image, Side::kBack));
    IccProfileHolder profile(image);
    for (const std::string_view tag : kTags) {
        IccRecordHolder record;
        EXPECT_EQ(tag == "abcd" ? ERR_UNKNOWN_TAG_AND_TYPE : CLR_SUCCESS, record.Read(profile, tag)) << tag;
    }
    EXPECT_EQ(image, GenerateIccImage(profile));
}

TEST(IccHostileImages, TruncatedAtEveryByte) {
    HostScope host;
    const Bytes image = WholeImage();
    for (size_t size = 1; size < image.size(); ++size) {
        const Bytes front(image.begin(), image.begin() + static_cast<ptrdiff_t>(size));
        for (const Side side : {Side::kBack, Side::kFront}) {
            EXPECT_EQ(ERR_BAD_PROFILE, Survive(host, front, side, static_cast<uint32_t>(size))) << size;
        }
        // The same with a size field that owns up to it: what table and header need must be there.
        if (size < 4) continue;
        Bytes honest = front;
        SetBig32(honest, 0, static_cast<uint32_t>(size));
        const int32_t result = Survive(host, honest, Side::kBack, static_cast<uint32_t>(size));
        EXPECT_EQ(size < 132 + 12 * std::size(kTags) ? ERR_BAD_PROFILE : CLR_SUCCESS, result) << size;
        ASSERT_FALSE(HasFailure()) << size;
    }
}

bool HasFailed() { return ::testing::Test::HasFailure(); }

TEST(IccHostileImages, EveryFieldOfHeaderAndTable) {
    HostScope host;
    const Bytes image = WholeImage();
    for (size_t offset = 0; offset < 132 + 12 * std::size(kTags); offset += 4) {
        const uint32_t n = GetBig32(image, offset);
        const auto size = static_cast<uint32_t>(image.size());
        for (const uint32_t value : {0U, 1U, n - 1, n + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, 0xFFFFFFF4U, size,
                                     size - 1, size + 1, 0x15555556U}) {
            Bytes damaged = image;
            SetBig32(damaged, offset, value);
            for (const uint32_t order : {0U, 1U, 5U}) Survive(host, damaged, Side::kBack, order);
            ASSERT_FALSE(HasFailed()) << "offset " << offset << ", value " << std::hex << value;
        }
    }
}

TEST(IccHostileImages, PairsOfSizeAndCount) {
    HostScope host;
    const Bytes image = WholeImage();
    const auto size = static_cast<uint32_t>(image.size());
    const uint32_t counts[] = {
        0,          1,          9,          10,         11,         (size - 132) / 12, (size - 132) / 12 + 1,
        0x0AAAAAAA, 0x15555555, 0x15555556, 0x15555560, 0x2AAAAAAB, 0x7FFFFFFF,        0x80000000,
        0xFFFFFFF5, 0xFFFFFFFF};
    for (const uint32_t count : counts) {
        // In 32 bits the front of that many tags may be anything.
        const uint32_t front = 132 + 12 * count;
        for (const uint32_t stated :
             {0U, 131U, 132U, front - 1, front, front + 1, size - 1, size, size + 1, 0x80000000U, 0xFFFFFFFFU}) {
            Bytes damaged = image;
            SetBig32(damaged, 0, stated);
            SetBig32(damaged, 128, count);
            const int32_t result = Survive(host, damaged, Side::kBack);
            const bool tags = count >= 1 && count <= 0x7FFFFFFF;
            const bool fits = stated <= size && 132 + 12 * uint64_t{count} <= stated;
            EXPECT_EQ(tags && !fits ? ERR_BAD_PROFILE : CLR_SUCCESS, result);
            ASSERT_FALSE(HasFailed()) << "count " << count << ", size " << stated;
        }
    }
}

TEST(IccHostileImages, EntriesThatPointAnywhereAndOverlap) {
    HostScope host;
    const Bytes image = WholeImage();
    const auto size = static_cast<uint32_t>(image.size());
    TestRandom random(7);
    for (int round = 0; round < 3000; ++round) {
        Bytes damaged = image;
        for (uint32_t changes = 1 + random.Below(4); changes != 0; --changes) {
            const size_t entry = 132 + 12 * size_t{random.Below(std::size(kTags))};
            const uint32_t offsets[] = {random.Below(size + 8), size - random.Below(16), 252 + random.Below(8),
                                        0xFFFFFFFF - random.Below(300), random.Next()};
            const uint32_t sizes[] = {random.Below(size), random.Below(16), 0xFFFFFFFF - random.Below(300),
                                      random.Next()};
            SetBig32(damaged, entry + 4, offsets[random.Below(5)]);
            SetBig32(damaged, entry + 8, sizes[random.Below(4)]);
        }
        Survive(host, damaged, Side::kBack, random.Below(10));
        ASSERT_FALSE(HasFailed()) << "round " << round;
    }
}

TEST(IccHostileImages, RandomDamage) {
    HostScope host;
    const Bytes image = WholeImage();
    TestRandom random(8);
    for (int round = 0; round < 3000; ++round) {
        Bytes damaged = image;
        for (uint32_t changes = 1 + random.Below(12); changes != 0; --changes) {
            damaged[random.Below(static_cast<uint32_t>(damaged.size()))] = static_cast<uint8_t>(random.Next() >> 24);
        }
        // So that the most of them are taken apart.
        if (round % 4 != 0) std::copy_n(image.begin(), 12, damaged.begin());
        if (round % 4 != 0) std::copy_n(image.begin() + 128, 4, damaged.begin() + 128);
        Survive(host, damaged, Side::kBack, random.Below(10));
        ASSERT_FALSE(HasFailed()) << "round " << round;
    }
}

// --- Memory that ends -----------------------------------------------------------------------------------------------

/// Runs operations while the n-th allocation fails: the one that it belongs to must say so.
class Scarce {
public:
    Scarce(HostScope& host, int64_t n) : host_(host), n_(n) {
        host_->Reset();
        host_->FailAllocation(n);
    }
    /// `good` is the result while memory lasts; after that any will do.
    void Expect(const char* what, int32_t good, const std::function<int32_t()>& operation) {
        const int64_t before = host_->AllocationsSinceReset();
        const int32_t result = operation();
        const bool failed = before < n_ && n_ <= host_->AllocationsSinceReset();
        if (failed) {
            EXPECT_EQ(ERR_FAILURE, result) << what << ", allocation " << n_;
        } else if (before < n_) {
            EXPECT_EQ(good, result) << what << ", allocation " << n_;
        }
        reached_ = reached_ || failed;
    }
    bool Reached() const { return reached_; }

private:
    HostScope& host_;
    int64_t n_;
    bool reached_ = false;
};

TEST(IccScarceMemory, EveryOperationReportsItAndLosesNothing) {
    HostScope host;
    const Bytes image = WholeImage();
    bool reached = true;
    int64_t n = 0;
    for (; reached; ++n) {
        {
            Scarce scarce(host, n + 1);
            IccProfileHolder built, parsed;
            Bytes values = CountingBytes(24);
            ClrIccTagArray array = {0, {}, values.data(), 2};
            ClrIccTagCurve curve = {0, {}, 4, reinterpret_cast<uint16_t*>(values.data())};
            const auto set = [&](void* record, const char* tag, const char* type) {
                return [=, &built] { return Zv_SetICCTagData(built, record, FourCc(tag), FourCc(type)); };
            };
            scarce.Expect("header", CLR_SUCCESS, [&] { return Zv_InitICCHeader(built); });
            // Without a header nothing is set.
            scarce.Expect("set", CLR_SUCCESS, set(&array, "calt", "ui08"));
            scarce.Expect("set", CLR_SUCCESS, set(&array, "wtpt", "XYZ "));
            scarce.Expect("set", CLR_SUCCESS, set(&curve, "rTRC", "curv"));
            scarce.Expect("generate", CLR_SUCCESS, [&] { return Zv_GenerateICCPointer(built); });
            scarce.Expect("delete", CLR_SUCCESS, [&] { return Zv_DeleteICCTag(built, FourCc("calt"), nullptr); });
            scarce.Expect("delete", CLR_SUCCESS, [&] { return Zv_DeleteICCTag(built, FourCc("rTRC"), nullptr); });
            scarce.Expect("generate", CLR_SUCCESS, [&] { return Zv_GenerateICCPointer(built); });
            scarce.Expect("delete", CLR_SUCCESS, [&] { return Zv_DeleteICCTag(built, FourCc("wtpt"), nullptr); });
            scarce.Expect("set", CLR_SUCCESS, set(&array, "calt", "ui08"));
            scarce.Expect("refused", ERR_BAD_PROFILE, [&] { return Zv_GenerateICCPointer(built); });
            scarce.Expect("parse", CLR_SUCCESS,
                          [&] { return Zv_FillICCProfileStructure(parsed, image.data(), image.size()); });
            for (const std::string_view tag : kTags) {
                IccRecordHolder record;
                const int32_t good = tag == "abcd" ? ERR_UNKNOWN_TAG_AND_TYPE : CLR_SUCCESS;
                scarce.Expect("read", good, [&] { return record.Read(parsed, tag); });
            }
            for (const char* tag : {"tech", "desc", "A2B0", "wtpt"}) {
                IccRecordHolder record;
                scarce.Expect("delete with record", CLR_SUCCESS, [&] { return record.Delete(parsed, tag); });
            }
            scarce.Expect("generate", CLR_SUCCESS, [&] { return Zv_GenerateICCPointer(parsed); });
            reached = scarce.Reached();
        }
        EXPECT_EQ(0U, host.Leaked()) << "allocation " << n + 1;
    }
    EXPECT_LT(40, n) << "a sequence of many allocations";
}

TEST(IccScarceMemory, LeavesProfilesThatCanBeUsedOn) {
    const Bytes image = WholeImage();
    for (int64_t n = 1; n < 60; ++n) {
        const HostScope host;
        IccProfileHolder profile;
        host->FailAllocation(n);
        Zv_FillICCProfileStructure(profile, image.data(), image.size());
        for (const char* tag : {"desc", "wtpt", "abcd", "A2B0"}) {
            uint8_t value = 1;
            ClrIccTagArray array = {0, {}, &value, 1};
            Zv_SetICCTagData(profile, &array, FourCc("calt"), FourCc("ui08"));
            Zv_DeleteICCTag(profile, FourCc(tag), nullptr);
            Zv_GenerateICCPointer(profile);
        }
        host->FailAllocation(0);
        for (const std::string_view tag : kTags) {
            IccRecordHolder record;
            const int32_t result = record.Read(profile, tag);
            EXPECT_TRUE(result != 0 && result <= 1) << tag << ' ' << n;
        }
    }
}

}  // namespace
}  // namespace zv::test
