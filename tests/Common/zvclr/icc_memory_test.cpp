// Converters by profiles without memory and with files that cannot be read.
#include <functional>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

/// One creation that is to fail in every way.
struct Creation {
    const char* name;
    int32_t source;
    int32_t destination;
    ClrParams params;
};

CmmTransform* ActiveTransform(const ClrHandle* c) {
    return c->activeMethod == CLRMETHOD_ICC ? c->iccTransform : c->customTransform;
}

enum class Fault { kMemory, kFile };

/// Every allocation or file access in turn. A profile whose tables cannot be read may still give a converter, one
/// without a transform.
void ExpectCleanFailures(HostScope& host, const Creation& creation, Fault fault) {
    SCOPED_TRACE(creation.name);
    ClrParams params = creation.params;
    const int32_t registered = RegisteredCount();
    const size_t held = host.Leaked();
    Bytes expected;
    {
        const Converter good(creation.source, creation.destination, &params);
        ASSERT_NE(nullptr, ActiveTransform(good.Get()));
        expected = creation.destination == CLRSPACE_YCCK ? Bytes() : ConvertSample(good.Get());
    }
    int64_t n = 1, codes = 0;
    for (bool failed = true; failed; ++n) {
        ASSERT_LT(n, 500) << "no end";
        params = creation.params;
        host->Reset();
        fault == Fault::kMemory ? host->FailAllocation(n) : host->FailFileAccess(n);
        ClrHandle* handle = nullptr;
        const int32_t result = Zv_ClrInit(&handle, creation.source, creation.destination, &params);
        failed = (fault == Fault::kMemory ? host->AllocationsSinceReset() : host->FileAccessesSinceReset()) >= n;
        fault == Fault::kMemory ? host->FailAllocation(0) : host->FailFileAccess(0);
        if (result == CLR_SUCCESS) {
            ASSERT_NE(nullptr, handle);
            EXPECT_EQ(registered + 1, RegisteredCount());
            if (!failed) {
                EXPECT_NE(nullptr, ActiveTransform(handle));
            }
            const Bytes pixels = SamplePixels(creation.source);
            Bytes out(pixels.size() * 2);
            const int32_t converted = Zv_ClrConvert(handle, pixels.data(), out.data(), 10, 1, 0, 0);
            EXPECT_EQ(ActiveTransform(handle) == nullptr ? ERR_INVALID_PARAMETER : CLR_SUCCESS, converted) << n;
            // After a seek that failed a colorant is read from where the file stands, so the bytes may be others.
            if (ActiveTransform(handle) != nullptr && !expected.empty() && fault == Fault::kMemory) {
                EXPECT_EQ(expected, ConvertSample(handle));
            }
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        } else if (result == ERR_PROFILE_UNUSABLE) {
            // The profiles opened and made no transform, and nothing else serves the pair. The unload takes what is
            // left.
            EXPECT_TRUE(failed);
            EXPECT_EQ(nullptr, handle);
            EXPECT_NE(0U, creation.params.methods & CLRMETHOD_CUSTOM_ICC);
            ASSERT_EQ(registered + 1, RegisteredCount());
            EXPECT_EQ(nullptr, FirstRegistered()->customTransform);
            ReleaseAllConverters();
        } else {
            EXPECT_TRUE(failed) << "a good creation failed with " << result;
            EXPECT_EQ(nullptr, handle);
            EXPECT_TRUE(result == ERR_PROFILE_LOAD || (fault == Fault::kMemory && result == ERR_NO_MEMORY)) << result;
            ++codes;
        }
        EXPECT_EQ(held, host.Leaked()) << n;
        EXPECT_EQ(registered, RegisteredCount()) << n;
    }
    EXPECT_GE(codes, fault == Fault::kMemory ? 5 : 2);
}

TEST(IccWithoutMemory, EveryPairOfTheBuiltinProfiles) {
    HostScope host;
    FullRecords records(CLRMETHOD_ICC, CLRMETHOD_ICC);
    for (const int32_t space : {2, 6, 7, 11}) {
        ExpectCleanFailures(host, {"from the hub", CLRSPACE_RGB, space, records.params}, Fault::kMemory);
        ExpectCleanFailures(host, {"to the hub", space, CLRSPACE_BGR, records.params}, Fault::kMemory);
    }
}

