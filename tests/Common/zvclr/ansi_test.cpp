// The operations for narrow strings: the wide ones must be given every field of the record, and the caller's own stays
// as it is.
#include <string>
#include <utility>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

/// The narrow encoding of the system.
std::string NarrowOf(const Wide& name) {
    char narrow[4 * CLR_NAME_LENGTH] = {};
    EXPECT_EQ(CLR_SUCCESS, Zv_W2A::Convert(name.c_str(), narrow, sizeof narrow));
    return narrow;
}

/// The closing zero only where it finds room.
void SetNarrow(char (&field)[CLR_NAME_LENGTH], const std::string& name) {
    const size_t length = std::min<size_t>(name.size(), CLR_NAME_LENGTH);
    std::copy_n(name.begin(), length, field);
    if (length < CLR_NAME_LENGTH) field[length] = 0;
}

/// Everything but the names. The size is one that nobody accepts.
ClrParamsA NarrowParams(const ClrParams& wide) {
    ClrParamsA narrow{};
    narrow.size = 99;
    narrow.activeMethod = wide.activeMethod;
    narrow.whitePoint = wide.whitePoint;
    narrow.inputProfileMemory = wide.inputProfileMemory;
    narrow.outputProfileMemory = wide.outputProfileMemory;
    narrow.cmykParams = wide.cmykParams;
    narrow.yuvParams = wide.yuvParams;
    narrow.labParams = wide.labParams;
    narrow.methods = wide.methods;
    narrow.emulationMethod = wide.emulationMethod;
    return narrow;
}

template <class T>
void ExpectSameRecords(const T* a, const T* b) {
    ASSERT_EQ(a == nullptr, b == nullptr);
    if (a == nullptr) return;
    EXPECT_NE(a, b);
    EXPECT_EQ(0, std::memcmp(a, b, sizeof(T)));
}

void ExpectSameProfiles(const ClrProfileMemory* a, const ClrProfileMemory* b) {
    ASSERT_EQ(a == nullptr, b == nullptr);
    if (a == nullptr) return;
    ASSERT_EQ(uint64_t{a->dataSize}, uint64_t{b->dataSize});
    EXPECT_EQ(0, std::memcmp(a->data, b->data, a->dataSize));
}

/// Two converters that were made from the same fields.
void ExpectSame(const ClrHandle* a, const ClrHandle* b) {
    EXPECT_EQ(a->sourceSpace, b->sourceSpace);
    EXPECT_EQ(a->destinationSpace, b->destinationSpace);
    EXPECT_EQ(a->activeMethod, b->activeMethod);
    EXPECT_EQ(a->methods, b->methods);
    EXPECT_EQ(a->route, b->route);
    ExpectSameRecords(a->whitePoint, b->whitePoint);
    ExpectSameRecords(a->cmykParams, b->cmykParams);
    ExpectSameRecords(a->yuvParams, b->yuvParams);
    ExpectSameProfiles(a->inputProfileMemory, b->inputProfileMemory);
    ExpectSameProfiles(a->outputProfileMemory, b->outputProfileMemory);
    EXPECT_EQ(a->labDecode == nullptr, b->labDecode == nullptr);
    EXPECT_EQ(Wide(a->inputProfileName), Wide(b->inputProfileName));
    EXPECT_EQ(Wide(a->outputProfileName), Wide(b->outputProfileName));
    EXPECT_EQ(Wide(a->emulationTableName), Wide(b->emulationTableName));
    EXPECT_EQ(a->iccTransform == nullptr, b->iccTransform == nullptr);
    EXPECT_EQ(a->customTransform == nullptr, b->customTransform == nullptr);
    EXPECT_EQ(a->builtinEmulationTable, b->builtinEmulationTable);
    EXPECT_EQ(a->customEmulationTable == nullptr, b->customEmulationTable == nullptr);
}

/// A converter of a narrow record; the record must come back as it was.
class NarrowConverter {
public:
    NarrowConverter(int32_t source, int32_t destination, const ClrParamsA& params) {
        const ClrParamsA before = params;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrInitA(&handle_, source, destination, &params));
        EXPECT_EQ(0, std::memcmp(&before, &params, sizeof params));
    }
    ~NarrowConverter() {
        if (handle_ != nullptr) {
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle_));
        }
    }
    NarrowConverter(const NarrowConverter&) = delete;
    NarrowConverter& operator=(const NarrowConverter&) = delete;
    ClrHandle* Get() const { return handle_; }
    ClrHandle* operator->() const { return handle_; }

