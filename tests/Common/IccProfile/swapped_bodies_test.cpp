// Bodies of one type under the signature of another, cut short, and with fields that lie.
#include <gtest/gtest.h>

#include <algorithm>

#include "Common/IccProfile/tag_types.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/icc_settable_record.h"
#include "tests/support/icc_tag_bodies.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

/// A record is never larger than its body by more than this: runs of curves have eight times what they need, entries of
/// "pseq" have 84 bytes for 52.
constexpr size_t kMostGrowth = 8;
constexpr size_t kSlack = 256;

bool IsReadResult(int32_t result) {
    return result == CLR_SUCCESS || result == ERR_INVALID_PARAMETER || result == ERR_BAD_TAG;
}

/// Reads a body that ends at an unreadable page, releases it twice, and looks for what is left.
int32_t ReadGuarded(const Bytes& body, bool setAgain = false) {
    const GuardedBuffer guarded(body.size());
    std::copy(body.begin(), body.end(), guarded.begin());
    const HostScope host;
    const uint32_t typeSignature = GetBig32(body, 0);
    const IccTagType& type = IccTagTypeOf(typeSignature);
    ClrIccTagRecord record;
    const int32_t result = IccReadTag(type, {guarded.Data(), guarded.Size()}, &record);
    EXPECT_TRUE(IsReadResult(result)) << result;
    EXPECT_LE(host->LargestRequestSinceReset(), kMostGrowth * body.size() + kSlack);
    if (result == CLR_SUCCESS && setAgain) {
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        IccSettableRecord settable(record, typeSignature);
        const int32_t set = Zv_SetICCTagData(profile, settable.Get(), FourCc("wtpt"), typeSignature);
        EXPECT_TRUE(set == CLR_SUCCESS || set == ERR_UNKNOWN_TAG_TYPE || set == ERR_INVALID_PARAMETER) << set;
        EXPECT_EQ(set == ERR_INVALID_PARAMETER ? 0 : 1, Value(profile->tagCount));
    }
    Zv_FreeICCTagType(&record, typeSignature);
    Zv_FreeICCTagType(&record, typeSignature);
    return result;
}

std::vector<uint32_t> AllTypes() {
    std::vector<uint32_t> types = {FourCc("zzzz"), 0, 0xFFFFFFFF};
    for (const IccTagType& type : IccTagTypes()) types.push_back(type.signature);
    return types;
}

TEST(IccSwappedBodies, EveryBodyAsEveryType) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        for (const uint32_t type : AllTypes()) {
            SCOPED_TRACE(sample.name + " as " + std::to_string(type));
            Bytes body = sample.body;
            const bool itself = GetBig32(body, 0) == type;
            SetBig32(body, 0, type);
            const int32_t result = ReadGuarded(body, true);
            if (itself) {
                EXPECT_EQ(CLR_SUCCESS, result);
            }
            if (HasFailure()) return;
        }
    }
}

TEST(IccSwappedBodies, ThroughAProfile) {
    const HostScope host;
    for (const IccSampleBody& sample : IccSampleBodies()) {
        for (const uint32_t type : AllTypes()) {
            Bytes body = sample.body;
            SetBig32(body, 0, type);
            IccProfileHolder profile(IccImageOf("wtpt", body));
            IccRecordHolder read;
            const int32_t result = read.Read(profile, "wtpt");
            EXPECT_TRUE(IsReadResult(result) || result == ERR_UNKNOWN_TAG_TYPE) << sample.name << " " << type;
            EXPECT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("wtpt"), nullptr));
        }
    }
}

TEST(IccSwappedBodies, TypesOfElementsInside) {
    const uint32_t kTypes[] = {FourCc("mluc"), FourCc("culm"), FourCc("para"), FourCc("curv"), FourCc("desc"), 0,
                               0x636C756D};
    for (const IccSampleBody& sample : IccSampleBodies()) {
        for (size_t at = 8; at + 4 <= sample.body.size(); ++at) {
            for (const uint32_t type : kTypes) {
                SCOPED_TRACE(sample.name + " at " + std::to_string(at) + " " + std::to_string(type));
                Bytes body = sample.body;
                SetBig32(body, at, type);
                ReadGuarded(body);
                if (HasFailure()) return;
            }
        }
    }
}

TEST(IccSwappedBodies, CutShortAtEveryByte) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        const bool bySize = IccTagTypeOf(GetBig32(sample.body, 0)).countsBySize;
        for (size_t size = 4; size < sample.body.size(); ++size) {
            SCOPED_TRACE(sample.name + " of " + std::to_string(size));
            const int32_t result =
                ReadGuarded({sample.body.begin(), sample.body.begin() + static_cast<ptrdiff_t>(size)});
            if (size < 8) {
                EXPECT_EQ(ERR_INVALID_PARAMETER, result);
            }
            // Types without a count take what is there.
            if (bySize && size >= 12) {
                EXPECT_EQ(CLR_SUCCESS, result);
            }
            if (HasFailure()) return;
        }
    }
}

