// What becomes of the choices in the settings dialogs: records, converters and results, the same for every face.
#include "tests/dialogs/dialog_records.h"

namespace zv::test {
namespace {

constexpr int kMethods = 116;
constexpr int kWhites = 123;
constexpr int kBgrOrder = 1001;
constexpr int kDirection = 1002;

const std::vector<uint8_t> kColours = {255, 0, 0, 0, 255, 0, 0, 0, 255, 200, 120, 40, 128, 128, 128, 10, 20, 30};

constexpr size_t BytesOfResult(int32_t type) { return type == kCmykType ? 4 : 3; }
constexpr int32_t DestinationOf(int32_t type) { return type == kCmykType ? CLRSPACE_CMYK : CLRSPACE_LAB; }

/// The choices of a dialog as a program makes them by itself.
class PlainParams {
public:
    PlainParams(int32_t type, uint32_t method, uint32_t whiteCode = 50, int32_t gcrLevel = 250)
        : white_{whiteCode, 0.0, 0.0}, cmyk_{12, gcrLevel, 1} {
        params_.size = sizeof params_;
        params_.activeMethod = method;
        params_.methods = method;
        params_.emulationMethod = CLRMETHOD_EMULATION;
        params_.whitePoint = &white_;
        if (type == kCmykType) params_.cmykParams = &cmyk_;
    }
    PlainParams(const PlainParams&) = delete;
    PlainParams& operator=(const PlainParams&) = delete;

    ClrParams* Value() { return &params_; }

private:
    ClrWhitePoint white_;
    ClrCmykParams cmyk_;
    ClrParams params_ = {};
};

/// The same pixels through a converter that no dialog has made.
std::vector<uint8_t> Expected(int32_t type, int32_t source, uint32_t method, uint32_t whiteCode = 50,
                              int32_t gcrLevel = 250) {
    PlainParams params(type, method, whiteCode, gcrLevel);
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(receiver.Place(), source, DestinationOf(type), params.Value()));
    return receiver.Convert(kColours, BytesOfResult(type));
}

/// What comes of a converter without files.
int32_t ResultOf(int32_t type, uint32_t method) {
    PlainParams params(type, method);
    ConverterReceiver receiver;
    return Zv_ClrInit(receiver.Place(), CLRSPACE_RGB, DestinationOf(type), params.Value());
}

std::string DialogName(const ::testing::TestParamInfo<int32_t>& info) {
    return info.param == kCmykType ? "Cmyk" : "Lab";
}

class EitherDialog : public ::testing::TestWithParam<int32_t> {
protected:
    DialogFiles files_;

    std::vector<uint8_t> Convert(const ConverterReceiver& receiver) {
        return receiver.Convert(kColours, BytesOfResult(GetParam()));
    }
};
INSTANTIATE_TEST_SUITE_P(Dialogs, EitherDialog, ::testing::Values(kCmykType, kLabType), DialogName);

void Accept(DialogUser& user) { user.Click(kOk); }

TEST(DialogTypes, OthersShowNothing) {
    const int opened = DialogsOpened();
    for (const int32_t type : {3, 0, -1, 114, 128, INT32_MAX, INT32_MIN}) {
        CallersRecords records;
        ConverterReceiver receiver;
        const auto before = records.Bytes();
        const auto never = [](DialogUser& user) {
            ADD_FAILURE();
            user.Close();
        };
        EXPECT_EQ(1, PlayDialog(type, receiver.Place(), &records.params, never)) << type;
        EXPECT_EQ(1, PlayDialog(type, nullptr, nullptr, never)) << type;
        records.params.whitePoint = nullptr;
        records.params.cmykParams = nullptr;
        EXPECT_EQ(1, PlayDialog(type, nullptr, &records.params, never)) << type;
        EXPECT_EQ(1, PlayDialog(type, nullptr, reinterpret_cast<ClrParams*>(uintptr_t{16}), never)) << type;
        records.params.whitePoint = &records.white;
        records.params.cmykParams = &records.cmyk;
        EXPECT_EQ(before, records.Bytes());
        EXPECT_TRUE(receiver.IsUntouched());
    }
    EXPECT_EQ(opened, DialogsOpened());
}

TEST_P(EitherDialog, RefusesRecordsThatCannotTakeChoices) {
    const int opened = DialogsOpened();
    const auto never = [](DialogUser& user) {
        ADD_FAILURE();
        user.Close();
    };
    ConverterReceiver receiver;
    for (ClrHandle** const place : {receiver.Place(), static_cast<ClrHandle**>(nullptr)}) {
        CallersRecords records;
        records.params.whitePoint = nullptr;
        const auto before = records.Bytes();
        EXPECT_EQ(ERR_INVALID_PARAMETER, PlayDialog(GetParam(), place, &records.params, never));
        EXPECT_EQ(before, records.Bytes());
        auto* const nowhere = reinterpret_cast<ClrParams*>(uintptr_t{16});
        EXPECT_EQ(ERR_INVALID_PARAMETER, PlayDialog(GetParam(), place, nowhere, never));
    }
    EXPECT_TRUE(receiver.IsUntouched());
    EXPECT_EQ(opened, DialogsOpened());
}

TEST(CmykDialogResult, NeedsARecordForBlackGeneration) {
    const int opened = DialogsOpened();
    CallersRecords records;
    records.params.cmykParams = nullptr;
    const auto before = records.Bytes();
    EXPECT_EQ(ERR_INVALID_PARAMETER, PlayDialog(kCmykType, nullptr, &records.params, [](DialogUser& user) {
                  ADD_FAILURE();
                  user.Close();
              }));
    EXPECT_EQ(before, records.Bytes());
    EXPECT_EQ(opened, DialogsOpened());
}

TEST(LabDialogResult, NeedsNoRecordForBlackGeneration) {
    CallersRecords records;
    ConverterReceiver receiver;
    records.params.cmykParams = nullptr;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(kLabType, receiver.Place(), &records.params, Accept));
    EXPECT_EQ(nullptr, records.params.cmykParams);
    records.params.cmykParams = &records.cmyk;
    ExpectChoices(kLabType, records, {});
}