private:
    ClrHandle* handle_ = nullptr;
};

int32_t FailingInitA(int32_t source, int32_t destination, const ClrParamsA& params) {
    uint8_t mark = 0;
    auto* const before = reinterpret_cast<ClrHandle*>(&mark);
    ClrHandle* receiver = before;
    const ClrParamsA copy = params;
    const int32_t result = Zv_ClrInitA(&receiver, source, destination, &params);
    EXPECT_EQ(before, receiver);
    EXPECT_EQ(0, std::memcmp(&copy, &params, sizeof params));
    return result;
}

class AnsiNames : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};
    const Wide linearFile_ = folder_.Write("linear.icc", linear_.bytes);
    const Wide steepFile_ = folder_.Write("steep.icc", steep_.bytes);

    /// By an input file and a profile in memory.
    ClrParamsA WithInput(const std::string& name) {
        ClrParamsA params = NarrowParams(CustomParams(nullptr, &steep_));
        SetNarrow(params.inputProfileName, name);
        return params;
    }
    Bytes Through(const ClrParamsA& params) {
        const NarrowConverter c(CLRSPACE_RGB, CLRSPACE_BGR, params);
        return c.Get() == nullptr ? Bytes() : ConvertSample(c.Get());
    }
    /// A name on each side in turn, the others good: whoever needs it finds no file.
    void ExpectNoFile(const std::string& name) {
        SCOPED_TRACE(::testing::PrintToString(name));
        EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(CLRSPACE_RGB, CLRSPACE_BGR, WithInput(name)));
        ClrParamsA output = NarrowParams(CustomParams(&linear_, nullptr));
        SetNarrow(output.outputProfileName, name);
        EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(CLRSPACE_RGB, CLRSPACE_BGR, output));
        EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(CLRSPACE_CMY, CLRSPACE_BGR, output));
        for (const int32_t source : {CLRSPACE_CMYK, CLRSPACE_YUV}) {
            ClrParamsA table = NarrowParams(MakeParams(CLRMETHOD_CUSTOM_EMULATION, CLRMETHOD_CUSTOM_EMULATION));
            SetNarrow(table.emulationTableName, name);
            EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(source, CLRSPACE_RGB, table));
        }
        EXPECT_EQ(0, RegisteredCount());
    }
    /// The same name on all sides, for converters that do not look at it.
    void ExpectNotNeeded(const std::string& name) {
        SCOPED_TRACE(::testing::PrintToString(name));
        for (const uint32_t method : {CLRMETHOD_BUILTIN, CLRMETHOD_ICC, CLRMETHOD_EMULATION}) {
            ClrParamsA params = NarrowParams(MakeParams(method, method));
            for (auto* field : {&params.inputProfileName, &params.outputProfileName, &params.emulationTableName}) {
                SetNarrow(*field, name);
            }
            const NarrowConverter c(CLRSPACE_RGB, CLRSPACE_LAB, params);
            EXPECT_EQ(method, c->activeMethod);
        }
        ClrParamsA inMemory = NarrowParams(CustomParams(&linear_, &steep_));
        const Bytes expected = Through(inMemory);
        for (auto* field : {&inMemory.inputProfileName, &inMemory.outputProfileName, &inMemory.emulationTableName}) {
            SetNarrow(*field, name);
        }
        EXPECT_EQ(expected, Through(inMemory)) << "memory goes before a name";
    }
    /// A name of exactly so many bytes for a file in the folder.
    std::string LongName(const std::string& file, size_t bytes) {
        std::string name = NarrowOf(WideOf(folder_.Path())) + "/";
        EXPECT_LT(name.size() + file.size(), bytes) << "the folder's own name is too long";
        if ((bytes - name.size() - file.size()) % 2 != 0) name += '/';
        while (name.size() + file.size() < bytes) name += "./";
        return name + file;
    }
};

// --- Every field ----------------------------------------------------------------------------------------------------

