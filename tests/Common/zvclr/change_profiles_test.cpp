// Changes of the caller's profiles: by the active method of the record, and by the mask.
#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {
namespace {

class ChangeProfiles : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};
    MemoryProfile press_{LutProfile("CMYK", "Lab ", 16, 2).Build()};
    MemoryProfile lab_{LutProfile("Lab ", "Lab ", 16, 2).Build()};
    const Wide linearFile_ = folder_.Write("linear.icc", linear_.bytes);
    const Wide steepFile_ = folder_.Write("steep.icc", steep_.bytes);
    const Wide missingFile_ = WideOf(folder_.Path() / "missing.icc");

    static Bytes Through(MemoryProfile& input, MemoryProfile& output, int32_t source = 0, int32_t destination = 12) {
        return SampleThrough(source, destination, CustomParams(&input, &output));
    }
    /// By names.
    static ClrParams Named(uint32_t mask, const Wide& input, const Wide& output) {
        ClrParams params = ChangeOf(mask);
        SetName(params.inputProfileName, input);
        SetName(params.outputProfileName, output);
        return params;
    }
    /// The record's method alone, with an empty mask.
    static ClrParams Replacing(MemoryProfile* input, MemoryProfile* output) {
        ClrParams params = ChangeOf(0);
        params.activeMethod = CLRMETHOD_CUSTOM_ICC;
        if (input != nullptr) params.inputProfileMemory = &input->record;
        if (output != nullptr) params.outputProfileMemory = &output->record;
        return params;
    }
    static void ExpectNothingToConvertBy(const Converter& c) {
        EXPECT_EQ(nullptr, c->customTransform);
        const Converted out = ConvertPixels(c, Bytes(64), 4);
        EXPECT_EQ(ERR_INVALID_PARAMETER, out.result);
        EXPECT_TRUE(IsUntouched(out.pixels));
    }
};

// --- The record's active method, without colour management of the platform -------------------------------------------

class ReplaceProfiles : public ChangeProfiles {};

TEST_F(ReplaceProfiles, EmptyMaskIsEnough) {
    ClrParams params = CustomParams(&linear_, &steep_);
    params.methods |= CLRMETHOD_BUILTIN;
    params.activeMethod = CLRMETHOD_BUILTIN;
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_EQ(CLR_SUCCESS, Change(c, Replacing(&steep_, &linear_)));
    EXPECT_EQ(4U, c->methods);
    EXPECT_EQ(4U, c->activeMethod);
    EXPECT_EQ(nullptr, c->systemTransform);
    EXPECT_EQ(Through(steep_, linear_), ConvertSample(c.Get()));
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, ChangeMethod(c, CLRMETHOD_BUILTIN)) << "every other method is lost";
}

TEST_F(ReplaceProfiles, NoMethodNeedsToHaveBeenPrepared) {
    const Converter plain(CLRSPACE_RGB, CLRSPACE_BGR), copying(CLRSPACE_BGR, CLRSPACE_BGR);
    EXPECT_EQ(CLR_SUCCESS, Change(plain, Replacing(&linear_, &steep_)));
    EXPECT_EQ(CLR_SUCCESS, Change(copying, Replacing(&linear_, &steep_)));
    EXPECT_EQ(Through(linear_, steep_), ConvertSample(plain.Get()));
    EXPECT_EQ(Through(linear_, steep_, 12, 12), ConvertSample(copying.Get()));
    EXPECT_EQ(4U, copying->methods);
    EXPECT_EQ(4U, copying->activeMethod);
}

TEST_F(ReplaceProfiles, ProfilesInFiles) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR);
    ClrParams params = Named(0, linearFile_, steepFile_);
    params.activeMethod = CLRMETHOD_CUSTOM_ICC;
    EXPECT_EQ(CLR_SUCCESS, Change(c, params));
    EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
    EXPECT_EQ(linearFile_, NameOf(c->inputProfileName));
    EXPECT_EQ(steepFile_, NameOf(c->outputProfileName));
    // Memory goes before a name.
    params.inputProfileMemory = &steep_.record;
    EXPECT_EQ(CLR_SUCCESS, Change(c, params));
    EXPECT_EQ(Through(steep_, steep_), ConvertSample(c.Get()));
}