/// Every way out but OK, after every kind of choice.
TEST_P(EitherDialog, CancelTouchesNothing) {
    const Text profile = files_.Make("a.ICM");
    for (const bool byFrame : {false, true}) {
        for (const bool withChoices : {false, true}) {
            CallersRecords records;
            ConverterReceiver receiver;
            const auto before = records.Bytes();
            EXPECT_EQ(0, PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                          if (withChoices) {
                              user.Choose(kMethods, 2);
                              user.Choose(kWhites, 4);
                              user.Browse(118, profile);
                              user.Click(kBgrOrder);
                              user.Click(kDirection);
                          }
                          if (byFrame) {
                              user.Close();
                          } else {
                              user.Click(kCancel);
                          }
                      }));
            EXPECT_EQ(before, records.Bytes());
            EXPECT_TRUE(receiver.IsUntouched());
        }
    }
}

TEST_P(EitherDialog, OkAtOnceTakesTheDefaults) {
    CallersRecords records;
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, Accept));
    ExpectChoices(GetParam(), records, {});
    EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_BUILTIN), Convert(receiver));
}

TEST_P(EitherDialog, MakesAConverterWithoutARecord) {
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), nullptr, Accept));
    EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_BUILTIN), Convert(receiver));
}

TEST(CmykDialogResult, FillsARecordWithoutAConverter) {
    CallersRecords records;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(kCmykType, nullptr, &records.params, Accept));
    ExpectChoices(kCmykType, records, {});
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(kCmykType, nullptr, nullptr, Accept));
    EXPECT_EQ(0, PlayDialog(kCmykType, nullptr, nullptr, [](DialogUser& user) { user.Click(kCancel); }));
}

TEST(LabDialogResult, MissesItsReceiverAfterOkOnly) {
    const int opened = DialogsOpened();
    CallersRecords records;
    const auto before = records.Bytes();
    EXPECT_EQ(ERR_INVALID_PARAMETER, PlayDialog(kLabType, nullptr, &records.params, Accept));
    EXPECT_EQ(before, records.Bytes());
    EXPECT_EQ(ERR_INVALID_PARAMETER, PlayDialog(kLabType, nullptr, nullptr, Accept));
    EXPECT_EQ(opened + 2, DialogsOpened());
    EXPECT_EQ(0, PlayDialog(kLabType, nullptr, &records.params, [](DialogUser& user) { user.Click(kCancel); }));
    EXPECT_EQ(before, records.Bytes());
}