/// One transform takes the place of another while the converter is made.
TEST(IccWithoutMemory, EqualSpacesOfBothMethods) {
    HostScope host;
    const RecordingColours colours;
    FullRecords records(CLRMETHOD_ICC | CLRMETHOD_CUSTOM_ICC, CLRMETHOD_ICC);
    for (const int32_t space : {2, 7}) {
        ClrParams params = records.params;
        const int32_t registered = RegisteredCount();
        bool failed = true;
        for (int64_t n = 1; failed; ++n) {
            ASSERT_LT(n, 500);
            host->Reset();
            host->FailAllocation(n);
            ClrHandle* handle = nullptr;
            const int32_t result = Zv_ClrInit(&handle, space, space, &params);
            failed = host->AllocationsSinceReset() >= n;
            host->FailAllocation(0);
            if (result == CLR_SUCCESS) {
                EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
            } else {
                EXPECT_LT(result, 0);
            }
            EXPECT_EQ(0U, host.Leaked()) << n;
            EXPECT_EQ(registered, RegisteredCount()) << n;
        }
    }
}

class CustomFaults : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    MemoryProfile matrix_{GammaProfile(0x0200)};
    MemoryProfile gray_{GrayProfile(GammaBody(0x0180)).Build()};
    MemoryProfile press_{LutProfile("CMYK", "Lab ", 16, 2).Build()};
    MemoryProfile pressOfBytes_{LutProfile("CMYK", "Lab ", 8, 2).Build()};
    MemoryProfile lab_{LutProfile("Lab ", "Lab ", 16, 2).Build()};
    FullRecords records_{CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC};

    ClrParams InMemory(MemoryProfile& input, MemoryProfile& output) {
        ClrParams params = records_.params;
        params.inputProfileMemory = &input.record;
        params.outputProfileMemory = &output.record;
        return params;
    }
    ClrParams InFiles(const Wide& input, const Wide& output) {
        ClrParams params = records_.params;
        SetName(params.inputProfileName, input);
        SetName(params.outputProfileName, output);
        return params;
    }
};

TEST_F(CustomFaults, EveryAllocationWithProfilesInMemory) {
    const Creation kCreations[] = {
        {"two matrices", CLRSPACE_RGB, CLRSPACE_BGR, InMemory(matrix_, matrix_)},
        {"gray to matrix", CLRSPACE_BGR, CLRSPACE_RGB, InMemory(gray_, matrix_)},
        {"matrix to gray", CLRSPACE_RGB, CLRSPACE_BGR, InMemory(matrix_, gray_)},
        {"inks to matrix", CLRSPACE_CMYK, CLRSPACE_RGB, InMemory(press_, matrix_)},
        {"matrix to inks of bytes", CLRSPACE_BGR, CLRSPACE_CMYK, InMemory(matrix_, pressOfBytes_)},
        {"inks to inks", CLRSPACE_CMYK, CLRSPACE_CMYK, InMemory(pressOfBytes_, press_)},
        {"Lab to matrix", CLRSPACE_LAB, CLRSPACE_RGB, InMemory(lab_, matrix_)},
    };
    for (const Creation& creation : kCreations) ExpectCleanFailures(host_, creation, Fault::kMemory);
}