TEST_F(ReplaceProfiles, TheBitCountsAmongOthers) {
    for (const uint32_t method : {4U, 5U, 6U, 12U, 0x24U, 0x80000004U, 0xFFFFFFFFU}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR);
        ClrParams params = Replacing(&linear_, &steep_);
        params.activeMethod = method;
        EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << method;
        EXPECT_EQ(4U, c->activeMethod) << method;
        EXPECT_EQ(4U, c->methods) << method;
    }
    for (const uint32_t method : {0U, 1U, 2U, 3U, 8U, 16U, 32U, 0xFFFFFFFBU}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR);
        ClrParams params = Replacing(&linear_, &steep_);
        params.activeMethod = method;
        const Bytes before = FieldsOf(c);
        EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << method;
        EXPECT_EQ(before, FieldsOf(c)) << method;
    }
}

/// The method itself is tested before, and only as it stands alone.
TEST_F(ReplaceProfiles, MaskOfTheMethodIsTestedFirst) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR);
    ClrParams params = Replacing(&linear_, &steep_);
    params.methods = CLRPARAM_ACTIVE_METHOD;
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Change(c, params));
    EXPECT_EQ(nullptr, c->customTransform);
    EXPECT_EQ(1U, c->methods);
    params.activeMethod = 4 | 8;
    EXPECT_EQ(CLR_SUCCESS, Change(c, params));
    EXPECT_EQ(4U, c->activeMethod);
    EXPECT_EQ(4U, c->methods);
}

TEST_F(ReplaceProfiles, PairsThatAreNotServedAreLeftAlone) {
    const Nowhere nowhere;
    const auto served = [](int32_t space) {
        return space == 0 || space == 2 || space == 7 || space == 8 || space == 12;
    };
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (served(source) && served(destination)) continue;
            const Converter c(source, destination);
            const Bytes before = FieldsOf(c);
            ClrParams params = ChangeOf(0);
            nowhere.Fill(params);
            params.activeMethod = CLRMETHOD_CUSTOM_ICC;
            EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << source << " to " << destination;
            EXPECT_EQ(before, FieldsOf(c)) << source << " to " << destination;
        }
    }
}

/// Without profiles every served pair is refused, and keeps its methods.
TEST_F(ReplaceProfiles, ServedPairs) {
    constexpr int32_t kServed[] = {0, 2, 7, 8, 12};
    for (const int32_t source : kServed) {
        for (const int32_t destination : kServed) {
            const Converter c(source, destination);
            const Bytes before = FieldsOf(c);
            EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, Replacing(nullptr, nullptr))) << source << " to " << destination;
            EXPECT_EQ(before, FieldsOf(c));
        }
    }
    // The library's own engine has no format for these pixels.
    const Converter toXyz(CLRSPACE_RGB, CLRSPACE_XYZ), fromXyz(CLRSPACE_XYZ, CLRSPACE_LAB);
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(toXyz, Replacing(&linear_, &steep_)));
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(fromXyz, Replacing(&linear_, &lab_)));
    EXPECT_EQ(nullptr, toXyz->customTransform);
    EXPECT_EQ(nullptr, fromXyz->customTransform);
    EXPECT_EQ(1U, toXyz->methods);
}

/// There the profiles are only tried.
TEST_F(ReplaceProfiles, TwoStepsThroughTheHubGoOnAsTheyDid) {
    const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB);
    ClrParams params = CustomParams(&press_, &lab_);
    const Converter prepared(CLRSPACE_CMYK, CLRSPACE_LAB, &params);
    const Bytes before = ConvertSample(c.Get());
    for (const Converter* changed : {&c, &prepared}) {
        const uint32_t source = (*changed)->sourceFormat, destination = (*changed)->destinationFormat;
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(CLR_SUCCESS, Change(*changed, Replacing(&press_, &lab_)));
            EXPECT_NE(nullptr, (*changed)->customTransform);
            EXPECT_EQ(4U, (*changed)->methods);
            EXPECT_EQ(4U, (*changed)->activeMethod);
            EXPECT_EQ(source, (*changed)->sourceFormat);
            EXPECT_EQ(destination, (*changed)->destinationFormat);
            EXPECT_EQ(before, ConvertSample(changed->Get()));
        }
    }
    EXPECT_EQ(2U, prepared->sourceFormat);
    EXPECT_EQ(7U, prepared->destinationFormat);
    // Profiles of other spaces, and one side alone.
    for (const ClrParams& refused :
         {Replacing(&lab_, &press_), Replacing(&press_, &steep_), Replacing(&press_, nullptr)}) {
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(prepared, refused));
        EXPECT_EQ(nullptr, prepared->customTransform);
        EXPECT_EQ(2U, prepared->sourceFormat);
        EXPECT_EQ(7U, prepared->destinationFormat);
        EXPECT_EQ(before, ConvertSample(prepared.Get()));
    }
}