TEST_F(AnsiNames, RecordsOfEverySpace) {
    FullRecords records;
    for (const auto& [source, destination] : {std::pair(1, 7), std::pair(2, 0), std::pair(7, 12), std::pair(0, 1),
                                              std::pair(11, 2), std::pair(3, 3), std::pair(99, 99)}) {
        SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
        const Converter wide(source, destination, &records.params);
        const NarrowConverter narrow(source, destination, NarrowParams(records.params));
        ExpectSame(wide.Get(), narrow.Get());
    }
    const NarrowConverter inks(CLRSPACE_CMYK, CLRSPACE_RGB, NarrowParams(records.params));
    EXPECT_EQ(400, inks->cmykParams->gcrLevel);
    EXPECT_EQ(65U, inks->whitePoint->whiteCode);
    records.params.whitePoint = nullptr;
    const NarrowConverter plain(CLRSPACE_CMYK, CLRSPACE_RGB, NarrowParams(records.params));
    EXPECT_EQ(50U, plain->whitePoint->whiteCode);
}

TEST_F(AnsiNames, NamesAndProfilesOfEachSide) {
    ClrParams wide = MakeParams(CLRMETHOD_CUSTOM_ICC | CLRMETHOD_BUILTIN, CLRMETHOD_CUSTOM_ICC);
    ClrParamsA narrow = NarrowParams(wide);
    SetName(wide.inputProfileName, linearFile_);
    SetNarrow(narrow.inputProfileName, NarrowOf(linearFile_));
    SetName(wide.outputProfileName, steepFile_);
    SetNarrow(narrow.outputProfileName, NarrowOf(steepFile_));
    for (int memory = 0; memory < 4; ++memory) {
        SCOPED_TRACE(memory);
        wide.inputProfileMemory = narrow.inputProfileMemory = (memory & 1) != 0 ? &steep_.record : nullptr;
        wide.outputProfileMemory = narrow.outputProfileMemory = (memory & 2) != 0 ? &linear_.record : nullptr;
        const Converter a(CLRSPACE_RGB, CLRSPACE_BGR, &wide);
        const NarrowConverter b(CLRSPACE_RGB, CLRSPACE_BGR, narrow);
        ASSERT_NE(nullptr, b->customTransform);
        ExpectSame(a.Get(), b.Get());
        EXPECT_EQ(memory & 1 ? Wide() : linearFile_, Wide(b->inputProfileName));
        EXPECT_EQ(memory & 2 ? Wide() : steepFile_, Wide(b->outputProfileName));
        EXPECT_EQ(ConvertSample(a.Get()), ConvertSample(b.Get()));
    }
}

TEST_F(AnsiNames, EmulationFields) {
    ClrParams wide = MakeParams(CLRMETHOD_EMULATION, CLRMETHOD_EMULATION);
    const NarrowConverter builtin(CLRSPACE_CMYK, CLRSPACE_RGB, NarrowParams(wide));
    EXPECT_NE(nullptr, builtin->builtinEmulationTable);
    wide.emulationMethod = 7;
    EXPECT_EQ(ERR_INVALID_PARAMETER, FailingInitA(CLRSPACE_CMYK, CLRSPACE_RGB, NarrowParams(wide)));

    wide = MakeParams(CLRMETHOD_CUSTOM_EMULATION, CLRMETHOD_CUSTOM_EMULATION);
    ClrParamsA narrow = NarrowParams(wide);
    EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(CLRSPACE_RGB, CLRSPACE_YUV, narrow));
    SetNarrow(narrow.emulationTableName, NarrowOf(linearFile_));
    SetName(wide.emulationTableName, linearFile_);
    const Converter a(CLRSPACE_RGB, CLRSPACE_YUV, &wide);
    const NarrowConverter b(CLRSPACE_RGB, CLRSPACE_YUV, narrow);
    ExpectSame(a.Get(), b.Get());
}

TEST_F(AnsiNames, CodesComeBackAsTheyAre) {
    FullRecords records(CLRMETHOD_BUILTIN, CLRMETHOD_ICC);
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInitA(0, 1, NarrowParams(records.params)));
    records.params.activeMethod = CLRMETHOD_BUILTIN;
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInitA(0, 99, NarrowParams(records.params)));
    records.yuv.size = 43;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInitA(1, 0, NarrowParams(records.params)));
    const ClrParamsA good = NarrowParams(MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrInitA(nullptr, 0, 1, &good));
}

// --- The record itself ----------------------------------------------------------------------------------------------

