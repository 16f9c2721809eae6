// The dialogs through the library as it is installed, with a stand-in for the program that shows them.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>

#include "Common/dialogs/reply.h"
#include "tests/support/address_sanitizer.h"

namespace zv::test {
namespace {

namespace fs = std::filesystem;

constexpr int32_t kCmyk = 1;
constexpr int32_t kLab = 2;

const char* NameOf(int32_t dialogType) { return dialogType == kCmyk ? "cmyk" : "lab"; }

/// Of the file choosers.
constexpr size_t kLongestName = 259;

/// The command line of the helper.
std::string Words(const std::string& dialog, const std::string& parent) {
    return dialog + " --parent " + parent + " --version-of-caller " ZVCLR_VERSION_STRING " --reply-to 3";
}

/// A library that was loaded from a certain file.
class Library {
public:
    explicit Library(const fs::path& file) : handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(nullptr, handle_) << dlerror();
        if (handle_ == nullptr) std::abort();
        dialog = Find<decltype(dialog)>("Zv_ClrDlg");
        narrowDialog = Find<decltype(narrowDialog)>("Zv_ClrDlgA");
        init = Find<decltype(init)>("Zv_ClrInit");
        release = Find<decltype(release)>("Zv_ClrFree");
        convert = Find<decltype(convert)>("Zv_ClrConvert");
    }
    ~Library() { dlclose(handle_); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    decltype(&Zv_ClrDlg) dialog;
    decltype(&Zv_ClrDlgA) narrowDialog;
    decltype(&Zv_ClrInit) init;
    decltype(&Zv_ClrFree) release;
    decltype(&Zv_ClrConvert) convert;

private:
    template <class Function>
    Function Find(const char* name) {
        void* found = dlsym(handle_, name);
        EXPECT_NE(nullptr, found) << name;
        return reinterpret_cast<Function>(found);
    }
    void* handle_;
};

/// A folder of its own with the library and the stand-in.
class Installation {
public:
    explicit Installation(const std::string& name = "zvclr") {
        std::string pattern = (fs::temp_directory_path() / "zvclr-dialog-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        base_ = fs::canonical(pattern);
        folder = base_ / name;
        fs::create_directories(folder / "lib");
        fs::create_directories(folder / "bin");
        fs::copy_file(fs::canonical(ZVCLR_TEST_LIBRARY), LibraryFile());
        fs::copy_file(ZVCLR_TEST_PLAYER, Helper());
        // If a helper is installed on this machine, it has no display.
        for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) unsetenv(variable);
    }
    ~Installation() { fs::remove_all(base_); }
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    fs::path LibraryFile() const { return folder / "lib" / "libzvclr.so.1"; }
    fs::path Helper() const { return folder / "bin" / "zvclr-settings"; }
    fs::path Base() const { return base_; }