TEST_F(ReplaceProfiles, RefusalsLeaveNoTransform) {
    MemoryProfile none(Bytes(300)), empty(linear_.bytes);
    empty.record.dataSize = 0;
    const Wide noneFile = folder_.Write("none.icc", none.bytes);
    const auto named = [](const Wide& input, const Wide& output) {
        ClrParams params = Named(CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE, input, output);
        params.activeMethod = CLRMETHOD_CUSTOM_ICC;
        return params;
    };
    const ClrParams kRefused[] = {
        Replacing(&linear_, nullptr), Replacing(nullptr, &linear_),    Replacing(&none, &linear_),
        Replacing(&linear_, &none),   Replacing(&press_, &linear_),    Replacing(&empty, &linear_),
        Replacing(&linear_, &empty),  named(missingFile_, steepFile_), named(noneFile, steepFile_),
        named(linearFile_, noneFile), named({}, steepFile_),           named(linearFile_, {}),
    };
    for (const ClrParams& refused : kRefused) {
        SCOPED_TRACE(&refused - kRefused);
        ClrParams params = CustomParams(&linear_, &steep_);
        params.methods |= CLRMETHOD_BUILTIN;
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        ClrParams change = refused;
        SetName(change.emulationTableName, {ZvChar{'t'}});
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, change));
        EXPECT_EQ(5U, c->methods);
        EXPECT_EQ(4U, c->activeMethod);
        EXPECT_EQ(0, c->emulationTableName[0]) << "nothing comes after a refusal";
        ExpectNothingToConvertBy(c);
        EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_BUILTIN));
        EXPECT_EQ(CLR_SUCCESS, ConvertPixels(c, Bytes(64), 4).result);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Replacing(&linear_, &steep_))) << "a good change mends it";
        EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
    }
}

TEST_F(ReplaceProfiles, MemoryThatCannotBeRead) {
    const Nowhere nowhere;
    ClrProfileMemory unreadable{20, nowhere.As<void>(), 100};
    for (ClrProfileMemory* bad : {nowhere.As<ClrProfileMemory>(), &unreadable}) {
        for (const bool onInput : {true, false}) {
            ClrParams params = CustomParams(&linear_, &steep_);
            const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
            const Bytes before = FieldsOf(c);
            ClrParams change = Replacing(&steep_, &linear_);
            (onInput ? change.inputProfileMemory : change.outputProfileMemory) = bad;
            EXPECT_EQ(ERR_BAD_POINTER, Change(c, change));
            EXPECT_EQ(before, FieldsOf(c)) << "the transform stays";
            EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
        }
    }
}

/// Release goes by the methods, of which one is left.
TEST_F(ReplaceProfiles, WhatOtherMethodsHadBuiltStaysBehind) {
    const auto blocksOf = [&](uint32_t methods) {
        const size_t before = host_.Leaked();
        ClrParams params = MakeParams(methods, CLRMETHOD_BUILTIN);
        const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
        return host_.Leaked() - before;
    };
    const size_t transform = blocksOf(1 | 2) - blocksOf(1);
    ASSERT_GT(transform, 3U);
    size_t held = 0;
    {
        ClrParams params = MakeParams(1 | 2 | 8 | 16, 2);
        SetName(params.emulationTableName, folder_.Write("lab.tif", LabTableFile(LabTable(1))));
        const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
        EXPECT_NE(nullptr, c->builtinEmulationTable);
        EXPECT_NE(nullptr, c->customEmulationTable);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Replacing(&linear_, &lab_)));
        EXPECT_NE(nullptr, c->iccTransform);
        EXPECT_EQ(Through(linear_, lab_, 0, 7), ConvertSample(c.Get()));
        held = host_.Leaked();
    }
    EXPECT_LT(host_.Leaked(), held);
    // The transform, the table in use and the block that its reading lost.
    EXPECT_EQ(transform + 2, host_.Leaked());
    host_.ExpectLeaked(transform + 2);
}