TEST_F(AnsiNames, NullRecordStaysNull) {
    ClrHandle* c = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInitA(&c, CLRSPACE_RGB, CLRSPACE_YUV, nullptr));
    EXPECT_EQ(nullptr, c->whitePoint) << "a converter without a record has none";
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParamsA(c, nullptr));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrInitA(nullptr, CLRSPACE_RGB, CLRSPACE_YUV, nullptr));
}

TEST_F(AnsiNames, RecordThatCannotBeRead) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    GuardedBuffer page(sizeof(ClrParamsA));
    auto* const placed = PlaceAt(page.Data(), NarrowParams(MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN)));
    { const NarrowConverter exact(CLRSPACE_RGB, CLRSPACE_YUV, *placed); }
    ClrHandle* receiver = nullptr;
    const auto* beyond = reinterpret_cast<const ClrParamsA*>(page.Data() + 8);
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrInitA(&receiver, CLRSPACE_RGB, CLRSPACE_YUV, beyond));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrInitA(&receiver, CLRSPACE_RGB, CLRSPACE_RGB, beyond));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParamsA(c.Get(), beyond));
    page.MakeUnreadable();
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrInitA(&receiver, CLRSPACE_RGB, CLRSPACE_YUV, placed));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParamsA(c.Get(), placed));
    EXPECT_EQ(nullptr, receiver);
}

TEST_F(AnsiNames, RecordIsNeverWritten) {
    GuardedBuffer page(sizeof(ClrParamsA));
    auto* const placed = PlaceAt(page.Data(), NarrowParams(MakeParams(CLRMETHOD_AUTOMATIC, CLRMETHOD_AUTOMATIC)));
    page.MakeReadOnly();
    const NarrowConverter chosen(CLRSPACE_RGB, CLRSPACE_CMYK, *placed);
    EXPECT_EQ(uint32_t{CLRMETHOD_ICC}, chosen->activeMethod) << "the choice was made";
    EXPECT_EQ(99U, placed->size);
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInitA(CLRSPACE_RGB, CLRSPACE_YUV, *placed));
    FullRecords records(CLRMETHOD_AUTOMATIC, CLRMETHOD_AUTOMATIC);
    records.lab.size = 31;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInitA(CLRSPACE_RGB, CLRSPACE_LAB, NarrowParams(records.params)))
        << "where the wide record stays changed";
}

// --- Names ----------------------------------------------------------------------------------------------------------

TEST_F(AnsiNames, NamesOf259CharactersAreTheLongest) {
    const Bytes expected = Through(WithInput(NarrowOf(linearFile_)));
    EXPECT_EQ(expected, Through(WithInput(LongName("linear.icc", 259))));
    for (const size_t length : {260U, 263U, 264U}) {
        EXPECT_EQ(ERR_FILE_NOT_FOUND,
                  FailingInitA(CLRSPACE_RGB, CLRSPACE_BGR, WithInput(LongName("linear.icc", length))))
            << length;
    }
}

TEST_F(AnsiNames, UnendedNamesAreNeverReadBehindTheirField) {
    // What follows the names would end none of them.
    const GuardedBuffer page(sizeof(ClrParamsA));
    ClrParamsA params{};
    std::memset(&params, 'x', sizeof params);
    params.activeMethod = CLRMETHOD_CUSTOM_ICC;
    params.methods = 0x01010104;
    params.whitePoint = nullptr;
    params.inputProfileMemory = params.outputProfileMemory = nullptr;
    EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(CLRSPACE_XYZ, CLRSPACE_BGR, *PlaceAt(page.Data(), params)));
    params.activeMethod = CLRMETHOD_CUSTOM_EMULATION;
    params.methods = 0x01010110;
    EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInitA(CLRSPACE_XYZ, CLRSPACE_BGR, *PlaceAt(page.Data(), params)));

    const Converter c(CLRSPACE_RGB, CLRSPACE_HSV);
    params.methods = CLRPARAM_EMULATION_FILE;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(c.Get(), PlaceAt(page.Data(), params)));
    EXPECT_EQ(Wide(259, ZvChar{'x'}), Wide(c->emulationTableName)) << "cut";
}

TEST_F(AnsiNames, UnendedNamesLeadToNoFileOnAnySide) { ExpectNoFile(std::string(264, 'x')); }