TEST_P(EitherDialog, HandsBackEachMethod) {
    for (int method = 0; method < 5; ++method) {
        SCOPED_TRACE(method);
        // Records of other bytes, so that no field is right by chance.
        const int fill = 0x31 + method;
        CallersRecords records(fill);
        ConverterReceiver receiver;
        const int32_t result = PlayDialog(GetParam(), receiver.Place(), &records.params, [method](DialogUser& user) {
            user.Choose(kMethods, method);
            user.Click(kOk);
        });
        ExpectChoices(GetParam(), records, {.method = 1U << method}, fill);
        if (method == 2 || method == 4) {
            // Without files there is nothing to make of the methods that need them.
            EXPECT_EQ(ResultOf(GetParam(), 1U << method), result);
            EXPECT_GT(0, result);
            EXPECT_TRUE(receiver.IsUntouched());
            continue;
        }
        EXPECT_EQ(CLR_SUCCESS, result);
        EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, 1U << method), Convert(receiver));
    }
}

TEST_P(EitherDialog, HandsBackEachWhitePoint) {
    constexpr uint32_t kCodes[] = {0, 50, 55, 65, 75, 93};
    for (int white = 0; white < 6; ++white) {
        SCOPED_TRACE(white);
        CallersRecords records;
        ConverterReceiver receiver;
        EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [white](DialogUser& user) {
                      user.Choose(kMethods, 1);
                      user.Choose(kWhites, white);
                      user.Click(kOk);
                  }));
        ExpectChoices(GetParam(), records, {.method = CLRMETHOD_ICC, .whiteCode = kCodes[white]});
        EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_ICC, kCodes[white]), Convert(receiver));
    }
    // The codes tell themselves apart in the pixels.
    EXPECT_NE(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_ICC, 50),
              Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_ICC, 93));
}

/// A white point chosen with one method stays when another is chosen.
TEST_P(EitherDialog, WhitePointOutlivesItsMethod) {
    CallersRecords records;
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [](DialogUser& user) {
                  user.Choose(kMethods, 2);
                  user.Choose(kWhites, 3);
                  user.Choose(kMethods, 0);
                  user.Click(kOk);
              }));
    ExpectChoices(GetParam(), records, {.whiteCode = 65});
}

TEST_P(EitherDialog, TypedNumbersAreNotRead) {
    CallersRecords records;
    ConverterReceiver receiver;
    const int32_t result = PlayDialog(GetParam(), receiver.Place(), &records.params, [](DialogUser& user) {
        if (GetParam() == kCmykType) {
            user.Type(126, T("900"));
            EXPECT_EQ(T("900"), user.TextOf(126));
        }
        user.Choose(kMethods, 1);
        user.Choose(kWhites, 0);
        user.Type(124, T("0.3127"));
        user.Type(125, T("0.3290"));
        EXPECT_EQ(T("0.3127"), user.TextOf(124));
        EXPECT_EQ(T("0.3290"), user.TextOf(125));
        user.Choose(kMethods, 0);
        user.Click(kOk);
    });
    EXPECT_EQ(CLR_SUCCESS, result);
    ExpectChoices(GetParam(), records, {.whiteCode = 0});
    EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_BUILTIN), Convert(receiver));
}

/// The level of the dialog, not the one that converters have without a record.
TEST(CmykDialogResult, ConverterHasTheLevel) {
    EXPECT_NE(Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_BUILTIN, 50, 250),
              Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_BUILTIN, 50, 175));
    EXPECT_NE(Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_BUILTIN, 50, 250),
              Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_BUILTIN, 50, 900));
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(kCmykType, receiver.Place(), nullptr, Accept));
    EXPECT_EQ(Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_BUILTIN),
              receiver.Convert(kColours, BytesOfResult(kCmykType)));
}

TEST_P(EitherDialog, BgrOrderReachesTheConverter) {
    ASSERT_NE(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_BUILTIN),
              Expected(GetParam(), CLRSPACE_BGR, CLRMETHOD_BUILTIN));
    for (const int clicks : {0, 1, 2, 3}) {
        // The direction turns nothing round here, and has no part in the order.
        for (const bool direction : {false, true}) {
            CallersRecords records;
            ConverterReceiver receiver;
            EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                          if (direction) user.Click(kDirection);
                          for (int i = 0; i < clicks; ++i) user.Click(kBgrOrder);
                          user.Click(kOk);
                      }));
            ExpectChoices(GetParam(), records, {});
            const int32_t source = clicks % 2 != 0 ? CLRSPACE_BGR : CLRSPACE_RGB;
            EXPECT_EQ(Expected(GetParam(), source, CLRMETHOD_BUILTIN), Convert(receiver)) << clicks;
        }
    }
}