TEST_F(CustomFaults, EveryAllocationAndEveryAccessWithProfilesInFiles) {
    const Wide matrix = folder_.Write("matrix.icc", matrix_.bytes), press = folder_.Write("press.icc", press_.bytes);
    const Wide gray = folder_.Write("gray.icc", gray_.bytes), bytes = folder_.Write("bytes.icc", pressOfBytes_.bytes);
    const Creation kCreations[] = {
        {"two matrices", CLRSPACE_RGB, CLRSPACE_BGR, InFiles(matrix, matrix)},
        {"gray to matrix", CLRSPACE_BGR, CLRSPACE_RGB, InFiles(gray, matrix)},
        {"inks to matrix", CLRSPACE_CMYK, CLRSPACE_BGR, InFiles(press, matrix)},
        {"matrix to inks of bytes", CLRSPACE_RGB, CLRSPACE_CMYK, InFiles(matrix, bytes)},
        {"inks to a built-in profile", CLRSPACE_CMYK, CLRSPACE_RGB,
         InFiles(press, WideOf(folder_.Path() / "missing.icc"))},
    };
    for (const Creation& creation : kCreations) {
        ExpectCleanFailures(host_, creation, Fault::kMemory);
        ExpectCleanFailures(host_, creation, Fault::kFile);
    }
}

TEST_F(CustomFaults, EveryAllocationOfBothMethodsAtOnce) {
    ClrParams params = InMemory(press_, matrix_);
    params.methods |= CLRMETHOD_ICC;
    ExpectCleanFailures(host_, {"custom", CLRSPACE_CMYK, CLRSPACE_RGB, params}, Fault::kMemory);
}

TEST_F(CustomFaults, NoMemoryForABlockOfThatSize) {
    ClrParams params = InMemory(matrix_, matrix_);
    host_->FailAllocationsAbove(matrix_.bytes.size() - 1);
    EXPECT_EQ(ERR_NO_MEMORY, FailingInit(CLRSPACE_RGB, CLRSPACE_BGR, &params));
    EXPECT_EQ(0U, host_.Leaked());
    EXPECT_EQ(0, RegisteredCount());
}

// --- Records that stop the creation once the transforms stand -------------------------------------------------------

TEST_F(CustomFaults, UnreadableRecordsLeaveTheConverterWithItsTransformsToTheUnload) {
    const GuardedBuffer page(8);
    ClrParams cmyk = InMemory(press_, matrix_), lab = InMemory(lab_, matrix_), size = cmyk;
    for (ClrParams* params : {&cmyk, &lab, &size}) params->methods |= CLRMETHOD_ICC;
    cmyk.cmykParams = reinterpret_cast<ClrCmykParams*>(page.Data());
    lab.labParams = reinterpret_cast<ClrLabParams*>(page.Data());
    records_.cmyk.size = 11;
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &cmyk));
    EXPECT_EQ(1, RegisteredCount());
    EXPECT_NE(nullptr, FirstRegistered()->iccTransform);
    EXPECT_NE(nullptr, FirstRegistered()->customTransform);
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &lab));
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &size));
    EXPECT_EQ(3, RegisteredCount());
    ReleaseAllConverters();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(CustomFaults, OtherWrongSizesTakeTheTransformsBack) {
    ClrParams lab = InMemory(lab_, matrix_);
    lab.methods |= CLRMETHOD_ICC;
    records_.lab.size = 31;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &lab));
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(CustomFaults, UnloadReleasesConvertersWithTransforms) {
    ClrParams params = InMemory(press_, matrix_);
    params.methods |= CLRMETHOD_ICC;
    ClrHandle* handle = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, CLRSPACE_CMYK, CLRSPACE_RGB, &params));
    ReleaseAllConverters();
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(handle));
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(CustomFaults, FilesAreClosedWhenTheConverterGoes) {
    const Wide matrix = folder_.Write("matrix.icc", matrix_.bytes);
    ClrParams params = InFiles(matrix, matrix);
    {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        EXPECT_NE(nullptr, c->customTransform);
    }
    EXPECT_TRUE(std::filesystem::remove(std::filesystem::path(matrix)));
#ifdef __linux__
    const auto openFiles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = openFiles();
    const Wide press = folder_.Write("press.icc", press_.bytes), cut = folder_.Write("cut.icc", Bytes(140));
    for (const Wide& output : {press, cut, WideOf(folder_.Path())}) {
        ClrParams failing = InFiles(press, output);
        EXPECT_LT(FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &failing), 0);
    }
    EXPECT_EQ(before, openFiles());
#endif
}

}  // namespace
}  // namespace zv::test