    /// What the stand-in hands back.
    void Answer(int32_t dialogType, const void* bytes, size_t size) const {
        std::ofstream file(HelperFile(dialogType, ".reply"), std::ios::binary);
        file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    }
    void Answer(int32_t dialogType, const ClrDlgReply& reply) const { Answer(dialogType, &reply, sizeof reply); }
    /// What it was told, or nothing if it was not started.
    std::string Arguments(int32_t dialogType) const {
        std::ifstream file(HelperFile(dialogType, ".arguments"), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    bool Started() const { return !Arguments(kCmyk).empty() || !Arguments(kLab).empty(); }

    fs::path folder;

private:
    fs::path HelperFile(int32_t dialogType, const char* ending) const {
        return folder / "bin" / (std::string(NameOf(dialogType)) + ending);
    }
    fs::path base_;
};

void SetName(ZvChar (&name)[CLR_NAME_LENGTH], std::u16string_view text) {
    std::memset(name, 0, sizeof name);
    std::memcpy(name, text.data(), text.size() * sizeof(ZvChar));
}

/// What a user leaves who has chosen a method.
ClrDlgState Chosen(int32_t dialogType, uint32_t method) {
    ClrDlgState state;
    ClrBeginDialog(static_cast<ClrDialog>(dialogType), &state);
    state.params.activeMethod = method;
    state.params.methods = method;
    return state;
}

ClrDlgReply ReplyOf(int32_t dialogType, const ClrDlgState& state) {
    return MakeReply(static_cast<ClrDialog>(dialogType), state);
}

/// A caller's record, all bytes of which are known before the dialog.
struct Record {
    Record() {
        std::memset(&params, 0x5A, sizeof params);
        std::memset(&whitePoint, 0x5A, sizeof whitePoint);
        std::memset(&cmykParams, 0x5A, sizeof cmykParams);
        params.whitePoint = &whitePoint;
        params.cmykParams = &cmykParams;
        Remember();
    }
    void Remember() {
        std::memcpy(before_.data(), &params, sizeof params);
        std::memcpy(before_.data() + sizeof params, &whitePoint, sizeof whitePoint);
        std::memcpy(before_.data() + sizeof params + sizeof whitePoint, &cmykParams, sizeof cmykParams);
    }
    bool IsUntouched() const {
        return std::memcmp(before_.data(), &params, sizeof params) == 0 &&
               std::memcmp(before_.data() + sizeof params, &whitePoint, sizeof whitePoint) == 0 &&
               std::memcmp(before_.data() + sizeof params + sizeof whitePoint, &cmykParams, sizeof cmykParams) == 0;
    }

    ClrParams params;
    ClrWhitePoint whitePoint;
    ClrCmykParams cmykParams;

private:
    std::array<unsigned char, sizeof(ClrParams) + sizeof(ClrWhitePoint) + sizeof(ClrCmykParams)> before_;
};

/// Where a converter would be written.
ClrHandle* const kUnwritten = reinterpret_cast<ClrHandle*>(0x5A5A);

TEST(InstalledDialogs, ChoicesOfCmykComeBack) {
    const Installation place;
    const Library library(place.LibraryFile());
    ClrDlgState state = Chosen(kCmyk, CLRMETHOD_CUSTOM_ICC);
    state.whitePoint.whiteCode = 65;
    SetName(state.params.inputProfileName, u"/profiles/press \u00E9\u20AC.icm");
    SetName(state.params.outputProfileName, u"/profiles/screen.icm");
    SetName(state.params.emulationTableName, std::u16string(kLongestName, u'e'));
    place.Answer(kCmyk, ReplyOf(kCmyk, state));

    Record record;
    EXPECT_EQ(CLR_SUCCESS, library.dialog(kCmyk, nullptr, nullptr, &record.params));
    EXPECT_EQ(65U, uint32_t{record.whitePoint.whiteCode});
    EXPECT_EQ(0.0, double{record.whitePoint.x});
    EXPECT_EQ(0.0, double{record.whitePoint.y});
    EXPECT_EQ(12, record.cmykParams.size);
    EXPECT_EQ(250, record.cmykParams.gcrLevel);
    EXPECT_EQ(1, record.cmykParams.mask);
    EXPECT_EQ(1648U, record.params.size);
    EXPECT_EQ(4U, record.params.activeMethod);
    EXPECT_EQ(4U, record.params.methods);
    EXPECT_EQ(8U, record.params.emulationMethod);
    EXPECT_EQ(0, std::memcmp(state.params.inputProfileName, record.params.inputProfileName, 528));
    EXPECT_EQ(0, std::memcmp(state.params.outputProfileName, record.params.outputProfileName, 528));
    EXPECT_EQ(0, std::memcmp(state.params.emulationTableName, record.params.emulationTableName, 528));
    EXPECT_EQ(&record.whitePoint, record.params.whitePoint) << "the pointers stay the caller's";
    EXPECT_EQ(&record.cmykParams, record.params.cmykParams);
    EXPECT_EQ(Words("cmyk", "0x0"), place.Arguments(kCmyk));
    EXPECT_EQ("", place.Arguments(kLab));
}

TEST(InstalledDialogs, ChoicesOfLabComeBack) {
    const Installation place;
    const Library library(place.LibraryFile());
    ClrDlgState state = Chosen(kLab, CLRMETHOD_BUILTIN);
    state.whitePoint = {93, 0, 0};
    place.Answer(kLab, ReplyOf(kLab, state));

    Record record;
    record.params.cmykParams = nullptr;
    ClrHandle* converter = nullptr;
    EXPECT_EQ(CLR_SUCCESS, library.dialog(kLab, nullptr, &converter, &record.params));
    EXPECT_EQ(93U, uint32_t{record.whitePoint.whiteCode});
    EXPECT_EQ(1U, record.params.activeMethod);
    EXPECT_EQ(1U, record.params.methods);
    EXPECT_EQ(Words("lab", "0x0"), place.Arguments(kLab));
    EXPECT_EQ("", place.Arguments(kCmyk));
    EXPECT_EQ(CLR_SUCCESS, library.release(converter));
}

/// Pixels from a converter that a dialog made, and from one that was made without: they must be equal.
void ExpectConverterOf(const Library& library, ClrHandle* converter, int32_t source, int32_t destination,
                       ClrDlgState state) {
    const unsigned char pixels[6] = {200, 90, 20, 10, 60, 120};
    unsigned char expected[8] = {};
    unsigned char got[8] = {};
    ClrHandle* plain = nullptr;
    ASSERT_EQ(CLR_SUCCESS, library.init(&plain, source, destination, &state.params));
    ASSERT_EQ(CLR_SUCCESS, library.convert(plain, pixels, expected, 2, 1, 0, 0));
    ASSERT_EQ(CLR_SUCCESS, library.convert(converter, pixels, got, 2, 1, 0, 0));
    EXPECT_EQ(0, std::memcmp(expected, got, sizeof got));
    EXPECT_EQ(CLR_SUCCESS, library.release(plain));
    EXPECT_EQ(CLR_SUCCESS, library.release(converter));
}

TEST(InstalledDialogs, AConverterIsMadeOfTheChoices) {
    const Installation place;
    const Library library(place.LibraryFile());
    for (const int32_t dialogType : {kCmyk, kLab}) {
        for (const uint32_t method : {CLRMETHOD_BUILTIN, CLRMETHOD_ICC}) {
            for (const int32_t bgr : {0, 1}) {
                ClrDlgState state = Chosen(dialogType, method);
                state.context.bgrOrder = bgr;
                place.Answer(dialogType, ReplyOf(dialogType, state));
                ClrHandle* converter = nullptr;
                ASSERT_EQ(CLR_SUCCESS, library.dialog(dialogType, nullptr, &converter, nullptr));
                ClrConnectDialog(static_cast<ClrDialog>(dialogType), &state);
                ExpectConverterOf(library, converter, bgr == 0 ? CLRSPACE_RGB : CLRSPACE_BGR,
                                  dialogType == kCmyk ? CLRSPACE_CMYK : CLRSPACE_LAB, state);
            }
        }
    }
}

TEST(InstalledDialogs, NamesThatAreSwappedForAConverterComeBackInPlace) {
    const Installation place;
    const Library library(place.LibraryFile());
    ClrDlgState state = Chosen(kCmyk, CLRMETHOD_CUSTOM_ICC);
    state.context.reverseDirection = 1;
    SetName(state.params.inputProfileName, u"/nowhere/one.icm");
    SetName(state.params.outputProfileName, u"/nowhere/two.icm");
    place.Answer(kCmyk, ReplyOf(kCmyk, state));

    Record record;
    ClrHandle* converter = nullptr;
    const int32_t result = library.dialog(kCmyk, nullptr, &converter, &record.params);
    EXPECT_GT(0, result) << "there are no such profiles";
    EXPECT_EQ(0, std::memcmp(state.params.inputProfileName, record.params.inputProfileName, 528));
    EXPECT_EQ(0, std::memcmp(state.params.outputProfileName, record.params.outputProfileName, 528));

    EXPECT_EQ(CLR_SUCCESS, library.dialog(kCmyk, nullptr, nullptr, &record.params));
    EXPECT_EQ(0, std::memcmp(state.params.outputProfileName, record.params.inputProfileName, 520));
    EXPECT_EQ(0, std::memcmp(state.params.inputProfileName, record.params.outputProfileName, 520));
}

TEST(InstalledDialogs, LabWithoutAReceiverIsNoticedAfterTheDialog) {
    const Installation place;
    const Library library(place.LibraryFile());
    place.Answer(kLab, ReplyOf(kLab, Chosen(kLab, CLRMETHOD_BUILTIN)));
    const Record record;
    ClrParams* params = const_cast<ClrParams*>(&record.params);
    EXPECT_EQ(ERR_INVALID_PARAMETER, library.dialog(kLab, nullptr, nullptr, params));
    EXPECT_TRUE(record.IsUntouched());
    EXPECT_TRUE(place.Started());
}

TEST(InstalledDialogs, TheParentWindowIsHandedOn) {
    const Installation place;
    const Library library(place.LibraryFile());
    library.dialog(kCmyk, reinterpret_cast<void*>(0x3E00007), nullptr, nullptr);
    EXPECT_EQ(Words("cmyk", "0x3e00007"), place.Arguments(kCmyk));
    ClrHandle* converter = nullptr;
    library.dialog(kLab, reinterpret_cast<void*>(~uintptr_t{0}), &converter, nullptr);
    EXPECT_EQ(Words("lab", "0xffffffffffffffff"), place.Arguments(kLab));
}

TEST(InstalledDialogs, WithoutAReplyNothingIsTouched) {
    const Installation place;
    const Library library(place.LibraryFile());
    for (const int32_t dialogType : {kCmyk, kLab}) {
        Record record;
        ClrHandle* converter = kUnwritten;
        EXPECT_EQ(0, library.dialog(dialogType, nullptr, &converter, &record.params));
        EXPECT_EQ(kUnwritten, converter);
        EXPECT_TRUE(record.IsUntouched());
        EXPECT_NE("", place.Arguments(dialogType));
    }
}

TEST(InstalledDialogs, WhatIsRefusedBeforeStartsNothing) {
    const Installation place;
    const Library library(place.LibraryFile());
    Record record;
    ClrHandle* converter = kUnwritten;
    EXPECT_EQ(CLR_SUCCESS, library.dialog(3, nullptr, &converter, &record.params));
    EXPECT_EQ(CLR_SUCCESS, library.dialog(0, nullptr, &converter, &record.params));
    record.params.cmykParams = nullptr;
    record.Remember();
    EXPECT_EQ(ERR_INVALID_PARAMETER, library.dialog(kCmyk, nullptr, &converter, &record.params));
    EXPECT_TRUE(record.IsUntouched());
    record.params.whitePoint = nullptr;
    record.Remember();
    EXPECT_EQ(ERR_INVALID_PARAMETER, library.dialog(kLab, nullptr, &converter, &record.params));
    EXPECT_TRUE(record.IsUntouched());
    EXPECT_EQ(kUnwritten, converter);
    EXPECT_FALSE(place.Started());
}

TEST(InstalledDialogs, RepliesThatNoDialogGivesAreCancel) {
    const Installation place;
    const Library library(place.LibraryFile());
    const struct {
        const char* what;
        std::function<void(ClrDlgReply&)> damage;
    } cases[] = {
        {"another version", [](ClrDlgReply& reply) { reply.version[0] ^= 1; }},
        {"a longer version", [](ClrDlgReply& reply) { reply.version[sizeof reply.version - 1] = 'x'; }},
        {"no dialog", [](ClrDlgReply& reply) { reply.dialog = 0; }},
        {"the other dialog", [](ClrDlgReply& reply) { reply.dialog = 3 - reply.dialog; }},
        {"record size", [](ClrDlgReply& reply) { reply.state.params.size = 1647; }},
        {"no method", [](ClrDlgReply& reply) { reply.state.params.activeMethod = reply.state.params.methods = 0; }},
        {"two methods", [](ClrDlgReply& reply) { reply.state.params.activeMethod = reply.state.params.methods = 3; }},
        {"the sixth", [](ClrDlgReply& reply) { reply.state.params.activeMethod = reply.state.params.methods = 32; }},
        {"all methods", [](ClrDlgReply& reply) { reply.state.params.methods = 63; }},
        {"methods without the active one", [](ClrDlgReply& reply) { reply.state.params.methods = 2; }},
        {"emulation method", [](ClrDlgReply& reply) { reply.state.params.emulationMethod = 4; }},
        {"white code", [](ClrDlgReply& reply) { reply.state.whitePoint.whiteCode = 51; }},
        {"x", [](ClrDlgReply& reply) { reply.state.whitePoint.x = 0.3; }},
        {"y", [](ClrDlgReply& reply) { reply.state.whitePoint.y = 0.3; }},
        {"gcr", [](ClrDlgReply& reply) { ++reply.state.cmykParams.gcrLevel; }},
        {"a name beyond the choosers",
         [](ClrDlgReply& reply) {
             SetName(reply.state.params.outputProfileName, std::u16string(kLongestName + 1, u'n'));
         }},
        {"labDirection", [](ClrDlgReply& reply) { reply.state.context.labDirection = 2; }},
        {"bgrOrder", [](ClrDlgReply& reply) { reply.state.context.bgrOrder = -1; }},
        {"reverseDirection", [](ClrDlgReply& reply) { reply.state.context.reverseDirection = 256; }},
        {"first name",
         [](ClrDlgReply& reply) { std::memset(reply.state.params.inputProfileName, 'x', CLR_NAME_LENGTH * 2); }},
        {"second name",
         [](ClrDlgReply& reply) { std::memset(reply.state.params.outputProfileName, 'x', CLR_NAME_LENGTH * 2); }},
        {"third name",
         [](ClrDlgReply& reply) { std::memset(reply.state.params.emulationTableName, 'x', CLR_NAME_LENGTH * 2); }},
    };
    for (const int32_t dialogType : {kCmyk, kLab}) {
        const ClrDlgReply good = ReplyOf(dialogType, Chosen(dialogType, CLRMETHOD_BUILTIN));
        const auto expectCancel = [&](const char* what) {
            Record record;
            ClrHandle* converter = kUnwritten;
            EXPECT_EQ(0, library.dialog(dialogType, nullptr, &converter, &record.params)) << what;
            EXPECT_EQ(kUnwritten, converter) << what;
            EXPECT_TRUE(record.IsUntouched()) << what;
        };
        for (const auto& [what, damage] : cases) {
            ClrDlgReply reply = good;
            damage(reply);
            place.Answer(dialogType, reply);
            expectCancel(what);
        }
        const std::string bytes(reinterpret_cast<const char*>(&good), sizeof good);
        for (const size_t size : {size_t{0}, size_t{1}, sizeof good - 1, sizeof good + 1, 2 * sizeof good}) {
            place.Answer(dialogType, (bytes + bytes).data(), size);
            expectCancel(std::to_string(size).c_str());
        }
        place.Answer(dialogType, good);
        ClrHandle* converter = nullptr;
        EXPECT_EQ(CLR_SUCCESS, library.dialog(dialogType, nullptr, &converter, nullptr)) << "the undamaged one";
        EXPECT_EQ(CLR_SUCCESS, library.release(converter));
    }
}

TEST(InstalledDialogs, PointersOfAReplyAreNotFollowed) {
    const Installation place;
    const Library library(place.LibraryFile());
    ClrDlgReply reply = ReplyOf(kCmyk, Chosen(kCmyk, CLRMETHOD_BUILTIN));
    const auto nowhere = [](auto& pointer) { std::memset(&pointer, 0x41, sizeof pointer); };
    nowhere(reply.state.context.params);
    nowhere(reply.state.params.whitePoint);
    nowhere(reply.state.params.inputProfileMemory);
    nowhere(reply.state.params.outputProfileMemory);
    nowhere(reply.state.params.cmykParams);
    nowhere(reply.state.params.yuvParams);
    nowhere(reply.state.params.labParams);
    place.Answer(kCmyk, reply);
    ClrHandle* converter = nullptr;
    ASSERT_EQ(CLR_SUCCESS, library.dialog(kCmyk, nullptr, &converter, nullptr));
    ExpectConverterOf(library, converter, CLRSPACE_RGB, CLRSPACE_CMYK, [] {
        static ClrDlgState state;
        state = Chosen(kCmyk, CLRMETHOD_BUILTIN);
        ClrConnectDialog(ClrDialog::kCmyk, &state);
        return state;
    }());
}

TEST(InstalledDialogs, TheNarrowFormHandsBackNarrowNames) {
    const Installation place;
    const Library library(place.LibraryFile());
    ClrDlgState state = Chosen(kCmyk, CLRMETHOD_CUSTOM_ICC);
    SetName(state.params.inputProfileName, u"/profiles/press.icm");
    place.Answer(kCmyk, ReplyOf(kCmyk, state));
    ClrWhitePoint whitePoint = {};
    ClrCmykParams cmykParams = {};
    ClrParamsA params = {};
    params.size = 77;
    params.whitePoint = &whitePoint;
    params.cmykParams = &cmykParams;
    EXPECT_EQ(CLR_SUCCESS, library.narrowDialog(kCmyk, nullptr, nullptr, &params));
    EXPECT_STREQ("/profiles/press.icm", params.inputProfileName);
    EXPECT_STREQ("", params.outputProfileName);
    EXPECT_EQ(4U, params.activeMethod);
    EXPECT_EQ(77U, params.size);
    EXPECT_EQ(50U, uint32_t{whitePoint.whiteCode});
    EXPECT_EQ(250, cmykParams.gcrLevel);
}

TEST(InstalledDialogs, TwoAtOnceKeepTheirChoicesApart) {
    const Installation place;
    const Library library(place.LibraryFile());
    ClrDlgState cmyk = Chosen(kCmyk, CLRMETHOD_CUSTOM_EMULATION);
    ClrDlgState lab = Chosen(kLab, CLRMETHOD_BUILTIN);
    cmyk.whitePoint.whiteCode = 55;
    lab.whitePoint.whiteCode = 75;
    place.Answer(kCmyk, ReplyOf(kCmyk, cmyk));
    place.Answer(kLab, ReplyOf(kLab, lab));
    std::thread other([&] {
        for (int i = 0; i < 20; ++i) {
            Record record;
            EXPECT_EQ(CLR_SUCCESS, library.dialog(kCmyk, nullptr, nullptr, &record.params));
            EXPECT_EQ(16U, record.params.activeMethod);
            EXPECT_EQ(55U, uint32_t{record.whitePoint.whiteCode});
        }
    });
    for (int i = 0; i < 20; ++i) {
        Record record;
        ClrHandle* converter = nullptr;
        EXPECT_EQ(CLR_SUCCESS, library.dialog(kLab, nullptr, &converter, &record.params));
        EXPECT_EQ(1U, record.params.activeMethod);
        EXPECT_EQ(75U, uint32_t{record.whitePoint.whiteCode});
        EXPECT_EQ(CLR_SUCCESS, library.release(converter));
    }
    other.join();
}

/// Whether the library of that file finds the stand-in of that place.
bool FindsHelper(const Installation& place, const Library& library) {
    place.Answer(kCmyk, ReplyOf(kCmyk, Chosen(kCmyk, CLRMETHOD_BUILTIN)));
    const int32_t result = library.dialog(kCmyk, nullptr, nullptr, nullptr);
    return result == CLR_SUCCESS && place.Started();
}

bool FindsHelper(const Installation& place, const fs::path& file) { return FindsHelper(place, Library(file)); }

TEST(InstalledHelper, IsFoundWhereverTheLibraryLies) {
    for (const char* name :
         {"zvclr", "a b'c\"d $HOME;e", "\u00E9\u4E2D\U0001F308", "latin \xE9", "new\nline", "%s%n"}) {
        const Installation place(name);
        EXPECT_TRUE(FindsHelper(place, place.LibraryFile())) << name;
    }
}

TEST(InstalledHelper, IsFoundThroughLinks) {
    const Installation place;
    const fs::path elsewhere = place.Base() / "elsewhere" / "deeper";
    fs::create_directories(elsewhere);
    fs::create_symlink(place.LibraryFile(), elsewhere / "libother.so");
    EXPECT_TRUE(FindsHelper(place, elsewhere / "libother.so"));
    fs::remove(elsewhere / "libother.so");
    fs::create_directory_symlink(place.folder / "lib", elsewhere / "lib");
    EXPECT_TRUE(FindsHelper(place, elsewhere / "lib" / "libzvclr.so.1"));
}

TEST(InstalledHelper, IsFoundAfterAMove) {
    Installation place;
    EXPECT_TRUE(FindsHelper(place, place.LibraryFile()));
    const fs::path moved = place.Base() / "moved to" / "another place";
    fs::create_directories(moved.parent_path());
    fs::rename(place.folder, moved);
    place.folder = moved;
    fs::remove(moved / "bin" / "cmyk.arguments");
    EXPECT_TRUE(FindsHelper(place, place.LibraryFile()));
}

/// The current folder, until the end of a test.
class CurrentFolder {
public:
    explicit CurrentFolder(const fs::path& folder) : before_(fs::current_path()) { fs::current_path(folder); }
    ~CurrentFolder() { fs::current_path(before_); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    fs::path before_;
};

/// Files that this process has open.
std::ptrdiff_t OpenFiles() { return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()); }

TEST(InstalledHelper, IsThatOfTheLibraryWhateverTheCurrentFolderIs) {
    for (const char* name : {"zvclr", "a b \u00E9"}) {
        const Installation place(name);
        const Installation decoy;
        const CurrentFolder here(place.folder);
        const Library library("lib/libzvclr.so.1");
        EXPECT_TRUE(FindsHelper(place, library));
        const auto open = OpenFiles();
        fs::remove(place.folder / "bin" / "cmyk.arguments");
        const CurrentFolder elsewhere(decoy.folder);
        EXPECT_TRUE(FindsHelper(place, library)) << "loaded by a relative name";
        EXPECT_FALSE(decoy.Started());
        EXPECT_EQ(open, OpenFiles());
    }
}

TEST(InstalledHelper, ThatCannotBeStartedIsCancel) {
    const std::pair<const char*, std::function<void(const fs::path&)>> cases[] = {
        {"missing", [](const fs::path& helper) { fs::remove(helper); }},
        {"a folder", [](const fs::path& helper) { fs::remove(helper), fs::create_directory(helper); }},
        {"not executable", [](const fs::path& helper) { fs::permissions(helper, fs::perms::owner_read); }},
        {"no program", [](const fs::path& helper) { std::ofstream(helper) << "nothing that runs\n"; }},
        {"empty", [](const fs::path& helper) { fs::resize_file(helper, 0); }},
        {"a link to nothing",
         [](const fs::path& helper) { fs::remove(helper), fs::create_symlink("nowhere", helper); }},
        {"a script without its shell", [](const fs::path& helper) { std::ofstream(helper) << "#!/no/such/shell\n"; }},
    };
    for (const auto& [what, spoil] : cases) {
        const Installation place;
        spoil(place.Helper());
        place.Answer(kCmyk, ReplyOf(kCmyk, Chosen(kCmyk, CLRMETHOD_BUILTIN)));
        const Library library(place.LibraryFile());
        Record record;
        ClrHandle* converter = kUnwritten;
        EXPECT_EQ(0, library.dialog(kCmyk, nullptr, &converter, &record.params)) << what;
        EXPECT_EQ(kUnwritten, converter) << what;
        EXPECT_TRUE(record.IsUntouched()) << what;
        EXPECT_FALSE(place.Started()) << what;
    }
}

TEST(InstalledHelper, WhatIsNoProgramIsPassedOver) {
    const std::function<void(const fs::path&)> cases[] = {
        [](const fs::path& helper) { fs::remove(helper), fs::create_directory(helper); },
        [](const fs::path& helper) { fs::permissions(helper, fs::perms::owner_read); },
    };
    for (const auto& spoil : cases) {
        const Installation place;
        fs::copy_file(place.Helper(), place.folder / "lib" / "zvclr-settings");
        spoil(place.Helper());
        const ClrDlgReply reply = ReplyOf(kCmyk, Chosen(kCmyk, CLRMETHOD_BUILTIN));
        std::ofstream(place.folder / "lib" / "cmyk.reply", std::ios::binary)
            .write(reinterpret_cast<const char*>(&reply), sizeof reply);
        EXPECT_EQ(CLR_SUCCESS, Library(place.LibraryFile()).dialog(kCmyk, nullptr, nullptr, nullptr));
        EXPECT_TRUE(fs::exists(place.folder / "lib" / "cmyk.arguments"));
    }
}

/// What a program printed, of a dialog type as its argument; `setting` is a variable for its environment.
std::string OutputOf(const fs::path& program, int32_t dialogType, const std::string& setting = "") {
    std::ostringstream command;
    command << setting << " '" << program.string() << "' " << dialogType;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.str().c_str(), "r"),
                                                     [](FILE* file) { return pclose(file); });
    std::string output;
    char bytes[256];
    if (pipe == nullptr) return "not started";
    while (fgets(bytes, sizeof bytes, pipe.get()) != nullptr) output += bytes;
    return output;
}

TEST(InstalledHelper, IsFoundByAProgramThatHoldsTheLibrary) {
    const Installation place;
    place.Answer(kLab, ReplyOf(kLab, Chosen(kLab, CLRMETHOD_BUILTIN)));
    const fs::path program = place.folder / "bin" / "program";
    fs::copy_file(ZVCLR_TEST_STATIC_CALLER, program);
    EXPECT_EQ("1 converter\n", OutputOf(program, kLab));
    EXPECT_EQ(Words("lab", "0x0"), place.Arguments(kLab)) << "beside it";

    fs::remove(place.folder / "bin" / "lab.arguments");
    const fs::path link = place.Base() / "link";
    fs::create_symlink(program, link);
    EXPECT_EQ("1 converter\n", OutputOf(link, kLab));
    EXPECT_TRUE(place.Started()) << "beside what the link leads to";

    const fs::path alone = place.Base() / "alone";
    fs::copy_file(ZVCLR_TEST_STATIC_CALLER, alone);
    EXPECT_EQ("0 none\n", OutputOf(alone, kLab));
}

#ifndef ZV_WITH_ADDRESS_SANITIZER  // whose own start and end do not work with raised rights
TEST(InstalledHelper, IsNotStartedWithRaisedRights) {
    const Installation place;
    struct statvfs volume = {};
    ASSERT_EQ(0, statvfs(place.Base().c_str(), &volume));
    // Elsewhere the bit raises nothing, and the program is started as ever.
    const bool raises = geteuid() == 0 && (volume.f_flag & ST_NOSUID) == 0;
    place.Answer(kLab, ReplyOf(kLab, Chosen(kLab, CLRMETHOD_BUILTIN)));
    for (const fs::path& folder : {place.Base(), place.folder, place.folder / "bin"}) {
        fs::permissions(folder, fs::perms::all);
    }
    const fs::path program = place.folder / "bin" / "program";
    fs::copy_file(ZVCLR_TEST_STATIC_CALLER, program);
    constexpr uid_t kSomebody = 65534;
    if (raises) {
        ASSERT_EQ(0, chown(program.c_str(), kSomebody, kSomebody));
    }
    ASSERT_EQ(0, chmod(program.c_str(), 0755));
    EXPECT_EQ("1 converter\n", OutputOf(program, kLab));
    EXPECT_TRUE(fs::remove(place.folder / "bin" / "lab.arguments"));
    ASSERT_EQ(0, chmod(program.c_str(), 04755));
    EXPECT_EQ(raises ? "0 none\n" : "1 converter\n", OutputOf(program, kLab));
    EXPECT_EQ(!raises, fs::exists(place.folder / "bin" / "lab.arguments"));
}
#endif

TEST(InstalledHelper, IsFoundWhenTheSearchPathNamesTheLibrary) {
    const Installation place;
    place.Answer(kCmyk, ReplyOf(kCmyk, Chosen(kCmyk, CLRMETHOD_BUILTIN)));
    const std::string folder = "LD_LIBRARY_PATH=" + (place.folder / "lib").string();
    EXPECT_EQ("1 converter\n", OutputOf(ZVCLR_TEST_SHARED_CALLER, kCmyk, folder));
    EXPECT_TRUE(place.Started());

    fs::remove(place.folder / "bin" / "cmyk.arguments");
    const CurrentFolder here(place.folder);
    EXPECT_EQ("1 converter\n", OutputOf(ZVCLR_TEST_SHARED_CALLER, kCmyk, "LD_LIBRARY_PATH=lib"));
    EXPECT_TRUE(place.Started());
}

}  // namespace
}  // namespace zv::test