TEST_F(AnsiNames, UnendedNamesNeverReachThePlatform) {
    RecordingColours colours;
    for (const bool onInput : {true, false}) {
        ClrParamsA params = NarrowParams(CustomParams(nullptr, nullptr));
        SetNarrow(params.inputProfileName, "in.icc");
        SetNarrow(params.outputProfileName, "out.icc");
        SetNarrow(onInput ? params.inputProfileName : params.outputProfileName, std::string(264, 'x'));
        colours.Forget();
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, FailingInitA(CLRSPACE_CMYK, CLRSPACE_LAB, params));
        ASSERT_EQ("open close", colours.Order());
        EXPECT_EQ(onInput ? u"out.icc" : u"in.icc", colours.Calls()[0].name);
    }
    ReleaseAllConverters();
}

TEST_F(AnsiNames, BadNamesThatNoMethodNeeds) { ExpectNotNeeded(std::string(264, 'x')); }

TEST_F(AnsiNames, BeyondTheSmallAlphabet) {
    // In the system's own narrow encoding, whatever that is.
    const std::filesystem::path path =
        folder_.Path() / std::filesystem::path(std::u16string(u"\u00e4\u00e9\u00fc.icc"));
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(linear_.bytes.data()), static_cast<std::streamsize>(linear_.bytes.size()));
    const std::string narrow = NarrowOf(WideOf(path));
    ASSERT_EQ(std::string::npos, narrow.find('?')) << "the system's code page has no such letters";
#ifndef _WIN32
    EXPECT_EQ("\xC3\xA4\xC3\xA9\xC3\xBC.icc", narrow.substr(narrow.size() - 10));
#endif
    const Bytes expected = Through(WithInput(NarrowOf(linearFile_)));
    EXPECT_EQ(expected, Through(WithInput(narrow)));
    const NarrowConverter c(CLRSPACE_RGB, CLRSPACE_BGR, WithInput(narrow));
    EXPECT_EQ(WideOf(path), Wide(c->inputProfileName));
}

#ifndef _WIN32
TEST_F(AnsiNames, CharactersAreCountedAndNotBytes) {
    const Bytes expected = Through(WithInput(NarrowOf(linearFile_)));
    // 11 letters of three bytes each: 263 bytes are 241 characters.
    std::string letters;
    for (int i = 0; i < 11; ++i) letters += "\xE6\x97\xA5";
    const std::filesystem::path path = folder_.Path() / (letters + ".icc");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(linear_.bytes.data()), static_cast<std::streamsize>(linear_.bytes.size()));
    EXPECT_EQ(expected, Through(WithInput(LongName(letters + ".icc", 263))));
    const std::filesystem::path painted = folder_.Path() / "\xF0\x9F\x8E\xA8.icc";
    std::filesystem::copy_file(path, painted);
    EXPECT_EQ(expected, Through(WithInput(painted.string()))) << "two 16-bit units";
}

TEST_F(AnsiNames, WhatIsNoUtf8LeadsToNoFileOnAnySide) {
    const std::string folder = NarrowOf(WideOf(folder_.Path())) + "/";
    for (const char* bad : {"\xFF.icc", "a\x80", "\xC3(", "\xE6\x97", "\xED\xA0\x80", "\xC0\xAF", "\xF5\x80\x80\x80"}) {
        ExpectNoFile(bad);
        ExpectNoFile(folder + bad);
        ExpectNotNeeded(folder + bad);
    }
    ExpectNoFile(NarrowOf(linearFile_) + "\xFF");
    // The field's end cuts a letter in two.
    ExpectNoFile(std::string(262, 'x') + "\xC3\xA4");
    ExpectNoFile(std::string(261, 'x') + "\xE6\x97\xA5");
}

TEST_F(AnsiNames, ChangesCutWhatIsNoUtf8) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_HSV);
    ClrParamsA change = NarrowParams(MakeParams(CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE, 0));
    SetNarrow(change.inputProfileName, NarrowOf(linearFile_) + "\xFF");
    SetNarrow(change.outputProfileName, "\xC3(");
    SetNarrow(change.emulationTableName, std::string(262, 'x') + "\xC3\xA4");
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(c.Get(), &change));
    for (const ZvChar* name : {c->inputProfileName, c->outputProfileName, c->emulationTableName}) {
        EXPECT_EQ(259U, Wide(name).size());
        EXPECT_EQ(0, ClrFileExists(name));
    }
}
#endif