TEST_F(ReplaceProfiles, CopiesOfTheCallersProfilesAreReplaced) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const size_t blocks = host_.Leaked();
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(CLR_SUCCESS, Change(c, Replacing(&steep_, &linear_)));
        EXPECT_EQ(blocks, host_.Leaked());
    }
    EXPECT_EQ(steep_.bytes.size(), uint64_t{c->inputProfileMemory->dataSize});
    // A white works on the profiles in force.
    ClrWhitePoint white{65, 0, 0};
    ClrParams change = ChangeOf(CLRPARAM_WHITE_POINT);
    change.whitePoint = &white;
    change.outputProfileMemory = &linear_.record;
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    EXPECT_EQ(Through(steep_, linear_), ConvertSample(c.Get()));
}

/// Names take the place of profiles in memory, also for the changes that follow.
TEST_F(ReplaceProfiles, NamesReplaceTheCopies) {
    ClrParams params = CustomParams(&steep_, &linear_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    ClrParams named = Named(0, linearFile_, steepFile_);
    named.activeMethod = CLRMETHOD_CUSTOM_ICC;
    EXPECT_EQ(CLR_SUCCESS, Change(c, named));
    EXPECT_EQ(nullptr, c->inputProfileMemory);
    EXPECT_EQ(nullptr, c->outputProfileMemory);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, {50, 0.0, 0.0}));
    EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, steepFile_, steepFile_)));
    EXPECT_EQ(Through(steep_, steep_), ConvertSample(c.Get()));
    // An output file that is missing means the built-in profile, and no name or copy of before.
    named = Named(0, linearFile_, missingFile_);
    named.activeMethod = CLRMETHOD_CUSTOM_ICC;
    EXPECT_EQ(CLR_SUCCESS, Change(c, named));
    EXPECT_EQ(Wide(), NameOf(c->outputProfileName));
    const Bytes builtin = ConvertSample(c.Get());
    EXPECT_NE(Through(linear_, steep_), builtin);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, {50, 0.0, 0.0}));
    EXPECT_EQ(builtin, ConvertSample(c.Get()));
}

TEST_F(ReplaceProfiles, WhiteOfTheSameCallIsUsed) {
    ClrParams params = CustomParams(&linear_, &lab_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    ASSERT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_CUSTOM_EMULATION));
    c->activeMethod = CLRMETHOD_BUILTIN;
    ClrWhitePoint white{93, 0, 0};
    ClrParams change = Replacing(&steep_, &lab_);
    change.methods = CLRPARAM_WHITE_POINT;
    change.whitePoint = &white;
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    ClrParams created = CustomParams(&steep_, &lab_);
    created.whitePoint = &white;
    EXPECT_EQ(SampleThrough(CLRSPACE_RGB, CLRSPACE_LAB, created), ConvertSample(c.Get()));
}

/// White, then the replacement, then the names: what is refused ends the change.
TEST_F(ReplaceProfiles, ComesBetweenTheWhiteAndTheNames) {
    const Converter white(CLRSPACE_RGB, CLRSPACE_BGR);
    ClrParams change = Replacing(&linear_, &steep_);
    change.methods = CLRPARAM_WHITE_POINT;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(white, change)) << "there is no white";
    EXPECT_EQ(1U, white->methods);
    EXPECT_EQ(nullptr, white->customTransform);

    const Converter names(CLRSPACE_RGB, CLRSPACE_BGR);
    change = Named(CLRPARAM_PROFILES, missingFile_, steepFile_);
    change.activeMethod = CLRMETHOD_CUSTOM_ICC;
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(names, change));
    EXPECT_EQ(0, names->inputProfileName[0]);
    EXPECT_EQ(0, names->outputProfileName[0]);
}

// --- Names by the mask ----------------------------------------------------------------------------------------------

TEST_F(ChangeProfiles, BothNamesAreTakenAndTheTransformIsMadeAgain) {
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linearFile_);
    SetName(params.outputProfileName, steepFile_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const size_t blocks = host_.Leaked();
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, steepFile_, linearFile_)));
    EXPECT_EQ(steepFile_, NameOf(c->inputProfileName));
    EXPECT_EQ(linearFile_, NameOf(c->outputProfileName));
    EXPECT_EQ(Through(steep_, linear_), ConvertSample(c.Get()));
    EXPECT_EQ(blocks, host_.Leaked());
}

