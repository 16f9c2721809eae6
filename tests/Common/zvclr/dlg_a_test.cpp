// Zv_ClrDlgA: narrow names out of a dialog.
#ifndef _WIN32
#    include "tests/support/frame_fixture.h"
#    include "tests/support/scripted_dialogs.h"

namespace zv::test {
namespace {

constexpr int32_t kTypes[] = {1, 2};

class NarrowDialogs : public ::testing::Test {
protected:
    NarrowDialogs() {
        ScriptedDesktop::Get().Reset();
        std::memset(&params_, 0x5A, sizeof params_);
        params_.whitePoint = &white_;
        params_.cmykParams = &cmyk_;
        params_.inputProfileMemory = nullptr;
        params_.outputProfileMemory = nullptr;
        params_.yuvParams = nullptr;
        params_.labParams = nullptr;
    }
    ~NarrowDialogs() override { ScriptedDesktop::Get().Reset(); }

    /// The user takes this name in each of the three choosers of the dialog, and then the built-in method.
    static void Take(const std::u16string& first, const std::u16string& second, const std::u16string& table) {
        ScriptedDesktop::Get().user = [=](ScriptedWindow& dialog) {
            const int tableButton = dialog.Find(122) != nullptr ? 122 : 131;
            for (const auto& [button, name] : {std::pair{118, first}, std::pair{120, second}, {tableButton, table}}) {
                ScriptedDesktop::Get().chooser = [&name = name](OPENFILENAMEW& request) {
                    EXPECT_LT(name.size(), request.nMaxFile);
                    *std::copy(name.begin(), name.end(), request.lpstrFile) = 0;
                    return true;
                };
                dialog.Notify(button, BN_CLICKED);
            }
            dialog.Notify(IDOK, BN_CLICKED);
        };
    }
    int32_t Call(int32_t type) {
        ClrHandle* handle = nullptr;
        const int32_t result = Zv_ClrDlgA(type, nullptr, &handle, &params_);
        if (handle != nullptr) {
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        }
        return result;
    }
    /// The name that the narrow record has after a chooser gave this one.
    std::string NarrowOf(const std::u16string& name) {
        Take(name, u"b", u"c");
        EXPECT_EQ(CLR_SUCCESS, Call(1));
        EXPECT_STREQ("b", params_.outputProfileName);
        EXPECT_STREQ("c", params_.emulationTableName);
        return params_.inputProfileName;
    }

    HostScope host_;
    ClrWhitePoint white_ = {1, 2.0, 3.0};
    ClrCmykParams cmyk_ = {4, 5, 6};
    ClrParamsA params_;
};

TEST_F(NarrowDialogs, EachNameGoesToItsField) {
    for (const int32_t type : kTypes) {
        Take(u"one.icm", u"two.icm", u"three.tif");
        EXPECT_EQ(CLR_SUCCESS, Call(type));
        EXPECT_STREQ("one.icm", params_.inputProfileName);
        EXPECT_STREQ("two.icm", params_.outputProfileName);
        EXPECT_STREQ("three.tif", params_.emulationTableName);
        EXPECT_EQ(0x5A5A5A5AU, params_.size);
        EXPECT_EQ(1U, params_.activeMethod);
        EXPECT_EQ(1U, params_.methods);
        EXPECT_EQ(8U, params_.emulationMethod);
        EXPECT_EQ(50U, uint32_t{white_.whiteCode});
    }
}

TEST_F(NarrowDialogs, NamesAreUtf8) {
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F\x65 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x8E\xA8.icm",
              NarrowOf(u"Gr\u00F6\u00DFe \u65E5\u672C \U0001F3A8.icm"));
}

TEST_F(NarrowDialogs, NamesFitOrBecomeNoFile) {
    const std::string noFile(263, '|');
    EXPECT_EQ(std::string(259, 'x'), NarrowOf(std::u16string(259, u'x')));
    std::string bytes;
    for (int i = 0; i < 87; ++i) bytes += "\xE6\x97\xA5";
    EXPECT_EQ(bytes + "ab", NarrowOf(std::u16string(87, u'\u65E5') + u"ab"));
    EXPECT_EQ(noFile, NarrowOf(std::u16string(87, u'\u65E5') + u"abc"));
    EXPECT_EQ(noFile, NarrowOf(std::u16string(259, u'\u65E5')));
    EXPECT_EQ(0, params_.inputProfileName[263]);
}

TEST_F(NarrowDialogs, HalfACharacterIsNoFile) {
    const std::u16string half = {u'a', char16_t{0xD83C}, u'b'};
    EXPECT_EQ(std::string(263, '|'), NarrowOf(half));
}

TEST_F(NarrowDialogs, FailureLeavesTheRecord) {
    for (const int32_t type : kTypes) {
        ScriptedDesktop::Get().user = [](ScriptedWindow& dialog) {
            dialog.Find(116)->selected = 4;
            dialog.Notify(IDOK, BN_CLICKED);
        };
        const ClrParamsA before = params_;
        EXPECT_EQ(ERR_FILE_NOT_FOUND, Call(type));
        EXPECT_EQ(0, std::memcmp(&before, &params_, sizeof before));
    }
    const ClrParamsA before = params_;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlgA(2, nullptr, nullptr, &params_));
    EXPECT_EQ(0, std::memcmp(&before, &params_, sizeof before));
}

