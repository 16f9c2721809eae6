// Tags read, set, made and deleted while memory runs out.
#include <gtest/gtest.h>

#include <algorithm>

#include "Common/IccProfile/tag_types.h"
#include "tests/Common/IccProfile/editing_fixture.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/icc_settable_record.h"
#include "tests/support/icc_tag_bodies.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

/// Fails each allocation of `work` in turn, and returns how many there were. `work` gets its result and the scope.
template <class Work>
int64_t FailEach(const Work& work) {
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        HostScope host;
        if (work(&host, n)) return n - 1;
        if (n > 1000 || testing::Test::HasFatalFailure()) return -1;
    }
}

TEST(IccTagAllocations, Get) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        SCOPED_TRACE(sample.name);
        const uint32_t type = GetBig32(sample.body, 0);
        // An element that cannot be read counts as empty.
        const bool ignores = type == FourCc("pseq");
        const int64_t count = FailEach([&](HostScope* host, int64_t n) {
            IccProfileHolder profile(IccImageOf("wtpt", sample.body));
            (*host)->FailAllocation(n);
            IccRecordHolder read;
            const int64_t before = (*host)->AllocationsSinceReset();
            const int32_t result = read.Read(profile, "wtpt");
            const bool failed = (*host)->AllocationsSinceReset() - before >= n;
            (*host)->FailAllocation(0);
            const int32_t success = IccFindTagType(type) != nullptr ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE;
            const bool ignored = ignores && result == CLR_SUCCESS;
            EXPECT_TRUE(result == (failed ? ERR_FAILURE : success) || ignored) << result;
            read.Free();
            EXPECT_EQ(1, Value(profile->tagCount));
            return !failed;
        });
        EXPECT_GE(count, 0);
        EXPECT_LT(count, 60);
    }
}

TEST(IccTagAllocations, SetAndCreate) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        if (sample.name == "mAB_b" || sample.name == "mBA_b" || sample.name == "pseq_two") continue;
        SCOPED_TRACE(sample.name);
        const uint32_t type = GetBig32(sample.body, 0);
        const bool leaves = type == FourCc("mAB ") || type == FourCc("mBA ");
        IccProfileHolder source(IccImageOf("wtpt", sample.body));
        IccRecordHolder read;
        const int32_t success = read.Read(source, "wtpt");
        int64_t made = -1;
        if (type != FourCc("chrm")) {
            made = FailEach([&](HostScope* host, int64_t n) {
                IccSettableRecord settable(*read.Get(), type);
                const int64_t before = (*host)->AllocationsSinceReset();
                const size_t live = host->Leaked();
                (*host)->FailAllocation(n);
                ClrIccTagRecord image;
                const int32_t result = Zv_CreateICCTagData(&image, settable.Get(), type);
                const bool failed = (*host)->AllocationsSinceReset() - before >= n;
                EXPECT_EQ(failed ? ERR_FAILURE : success, result);
                Zv_FreeICCTagType(&image, type);
                const size_t left = host->Leaked() - live;
                EXPECT_LE(left, failed && leaves ? 5U : 0U);
                host->ExpectLeaked(left);
                return !failed;
            });
            EXPECT_GE(made, 0);
        }
        const int64_t set = FailEach([&](HostScope* host, int64_t n) {
            IccSettableRecord settable(*read.Get(), type);
            size_t left = 0;
            bool failed = false;
            {
                IccProfileHolder profile(kHeader);
                const int64_t before = (*host)->AllocationsSinceReset();
                const size_t live = host->Leaked();
                (*host)->FailAllocation(n);
                const int32_t result = Zv_SetICCTagData(profile, settable.Get(), FourCc("wtpt"), type);
                const int64_t asked = (*host)->AllocationsSinceReset() - before;
                (*host)->FailAllocation(0);
                failed = asked >= n;
                EXPECT_EQ(failed ? ERR_FAILURE : success, result);
                const bool inserted = made >= 0 && n > made;
                if (made >= 0) {
                    EXPECT_EQ(inserted ? 1 : 0, Value(profile->tagCount)) << "raised by an insertion that fails";
                }
                const size_t own = (profile->tagTable != nullptr ? 1U : 0U) + (profile->tagData != nullptr ? 1U : 0U);
                left = host->Leaked() - live - own;
                EXPECT_LE(left, failed && leaves && !inserted ? 5U : 0U);
            }
            host->ExpectLeaked(left);
            return !failed;
        });
        if (made >= 0) {
            EXPECT_EQ(made + 2, set) << "table and data";
        }
    }
}

TEST(IccTagAllocations, SetIntoTagsThatAreThere) {
    for (int64_t n = 2; n <= 3; ++n) {
        SCOPED_TRACE(n);
        const HostScope host;
        IccProfileHolder profile(kHeader);
        const Bytes first = AddUnknown(profile, "cprt", 20, 1);
        Bytes values = CountingBytes(5);
        ClrIccTagArray record = {0, {}, values.data(), 5};
        host->FailAllocation(n);
        EXPECT_EQ(ERR_FAILURE, Zv_SetICCTagData(profile, &record, FourCc("wtpt"), FourCc("ui08")));
        EXPECT_EQ(2, Value(profile->tagCount));
        EXPECT_EQ(n == 2 ? 1U : 2U, IccTableOf(profile).size()) << "with the second failure the entry stays";
        EXPECT_EQ(20U, Value(profile->tagDataSize));
        IccRecordHolder read;
        EXPECT_EQ(ERR_BAD_TAG, read.Read(profile, "wtpt"));
    }
}