TEST_F(ChangeProfiles, FilesThatDoNotExistMakeNoTransformAndNoError) {
    ClrParams params = CustomParams(&linear_, &steep_);
    params.inputProfileMemory = params.outputProfileMemory = nullptr;
    SetName(params.inputProfileName, linearFile_);
    SetName(params.outputProfileName, steepFile_);
    for (const auto& [input, output] :
         {std::pair{missingFile_, steepFile_}, {linearFile_, missingFile_}, {Wide(), steepFile_}, {Wide(), Wide()}}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, input, output)));
        EXPECT_EQ(input, NameOf(c->inputProfileName));
        EXPECT_EQ(output, NameOf(c->outputProfileName));
        ExpectNothingToConvertBy(c);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, linearFile_, steepFile_)));
        EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
    }
}

TEST_F(ChangeProfiles, EmptyOutputNameIsTheBuiltinProfile) {
    const ClrResource resource = FindClrResource(ZV_WIDE("ICM"), 105);
    MemoryProfile builtin(Bytes(resource.data, resource.data + resource.size));
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linearFile_);
    SetName(params.outputProfileName, steepFile_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, linearFile_, {})));
    EXPECT_EQ(Through(linear_, builtin), ConvertSample(c.Get()));
}

TEST_F(ChangeProfiles, NamesAreCutAndNotLookedAt) {
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linearFile_);
    SetName(params.outputProfileName, steepFile_);
    for (const size_t length : {258U, 259U, 260U, 263U, 264U}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        EXPECT_EQ(CLR_SUCCESS,
                  Change(c, Named(CLRPARAM_PROFILES, Wide(length, ZvChar{'x'}), Wide(length, ZvChar{'y'}))));
        EXPECT_EQ(Wide(std::min<size_t>(length, 259), ZvChar{'x'}), NameOf(c->inputProfileName)) << length;
        EXPECT_EQ(Wide(std::min<size_t>(length, 259), ZvChar{'y'}), NameOf(c->outputProfileName)) << length;
        ExpectNothingToConvertBy(c);
    }
    // A shorter one leaves nothing of the longer one behind its end.
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, Wide(264, ZvChar{'x'}), steepFile_)));
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, linearFile_, steepFile_)));
    EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
}

TEST_F(ChangeProfiles, FilesAreReadByTheCutNames) {
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linearFile_);
    SetName(params.outputProfileName, steepFile_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const Wide steep = LongName(folder_, "steep.icc"), linear = LongName(folder_, "linear.icc");
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, steep + Wide(4, ZvChar{'x'}), linear + Wide(5, 'x'))));
    EXPECT_EQ(steep, NameOf(c->inputProfileName));
    EXPECT_EQ(linear, NameOf(c->outputProfileName));
    EXPECT_EQ(Through(steep_, linear_), ConvertSample(c.Get()));
}

TEST_F(ChangeProfiles, FilesThatAreNoProfileOrOfAnotherSpace) {
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linearFile_);
    SetName(params.outputProfileName, steepFile_);
    const Wide none = folder_.Write("none.icc", Bytes(300)), press = folder_.Write("press.icc", press_.bytes);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    ClrParams change = Named(CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE, none, steepFile_);
    SetName(change.emulationTableName, {ZvChar{'t'}});
    EXPECT_EQ(ERR_PROFILE_LOAD, Change(c, change));
    EXPECT_EQ(none, NameOf(c->inputProfileName));
    EXPECT_EQ(0, c->emulationTableName[0]) << "the table comes later";
    ExpectNothingToConvertBy(c);
    EXPECT_EQ(ERR_PROFILE_LOAD, Change(c, Named(CLRPARAM_PROFILES, linearFile_, none)));
    EXPECT_EQ(ERR_TRANSFORM_CREATE, Change(c, Named(CLRPARAM_PROFILES, press, steepFile_)));
    ExpectNothingToConvertBy(c);
}