/// Profiles as the labels ask for them: the device first, RGB second.
class DirectionOfProfiles : public EitherDialog {
protected:
    const Text device_ = files_.Profile(GetParam() == kCmykType ? "107" : "106", "device.ICM");
    const Text rgb_ = files_.Profile("105", "rgb.ICM");

    void ChooseProfiles(DialogUser& user, int directionClicks) {
        user.Choose(kMethods, 2);
        user.Browse(118, device_);
        user.Browse(120, rgb_);
        for (int i = 0; i < directionClicks; ++i) user.Click(kDirection);
    }
    Choices Unswapped() const { return {.method = CLRMETHOD_CUSTOM_ICC, .input = device_, .output = rgb_}; }
    Choices Swapped() const { return {.method = CLRMETHOD_CUSTOM_ICC, .input = rgb_, .output = device_}; }
};
INSTANTIATE_TEST_SUITE_P(Dialogs, DirectionOfProfiles, ::testing::Values(kCmykType, kLabType), DialogName);

TEST_P(DirectionOfProfiles, ConverterSeesThemSwapped) {
    for (const int clicks : {1, 3}) {
        CallersRecords records;
        ConverterReceiver receiver;
        EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                      ChooseProfiles(user, clicks);
                      user.Click(kOk);
                  }));
        ExpectChoices(GetParam(), records, Unswapped());
        // White is white whatever engine converts it.
        const size_t bytes = BytesOfResult(GetParam());
        const auto white = receiver.Convert(std::vector<uint8_t>(12, 255), bytes);
        ASSERT_EQ(4 * bytes, white.size());
        EXPECT_NEAR(GetParam() == kCmykType ? 0 : 255, white[0], 8);
    }
}

/// RGB pixels do not go into a profile of another space.
TEST_P(DirectionOfProfiles, ConverterSeesThemAsChosenWithoutTheTick) {
    for (const int clicks : {0, 2}) {
        CallersRecords records;
        ConverterReceiver receiver;
        EXPECT_EQ(ERR_TRANSFORM_CREATE,
                  PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                      ChooseProfiles(user, clicks);
                      user.Click(kOk);
                  }));
        EXPECT_TRUE(receiver.IsUntouched());
        ExpectChoices(GetParam(), records, Unswapped());
    }
}

TEST_P(DirectionOfProfiles, FailureLeavesTheNamesAsChosen) {
    for (const bool direction : {false, true}) {
        CallersRecords records;
        ConverterReceiver receiver;
        EXPECT_EQ(ERR_FILE_NOT_FOUND, PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                      ChooseProfiles(user, direction ? 1 : 0);
                      // What the converter reads first: there for the chooser, and gone now.
                      files_.Remove(direction ? "rgb.ICM" : "device.ICM");
                      user.Click(kOk);
                  }));
        EXPECT_TRUE(receiver.IsUntouched());
        ExpectChoices(GetParam(), records, Unswapped());
        files_.Profile("105", direction ? "rgb.ICM" : "device.ICM");
    }
}

TEST_P(DirectionOfProfiles, IsOfNoMatterForOtherMethods) {
    for (const int method : {0, 1, 3}) {
        SCOPED_TRACE(method);
        CallersRecords records;
        ConverterReceiver receiver;
        EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                      ChooseProfiles(user, 1);
                      user.Choose(kMethods, method);
                      EXPECT_TRUE(user.IsChecked(kDirection));
                      user.Click(kOk);
                  }));
        Choices choices = Unswapped();
        choices.method = 1U << method;
        ExpectChoices(GetParam(), records, choices);
        EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, choices.method), Convert(receiver));
    }
}

using CmykDirection = DirectionOfProfiles;
INSTANTIATE_TEST_SUITE_P(Dialogs, CmykDirection, ::testing::Values(kCmykType), DialogName);

TEST_P(CmykDirection, RecordAloneGetsTheNamesSwapped) {
    for (const int clicks : {0, 1, 2, 3}) {
        CallersRecords records;
        EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), nullptr, &records.params, [&](DialogUser& user) {
                      ChooseProfiles(user, clicks);
                      user.Click(kOk);
                  }));
        ExpectChoices(GetParam(), records, clicks % 2 != 0 ? Swapped() : Unswapped());
    }
}