TEST(IccTagAllocations, Delete) {
    for (const bool withRecord : {false, true}) {
        for (const IccSampleBody& sample : IccSampleBodies()) {
            SCOPED_TRACE(sample.name);
            const uint32_t type = GetBig32(sample.body, 0);
            if (withRecord && IccFindTagType(type) == nullptr) continue;
            const bool ignores = type == FourCc("pseq");
            int64_t reads = 0;
            if (withRecord) {
                IccProfileHolder profile(IccImageOf("wtpt", sample.body));
                const HostScope host;
                IccRecordHolder read;
                read.Read(profile, "wtpt");
                reads = host->AllocationsSinceReset();
            }
            const int64_t count = FailEach([&](HostScope* host, int64_t n) {
                IccProfileHolder profile(IccImageBuilder().Tag("cprt", sample.body).Tag("wtpt", XyzBody(kD50)).Build());
                FillProfileId(profile);
                const Bytes state = StateOf(profile.Get());
                const int64_t before = (*host)->AllocationsSinceReset();
                (*host)->FailAllocation(n);
                ClrIccTagRecord record;
                std::memset(&record, 0, sizeof record);
                const int32_t result = Zv_DeleteICCTag(profile, FourCc("cprt"), withRecord ? &record : nullptr);
                const bool failed = (*host)->AllocationsSinceReset() - before >= n;
                (*host)->FailAllocation(0);
                Zv_FreeICCTagType(&record, type);
                const bool ignored = ignores && n <= reads && result == CLR_SUCCESS;
                EXPECT_TRUE(ignored || result == (failed ? ERR_FAILURE : CLR_SUCCESS)) << result;
                if (result == CLR_SUCCESS) {
                    EXPECT_TRUE(ProfileIdIsClear(profile.Get()));
                    EXPECT_EQ(XyzBody(kD50), IccBodyOf(profile, "wtpt"));
                } else if (n <= reads) {
                    EXPECT_EQ(state, StateOf(profile.Get())) << "nothing is deleted";
                } else {
                    EXPECT_EQ(1, Value(profile->tagCount)) << "lowered already";
                    EXPECT_EQ(FourCc("wtpt"), Value(IccTableOf(profile).at(0).signature));
                }
                // What is left is good for release, and harmless before it.
                IccRecordHolder read;
                read.Read(profile, "wtpt");
                Zv_GenerateICCPointer(profile);
                return !failed;
            });
            EXPECT_EQ(reads + 3, count) << "table, scratch block and data";
        }
    }
}

TEST(IccTagAllocations, HowFarADeletionCame) {
    for (int64_t n = 1; n <= 3; ++n) {
        SCOPED_TRACE(n);
        const HostScope host;
        IccProfileHolder profile(kHeader);
        const Bytes first = AddUnknown(profile, "cprt", 16, 1);
        AddUnknown(profile, "abcd", 20, 50);
        const Bytes third = AddUnknown(profile, "wtpt", 24, 100);
        FillProfileId(profile);
        host->FailAllocation(n);
        ASSERT_EQ(ERR_FAILURE, Zv_DeleteICCTag(profile, FourCc("abcd"), nullptr));
        EXPECT_EQ(2, Value(profile->tagCount));
        const std::vector<ClrIccTagEntry> table = IccTableOf(profile);
        ASSERT_EQ(2U, table.size());
        EXPECT_EQ(FourCc("cprt"), Value(table[0].signature));
        EXPECT_EQ(FourCc("wtpt"), Value(table[1].signature));
        EXPECT_EQ(168U, Value(table[0].offset)) << "offsets come last";
        EXPECT_EQ(204U, Value(table[1].offset));
        EXPECT_EQ(n == 1 ? 60U : 40U, Value(profile->tagDataSize));
        EXPECT_EQ(n == 1 ? 228U : 196U, Value(profile->header->size));
        if (n == 3) {
            EXPECT_EQ(first + third, IccTagDataOf(profile)) << "moved, and not yet shrunk";
        }
        EXPECT_EQ(Bytes(16, 0x77), BytesOf(profile->header->profileId, 16));
    }
}

TEST(IccTagAllocations, DeletingTheOnlyTagNeedsNone) {
    const HostScope host;
    IccProfileHolder profile(IccImageOf("wtpt", XyzBody(kD50)));
    host->FailAllocationsAbove(0);
    const int64_t before = host->AllocationsSinceReset();
    EXPECT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("wtpt"), nullptr));
    EXPECT_EQ(before, host->AllocationsSinceReset());
}

}  // namespace
}  // namespace zv::test