TEST_F(ChangeProfiles, CopiesInMemoryGoBeforeTheNewNames) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const size_t blocks = host_.Leaked();
    // The record has no profiles in memory: the copies' own sizes serve.
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, steepFile_, missingFile_)));
    EXPECT_EQ(steepFile_, NameOf(c->inputProfileName));
    EXPECT_EQ(missingFile_, NameOf(c->outputProfileName));
    EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
    // Nor does it matter what it has.
    ClrParams change = Named(CLRPARAM_PROFILES, {}, {});
    const Nowhere nowhere;
    nowhere.Fill(change);
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    EXPECT_EQ(Through(linear_, steep_), ConvertSample(c.Get()));
    EXPECT_EQ(blocks, host_.Leaked());
}

TEST_F(ChangeProfiles, OneSideInMemoryTakesTheOtherName) {
    ClrParams params = CustomParams(&linear_, nullptr);
    SetName(params.outputProfileName, steepFile_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, steepFile_, linearFile_)));
    EXPECT_EQ(Through(linear_, linear_), ConvertSample(c.Get()));
}

TEST_F(ChangeProfiles, StoredWhiteIsUsed) {
    ClrWhitePoint white{93, 0, 0};
    ClrParams params = CustomParams(&linear_, &lab_);
    params.whitePoint = &white;
    const Bytes expected = SampleThrough(CLRSPACE_RGB, CLRSPACE_LAB, params);
    params.whitePoint = nullptr;
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    ASSERT_NE(expected, ConvertSample(c.Get()));
    *c->whitePoint = white;
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, {}, {})));
    EXPECT_EQ(expected, ConvertSample(c.Get()));
}

TEST_F(ChangeProfiles, ConvertersWithoutFormatsKeepTheNames) {
    const Converter plain(CLRSPACE_RGB, CLRSPACE_BGR), copying(CLRSPACE_LAB, CLRSPACE_LAB),
        twoSteps(CLRSPACE_CMYK, CLRSPACE_LAB);
    const Wide none = folder_.Write("none.icc", Bytes(300));
    const size_t blocks = host_.Leaked();
    const struct {
        Wide input;
        Wide output;
        int32_t result;
    } cases[] = {{linearFile_, steepFile_, CLR_SUCCESS},   {missingFile_, steepFile_, CLR_SUCCESS},
                 {linearFile_, missingFile_, CLR_SUCCESS}, {{}, {}, CLR_SUCCESS},
                 {none, steepFile_, ERR_PROFILE_LOAD},     {linearFile_, none, ERR_PROFILE_LOAD},
                 {linearFile_, {}, ERR_PROFILE_LOAD}};  // no format, no built-in profile
    for (const auto& names : cases) {
        for (const Converter* c : {&plain, &copying, &twoSteps}) {
            const Bytes before = ConvertSample(c->Get());
            EXPECT_EQ(names.result, Change(*c, Named(CLRPARAM_PROFILES, names.input, names.output)));
            EXPECT_EQ(nullptr, (*c)->customTransform);
            EXPECT_EQ(names.input, NameOf((*c)->inputProfileName));
            EXPECT_EQ(names.output, NameOf((*c)->outputProfileName));
            EXPECT_EQ(before, ConvertSample(c->Get()));
        }
    }
    EXPECT_EQ(blocks, host_.Leaked());
}

/// The formats of the built-in profiles serve the caller's; but a method that is not among the converter's releases
/// nothing.
TEST_F(ChangeProfiles, TransformOfAMethodThatWasNotPreparedStaysBehind) {
    size_t before = 0;
    {
        ClrParams params = MakeParams(2, 2);
        const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
        const Bytes icc = ConvertSample(c.Get());
        before = host_.Leaked();
        const Wide lab = folder_.Write("lab.icc", lab_.bytes);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, linearFile_, lab)));
        EXPECT_EQ(CLR_SUCCESS, Change(c, Named(CLRPARAM_PROFILES, steepFile_, lab)));
        EXPECT_NE(nullptr, c->customTransform);
        before = host_.Leaked() - before;
        EXPECT_EQ(icc, ConvertSample(c.Get()));
        EXPECT_EQ(ERR_METHOD_UNAVAILABLE, ChangeMethod(c, CLRMETHOD_CUSTOM_ICC));
    }
    EXPECT_EQ(before, host_.Leaked()) << "one transform, not two";
    EXPECT_GT(before, 3U);
    host_.ExpectLeaked(before);
}

}  // namespace
}  // namespace zv::test