/// The method of tables stays what it is, with a converter and without one.
TEST_P(CmykDirection, IsForgottenWithTables) {
    const Text table = files_.Make("table.TIF");
    for (const int method : {3, 4}) {
        for (const bool withConverter : {false, true}) {
            SCOPED_TRACE(method);
            CallersRecords records;
            ConverterReceiver receiver;
            EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), withConverter ? receiver.Place() : nullptr, &records.params,
                                              [&](DialogUser& user) {
                                                  ChooseProfiles(user, 1);
                                                  user.Choose(kMethods, method);
                                                  if (method == 4) user.Browse(122, table);
                                                  EXPECT_FALSE(user.IsEnabled(kDirection));
                                                  user.Click(kDirection);
                                                  EXPECT_TRUE(user.IsChecked(kDirection));
                                                  user.Click(kOk);
                                              }));
            Choices choices = Unswapped();
            choices.method = 1U << method;
            if (method == 4) choices.table = table;
            ExpectChoices(GetParam(), records, choices);
        }
    }
}

/// Tables of this pair read pixels in the order of the built-in kernel for the other hub.
TEST(CmykDialogResult, TablesStayTheMethodOfTheConverter) {
    ASSERT_NE(Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_BUILTIN),
              Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_EMULATION));
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(kCmykType, receiver.Place(), nullptr, [](DialogUser& user) {
                  user.Click(kDirection);
                  user.Choose(kMethods, 3);
                  user.Click(kOk);
              }));
    EXPECT_EQ(Expected(kCmykType, CLRSPACE_RGB, CLRMETHOD_EMULATION),
              receiver.Convert(kColours, BytesOfResult(kCmykType)));
}

TEST_P(EitherDialog, PassesOnWhyThereIsNoConverter) {
    const bool cmyk = GetParam() == kCmykType;
    CallersRecords records;
    ConverterReceiver receiver;
    Text table;
    EXPECT_EQ(ERR_FILE_NOT_FOUND, PlayDialog(GetParam(), receiver.Place(), &records.params, [&](DialogUser& user) {
                  table = files_.Make("table.TIF");
                  user.Choose(kMethods, 4);
                  user.Browse(cmyk ? 122 : 131, table);
                  user.Choose(kWhites, 2);  // cannot be chosen here
                  files_.Remove("table.TIF");
                  user.Click(kOk);
              }));
    EXPECT_TRUE(receiver.IsUntouched());
    ExpectChoices(GetParam(), records, {.method = CLRMETHOD_CUSTOM_EMULATION, .table = table});
    // A name that was never chosen is no file's either.
    EXPECT_EQ(ERR_FILE_NOT_FOUND, PlayDialog(GetParam(), receiver.Place(), nullptr, [](DialogUser& user) {
                  user.Choose(kMethods, 4);
                  user.Click(kOk);
              }));
}

TEST_P(EitherDialog, UnreachableReceiverIsToldAfterOk) {
    CallersRecords records;
    auto* const nowhere = reinterpret_cast<ClrHandle**>(uintptr_t{16});
    EXPECT_EQ(ERR_BAD_POINTER, PlayDialog(GetParam(), nowhere, &records.params, Accept));
    ExpectChoices(GetParam(), records, {});
}

/// No dialog knows the choices of another one.
TEST_P(EitherDialog, EachDialogStartsAfresh) {
    const Text profile = files_.Make("a.ICM");
    const int32_t other = GetParam() == kCmykType ? kLabType : kCmykType;
    for (const int32_t before : {GetParam(), other}) {
        for (const int way : {kOk, kCancel}) {
            ConverterReceiver first;
            PlayDialog(before, first.Place(), nullptr, [&](DialogUser& user) {
                user.Click(kBgrOrder);
                user.Click(kDirection);
                user.Choose(kMethods, 2);
                user.Browse(118, profile);
                user.Choose(kWhites, 5);
                user.Choose(kMethods, 1);
                user.Click(way);
            });
            EXPECT_EQ(way == kCancel, first.IsUntouched());
            CallersRecords records;
            ConverterReceiver receiver;
            EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [](DialogUser& user) {
                          EXPECT_EQ(0, user.Selected(kMethods));
                          EXPECT_EQ(1, user.Selected(kWhites));
                          EXPECT_FALSE(user.IsChecked(kBgrOrder));
                          EXPECT_FALSE(user.IsChecked(kDirection));
                          EXPECT_EQ(Text(), user.TextOf(117));
                          user.Click(kOk);
                      }));
            ExpectChoices(GetParam(), records, {});
            EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_BUILTIN), Convert(receiver));
        }
    }
}