// --- Changes --------------------------------------------------------------------------------------------------------

TEST_F(AnsiNames, ChangesReachTheConverter) {
    ClrParams creation = CustomParams(&linear_, &linear_);
    creation.inputProfileMemory = creation.outputProfileMemory = nullptr;
    creation.methods |= CLRMETHOD_BUILTIN;
    SetName(creation.inputProfileName, linearFile_);
    SetName(creation.outputProfileName, linearFile_);
    const Converter wide(CLRSPACE_RGB, CLRSPACE_BGR, &creation), narrow(CLRSPACE_RGB, CLRSPACE_BGR, &creation);
    ClrWhitePoint white{93, 0.25, 0.5};
    ClrParams change = MakeParams(CLRPARAM_WHITE_POINT | CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE, 0);
    change.whitePoint = &white;
    ClrParamsA narrowChange = NarrowParams(change);
    SetName(change.inputProfileName, steepFile_);
    SetNarrow(narrowChange.inputProfileName, NarrowOf(steepFile_));
    SetName(change.outputProfileName, linearFile_);
    SetNarrow(narrowChange.outputProfileName, NarrowOf(linearFile_));
    SetName(change.emulationTableName, steepFile_);
    SetNarrow(narrowChange.emulationTableName, NarrowOf(steepFile_));
    const ClrParamsA before = narrowChange;
    const Bytes unchanged = ConvertSample(narrow.Get());
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(wide.Get(), &change));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(narrow.Get(), &narrowChange));
    EXPECT_EQ(0, std::memcmp(&before, &narrowChange, sizeof before));
    ExpectSame(wide.Get(), narrow.Get());
    EXPECT_EQ(93U, narrow->whitePoint->whiteCode);
    EXPECT_EQ(steepFile_, Wide(narrow->inputProfileName));
    EXPECT_EQ(steepFile_, Wide(narrow->emulationTableName));
    EXPECT_NE(unchanged, ConvertSample(narrow.Get()));
    EXPECT_EQ(ConvertSample(wide.Get()), ConvertSample(narrow.Get()));
}

TEST_F(AnsiNames, ChangesOfRecordsReachTheConverter) {
    FullRecords records;
    const Converter inks(CLRSPACE_CMYK, CLRSPACE_LAB), yuv(CLRSPACE_YUV, CLRSPACE_RGB), lab(CLRSPACE_LAB, CLRSPACE_RGB);
    records.params.methods = CLRPARAM_CMYK;
    const ClrParamsA cmyk = NarrowParams(records.params);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(inks.Get(), &cmyk));
    ASSERT_NE(nullptr, inks->cmykParams);
    EXPECT_EQ(400, inks->cmykParams->gcrLevel);
    records.params.methods = CLRPARAM_YUV;
    const ClrParamsA layout = NarrowParams(records.params);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(yuv.Get(), &layout));
    ExpectSameRecords(yuv->yuvParams, &records.yuv);
    records.params.methods = CLRPARAM_LAB;
    const ClrParamsA encoding = NarrowParams(records.params);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(lab.Get(), &encoding));
    EXPECT_NE(nullptr, lab->labDecode);
    records.params.methods = CLRPARAM_ACTIVE_METHOD;
    records.params.activeMethod = CLRMETHOD_CUSTOM_EMULATION;
    const ClrParamsA method = NarrowParams(records.params);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParamsA(lab.Get(), &method));
    EXPECT_EQ(uint32_t{CLRMETHOD_CUSTOM_EMULATION}, lab->activeMethod);
}

TEST_F(AnsiNames, RefusedChanges) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    ClrParamsA change = NarrowParams(MakeParams(CLRPARAM_CMYK, CLRMETHOD_BUILTIN));
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Zv_ClrSetConversionParamsA(c.Get(), &change));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParamsA(nullptr, &change));
    std::vector<uint8_t> copy(sizeof(ClrHandle));
    std::memcpy(copy.data(), c.Get(), sizeof(ClrHandle));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrSetConversionParamsA(reinterpret_cast<ClrHandle*>(copy.data()), &change));
}

}  // namespace
}  // namespace zv::test