TEST(IccSwappedBodies, CutShortInTheProfile) {
    const HostScope host;
    for (const IccSampleBody& sample : IccSampleBodies()) {
        for (uint32_t size = 0; size < 12; ++size) {
            Bytes image = IccImageOf("wtpt", sample.body);
            SetBig32(image, 140, size);
            IccProfileHolder profile(image);
            IccRecordHolder read;
            const int32_t result = read.Read(profile, "wtpt");
            if (size < 4) {
                EXPECT_EQ(ERR_BAD_TAG, result) << sample.name << " of " << size;
            }
            if (size >= 4 && size < 8) {
                EXPECT_EQ(ERR_INVALID_PARAMETER, result) << sample.name << " of " << size;
            }
        }
    }
}

/// Every word of the body takes values that lie about sizes and places.
void LieInWords(const IccSampleBody& sample) {
    const auto n = static_cast<uint32_t>(sample.body.size());
    for (size_t at = 8; at + 4 <= sample.body.size(); at += 2) {
        const uint32_t old = GetBig32(sample.body, at);
        for (const uint32_t value : {0U, 1U, old - 1, old + 1, n - 1, n, n + 1, n - 32, 0x7FFFFFFFU, 0x80000000U,
                                     0xFFFFFFFFU, 0x01000000U, 0xFFFF0000U, 0x0000FFFFU, 0x55555556U, 0x15555556U}) {
            SCOPED_TRACE(sample.name + " at " + std::to_string(at) + " " + std::to_string(value));
            Bytes body = sample.body;
            SetBig32(body, at, value);
            ReadGuarded(body, true);
            if (testing::Test::HasFailure()) return;
        }
    }
}

TEST(IccSwappedBodies, WordsThatLie) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        if (sample.body.size() > 400) continue;
        LieInWords(sample);
        if (HasFailure()) return;
    }
}

TEST(IccSwappedBodies, BytesThatLie) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        for (size_t at = 8; at < std::min<size_t>(sample.body.size(), 400); ++at) {
            for (const uint8_t value : Bytes{0, 1, 2, 3, 16, 17, 127, 128, 254, 255}) {
                SCOPED_TRACE(sample.name + " at " + std::to_string(at) + " " + std::to_string(value));
                Bytes body = sample.body;
                body[at] = value;
                ReadGuarded(body, true);
                if (HasFailure()) return;
            }
        }
    }
}

TEST(IccSwappedBodies, SeveralFieldsThatLie) {
    TestRandom random(77);
    const std::vector<IccSampleBody> samples = IccSampleBodies();
    for (int round = 0; round < 20000; ++round) {
        const IccSampleBody& sample = samples[random.Below(static_cast<uint32_t>(samples.size()))];
        Bytes body = sample.body;
        const uint32_t changes = 1 + random.Below(4);
        for (uint32_t i = 0; i < changes; ++i) {
            const size_t at = 8 + random.Below(static_cast<uint32_t>(std::min<size_t>(body.size() - 8, 120)));
            const uint8_t kValues[] = {0, 1, 2, 3, 4, 16, 255, static_cast<uint8_t>(random.Next())};
            body[std::min(at, body.size() - 1)] = kValues[random.Below(8)];
        }
        if (random.Below(4) == 0) body.resize(8 + random.Below(static_cast<uint32_t>(body.size() - 8)));
        SCOPED_TRACE(sample.name + " in round " + std::to_string(round));
        ReadGuarded(body, true);
        if (HasFailure()) return;
    }
}

TEST(IccSwappedBodies, SampleBodiesComeOutAsTheyWentIn) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        SCOPED_TRACE(sample.name);
        const HostScope host;
        const uint32_t type = GetBig32(sample.body, 0);
        IccProfileHolder profile(IccImageOf("wtpt", sample.body));
        IccRecordHolder read;
        const int32_t result = read.Read(profile, "wtpt");
        IccSettableRecord settable(*read.Get(), type);
        IccProfileHolder second(IccProfileHolder::Start::kHeader);
        // Makers need every element, and texts of later entries are looked for where they are not.
        const bool refused = sample.name == "mAB_b" || sample.name == "mBA_b" || sample.name == "pseq_two";
        EXPECT_EQ(refused ? ERR_INVALID_PARAMETER : result,
                  Zv_SetICCTagData(second, settable.Get(), FourCc("wtpt"), type));
        if (sample.survives) {
            EXPECT_EQ(sample.body, IccBodyOf(second, "wtpt"));
        }
    }
}

}  // namespace
}  // namespace zv::test