/// A record that a dialog has filled makes the same converter again.
TEST_P(EitherDialog, FilledRecordMakesTheSameConverter) {
    CallersRecords records;
    ConverterReceiver receiver;
    EXPECT_EQ(CLR_SUCCESS, PlayDialog(GetParam(), receiver.Place(), &records.params, [](DialogUser& user) {
                  user.Choose(kMethods, 1);
                  user.Choose(kWhites, 3);
                  user.Click(kOk);
              }));
    records.params.inputProfileMemory = nullptr;
    records.params.outputProfileMemory = nullptr;
    records.params.yuvParams = nullptr;
    records.params.labParams = nullptr;
    if (GetParam() == kLabType) records.params.cmykParams = nullptr;
    ConverterReceiver again;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(again.Place(), CLRSPACE_RGB, DestinationOf(GetParam()), &records.params));
    EXPECT_EQ(Convert(receiver), Convert(again));
    EXPECT_FALSE(Convert(receiver).empty());
}

class NarrowDialog : public EitherDialog {
protected:
    CallersRecords records_;
    ConverterReceiver receiver_;
    ClrParamsA narrow_;

    NarrowDialog() {
        std::memset(&narrow_, 0x5A, sizeof narrow_);
        narrow_.whitePoint = &records_.white;
        narrow_.cmykParams = &records_.cmyk;
        narrow_.yuvParams = &records_.yuv;
        narrow_.labParams = &records_.lab;
        narrow_.inputProfileMemory = &records_.memory[0];
        narrow_.outputProfileMemory = &records_.memory[1];
        for (char* const name : {narrow_.inputProfileName, narrow_.outputProfileName, narrow_.emulationTableName}) {
            std::strcpy(name, "old");
        }
    }
    int32_t Play(const std::function<void(DialogUser&)>& script) {
        return PlayDialogOf([&] { return Zv_ClrDlgA(GetParam(), nullptr, receiver_.Place(), &narrow_); }, script);
    }
};
INSTANTIATE_TEST_SUITE_P(Dialogs, NarrowDialog, ::testing::Values(kCmykType, kLabType), DialogName);

TEST_P(NarrowDialog, TakesTheChoices) {
    const Text profile = files_.Make("a.ICM");
    EXPECT_EQ(CLR_SUCCESS, Play([&](DialogUser& user) {
                  user.Choose(kMethods, 2);
                  user.Browse(118, profile);
                  user.Choose(kWhites, 3);
                  user.Choose(kMethods, 1);
                  user.Click(kOk);
              }));
    EXPECT_EQ(0x5A5A5A5AU, narrow_.size);
    EXPECT_EQ(2U, narrow_.activeMethod);
    EXPECT_EQ(2U, narrow_.methods);
    EXPECT_EQ(8U, narrow_.emulationMethod);
    EXPECT_EQ((files_.Path() / "a.ICM").string(), narrow_.inputProfileName);
    EXPECT_STREQ("", narrow_.outputProfileName);
    EXPECT_STREQ("", narrow_.emulationTableName);
    EXPECT_EQ(65U, uint32_t{records_.white.whiteCode});
    EXPECT_EQ(&records_.white, narrow_.whitePoint);
    EXPECT_EQ(&records_.cmyk, narrow_.cmykParams);
    EXPECT_EQ(&records_.yuv, narrow_.yuvParams);
    EXPECT_EQ(&records_.lab, narrow_.labParams);
    EXPECT_EQ(&records_.memory[0], narrow_.inputProfileMemory);
    EXPECT_EQ(&records_.memory[1], narrow_.outputProfileMemory);
    EXPECT_EQ(Expected(GetParam(), CLRSPACE_RGB, CLRMETHOD_ICC, 65), Convert(receiver_));
}

TEST_P(NarrowDialog, CancelTouchesNothing) {
    const auto before = records_.Bytes();
    const ClrParamsA copy = narrow_;
    EXPECT_EQ(0, Play([](DialogUser& user) {
                  user.Choose(kMethods, 1);
                  user.Click(kCancel);
              }));
    EXPECT_EQ(0, std::memcmp(&copy, &narrow_, sizeof copy));
    EXPECT_EQ(before, records_.Bytes());
    EXPECT_TRUE(receiver_.IsUntouched());
}

}  // namespace
}  // namespace zv::test