TEST_F(NarrowDialogs, CancelLeavesTheRecord) {
    const ClrParamsA before = params_;
    for (const int32_t type : kTypes) {
        EXPECT_EQ(0, Call(type));
        ScriptedDesktop::Get().user = [](ScriptedWindow& dialog) { dialog.Notify(IDCANCEL, BN_CLICKED); };
        EXPECT_EQ(0, Call(type));
        ScriptedDesktop::Get().user = nullptr;
    }
    EXPECT_EQ(0, std::memcmp(&before, &params_, sizeof before));
    EXPECT_EQ(1U, uint32_t{white_.whiteCode});
    EXPECT_EQ(5, cmyk_.gcrLevel);
}

TEST_F(NarrowDialogs, NeedNoRecord) {
    Take(u"a", u"b", u"c");
    for (const int32_t type : kTypes) {
        ClrHandle* handle = nullptr;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlgA(type, nullptr, &handle, nullptr));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
    }
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlgA(1, nullptr, nullptr, nullptr));
}

TEST_F(NarrowDialogs, TheCallersWindowIsTheirs) {
    int parent = 0;
    ScriptedDesktop::Get().user = [&](ScriptedWindow& dialog) {
        EXPECT_EQ(reinterpret_cast<HWND>(&parent), dialog.parent);
        dialog.Notify(IDCANCEL, BN_CLICKED);
    };
    EXPECT_EQ(0, Zv_ClrDlgA(1, &parent, nullptr, nullptr));
    EXPECT_EQ(1, ScriptedDesktop::Get().dialogsOpened);
}

TEST_F(NarrowDialogs, RefuseRecordsThatCannotTakeChoices) {
    Take(u"a", u"b", u"c");
    for (const int32_t type : kTypes) {
        ClrHandle* handle = nullptr;
        GuardedBuffer buffer(sizeof(ClrParamsA));
        auto* const params = PlaceAt(buffer.Data(), params_);
        buffer.MakeReadOnly();
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlgA(type, nullptr, &handle, params));
        buffer.MakeUnreadable();
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlgA(type, nullptr, &handle, params));
        EXPECT_EQ(1, Zv_ClrDlgA(3, nullptr, &handle, params));
        const GuardedBuffer cut(sizeof(ClrParamsA) - 8);
        auto* const cutParams = reinterpret_cast<ClrParamsA*>(cut.Data());
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlgA(type, nullptr, &handle, cutParams));
        EXPECT_EQ(1, Zv_ClrDlgA(0, nullptr, &handle, cutParams));
        ClrParamsA without = params_;
        without.whitePoint = nullptr;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlgA(type, nullptr, &handle, &without));
        EXPECT_EQ(nullptr, handle);
    }
    ClrParamsA without = params_;
    without.cmykParams = nullptr;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlgA(1, nullptr, nullptr, &without));
    EXPECT_EQ(0, ScriptedDesktop::Get().dialogsOpened);
}

/// The dialog starts from its own defaults, so that it does not matter what the old names are.
TEST_F(NarrowDialogs, OldNamesAreNotRead) {
    Take(u"a", u"b", u"c");
    for (const int fill : {0x00, 0x5A, 0xFF, 0xC3}) {
        for (char* const name : {params_.inputProfileName, params_.outputProfileName, params_.emulationTableName}) {
            std::memset(name, fill, CLR_NAME_LENGTH);
        }
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlgA(1, nullptr, nullptr, &params_));
        EXPECT_STREQ("a", params_.inputProfileName);
        EXPECT_STREQ("b", params_.outputProfileName);
        EXPECT_STREQ("c", params_.emulationTableName);
    }
}

}  // namespace
}  // namespace zv::test
#endif
