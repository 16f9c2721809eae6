// What the settings dialogs show and how their controls move: the same for every face.
#include <set>

#include "tests/dialogs/dialog_records.h"

namespace zv::test {
namespace {

constexpr int kMethods = 116;
constexpr int kWhites = 123;
constexpr int kBgrOrder = 1001;
constexpr int kDirection = 1002;
constexpr int kCustomWhite = 0;

using Controls = std::set<int>;

/// Those that a person works with, and whose state a dialog may change or must not.
const Controls kCmykControls = {1,   2,   116, 117, 118, 119, 120,       121,
                                122, 123, 124, 125, 126, 127, kBgrOrder, kDirection};
const Controls kLabControls = {1,   2,   116, 117, 118, 119, 120, 123,       124,
                               125, 130, 131, 132, 133, 134, 135, kBgrOrder, kDirection};
const Controls kCmykAlways = {1, 2, 116, 127, kBgrOrder};
const Controls kLabAlways = {1, 2, 116, kBgrOrder, kDirection};
const Controls kProfiles = {117, 118, 119, 120};
const Controls kWhiteEdits = {124, 125};
constexpr int kMethodCount = 5;

const Controls& ControlsOf(int32_t type) { return type == kCmykType ? kCmykControls : kLabControls; }

Controls operator+(Controls a, const Controls& b) {
    a.insert(b.begin(), b.end());
    return a;
}

Controls EnabledIn(DialogUser& user, const Controls& of) {
    Controls enabled;
    for (const int control : of) {
        if (user.IsEnabled(control)) enabled.insert(control);
    }
    return enabled;
}

/// What a method of the CMYK dialog enables.
Controls CmykRow(int method, bool customWhite) {
    const Controls white = customWhite ? kWhiteEdits + Controls{123} : Controls{123};
    switch (method) {
        case 0:
            return kCmykAlways + Controls{126, kDirection};
        case 1:
            return kCmykAlways + white + Controls{kDirection};
        case 2:
            return kCmykAlways + kProfiles + white + Controls{kDirection};
        case 3:
            return kCmykAlways;
        default:
            return kCmykAlways + Controls{121, 122};
    }
}

enum class Direction { kRgbToLab, kLabToRgb };

Controls LabRow(int method, bool customWhite, Direction direction) {
    const Controls white = customWhite ? kWhiteEdits + Controls{123} : Controls{123};
    switch (method) {
        case 1:
            return kLabAlways + white;
        case 2:
            return kLabAlways + kProfiles + white;
        case 4:
            return kLabAlways +
                   (direction == Direction::kRgbToLab ? Controls{134, 135, 130, 131} : Controls{134, 135, 132, 133});
        default:
            return kLabAlways;
    }
}

Controls Row(int32_t type, int method, bool customWhite) {
    return type == kCmykType ? CmykRow(method, customWhite) : LabRow(method, customWhite, Direction::kRgbToLab);
}

/// Runs a dialog that is cancelled at the end of the script.
void Look(int32_t type, const std::function<void(DialogUser&)>& script) {
    const int opened = DialogsOpened();
    bool ran = false;
    EXPECT_EQ(0, PlayDialog(type, nullptr, nullptr, [&](DialogUser& user) {
                  ran = true;
                  script(user);
                  user.Click(kCancel);
              }));
    EXPECT_TRUE(ran);
    EXPECT_EQ(opened + 1, DialogsOpened());
}

/// The names of a test's cases.
std::string DialogName(const ::testing::TestParamInfo<int32_t>& info) {
    return info.param == kCmykType ? "Cmyk" : "Lab";
}

class BothDialogs : public ::testing::TestWithParam<int32_t> {};
INSTANTIATE_TEST_SUITE_P(Dialogs, BothDialogs, ::testing::Values(kCmykType, kLabType), DialogName);

TEST_P(BothDialogs, HaveTheirOwnTitlesAndControls) {
    Look(GetParam(), [](DialogUser& user) {
        EXPECT_EQ(T(GetParam() == kCmykType ? "CMYK color settings" : "CIELab color settings"), user.Title());
        for (const int control : ControlsOf(GetParam())) EXPECT_TRUE(user.Exists(control)) << control;
        const Controls others =
            GetParam() == kCmykType ? Controls{129, 130, 131, 132, 133, 134, 135} : Controls{121, 122, 126, 127};
        for (const int control : others) EXPECT_FALSE(user.Exists(control)) << control;
        EXPECT_EQ(GetParam() == kLabType, user.Exists(129));
    });
}

TEST_P(BothDialogs, SayWhatTheirButtonsAreFor) {
    Look(GetParam(), [](DialogUser& user) {
        EXPECT_EQ(T("OK"), user.TextOf(kOk));
        EXPECT_EQ(T("Cancel"), user.TextOf(kCancel));
        EXPECT_EQ(T("BGR &Order"), user.TextOf(kBgrOrder));
        EXPECT_EQ(T(GetParam() == kCmykType ? "RGB &to CMYK" : "RGB &to LAB"), user.TextOf(kDirection));
        const Controls browse = GetParam() == kCmykType ? Controls{118, 120, 122} : Controls{118, 120, 131, 133};
        for (const int button : browse) EXPECT_EQ(T("..."), user.TextOf(button)) << button;
        if (GetParam() == kCmykType) return;
        EXPECT_EQ(T("Emulation tables"), user.TextOf(129));
        EXPECT_EQ(T("&RGB To CIELab"), user.TextOf(134));
        EXPECT_EQ(T("CIE&Lab To RGB"), user.TextOf(135));
    });
}

TEST_P(BothDialogs, ListMethodsAndWhitePoints) {
    Look(GetParam(), [](DialogUser& user) {
        const std::vector<Text> methods = {T("Built-in conversion"), T("ICC profiling"), T("Custom ICC Profiling"),
                                           T("Built-in emulation tables"), T("Custom emulation tables")};
        EXPECT_EQ(methods, user.Items(kMethods));
        const std::vector<Text> whites = {T("Custom (xyY) point"), T("D50"), T("D55"), T("D65"), T("D75"), T("D93")};
        EXPECT_EQ(whites, user.Items(kWhites));
    });
}

TEST_P(BothDialogs, OpenWithTheBuiltInMethodAndD50) {
    Look(GetParam(), [](DialogUser& user) {
        EXPECT_EQ(0, user.Selected(kMethods));
        EXPECT_EQ(1, user.Selected(kWhites));
        EXPECT_EQ(T("0.000000"), user.TextOf(124));
        EXPECT_EQ(T("0.000000"), user.TextOf(125));
        EXPECT_FALSE(user.IsChecked(kBgrOrder));
        EXPECT_FALSE(user.IsChecked(kDirection));
        const Controls names = GetParam() == kCmykType ? Controls{117, 119, 121} : Controls{117, 119, 130, 132};
        for (const int edit : names) EXPECT_EQ(Text(), user.TextOf(edit)) << edit;
        EXPECT_EQ(Row(GetParam(), 0, false), EnabledIn(user, ControlsOf(GetParam())));
        if (GetParam() == kCmykType) return;
        EXPECT_TRUE(user.IsChecked(134));
        EXPECT_FALSE(user.IsChecked(135));
    });
}

/// Whatever level the record has: the arrows stand at 0.
TEST(CmykDialog, GcrStandsAtZero) {
    Look(kCmykType, [](DialogUser& user) { EXPECT_EQ(T("0"), user.TextOf(126)); });
}

TEST_P(BothDialogs, EachMethodEnablesItsControlsAfterEachOther) {
    for (const bool customWhite : {false, true}) {
        Look(GetParam(), [customWhite](DialogUser& user) {
            const Controls& all = ControlsOf(GetParam());
            user.Choose(kMethods, 1);
            user.Choose(kWhites, customWhite ? kCustomWhite : 3);
            for (int from = 0; from < kMethodCount; ++from) {
                for (int to = 0; to < kMethodCount; ++to) {
                    SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
                    user.Choose(kMethods, from);
                    EXPECT_EQ(Row(GetParam(), from, customWhite), EnabledIn(user, all));
                    user.Choose(kMethods, to);
                    EXPECT_EQ(Row(GetParam(), to, customWhite), EnabledIn(user, all));
                }
            }
            EXPECT_EQ(customWhite ? kCustomWhite : 3, user.Selected(kWhites));
        });
    }
}

TEST_P(BothDialogs, OnlyTheCustomWhitePointHasCoordinates) {
    Look(GetParam(), [](DialogUser& user) {
        for (const int method : {1, 2}) {
            user.Choose(kMethods, method);
            for (const int white : {0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 4, 3, 2, 1}) {
                user.Choose(kWhites, white);
                EXPECT_EQ(Row(GetParam(), method, white == kCustomWhite), EnabledIn(user, ControlsOf(GetParam())))
                    << method << ", " << white;
            }
        }
    });
}

TEST_P(BothDialogs, CoordinatesHaveEightCharacters) {
    Look(GetParam(), [](DialogUser& user) {
        user.Choose(kMethods, 1);
        user.Choose(kWhites, kCustomWhite);
        for (const int edit : {124, 125}) {
            user.Type(edit, T("0.123456789"));
            EXPECT_EQ(T("0.123456"), user.TextOf(edit)) << edit;
            user.Type(edit, T("0.31"));
            EXPECT_EQ(T("0.31"), user.TextOf(edit)) << edit;
        }
    });
}

/// Names come from choosers only.
TEST_P(BothDialogs, NamesCannotBeTyped) {
    Look(GetParam(), [](DialogUser& user) {
        user.Choose(kMethods, 2);
        user.Type(117, T("a.icm"));
        user.Type(119, T("b.icm"));
        EXPECT_EQ(Text(), user.TextOf(117));
        EXPECT_EQ(Text(), user.TextOf(119));
    });
}

TEST_P(BothDialogs, CheckBoxesAreTickedAndUnticked) {
    Look(GetParam(), [](DialogUser& user) {
        for (const int box : {kBgrOrder, kDirection}) {
            const int other = box == kBgrOrder ? kDirection : kBgrOrder;
            for (const bool ticked : {true, false, true, false}) {
                user.Click(box);
                EXPECT_EQ(ticked, user.IsChecked(box));
                EXPECT_FALSE(user.IsChecked(other));
            }
        }
        EXPECT_EQ(Row(GetParam(), 0, false), EnabledIn(user, ControlsOf(GetParam())));
    });
}

TEST(LabDialog, RadioButtonsChooseTheTable) {
    Look(kLabType, [](DialogUser& user) {
        user.Choose(kMethods, 4);
        for (const Direction direction : {Direction::kLabToRgb, Direction::kRgbToLab, Direction::kLabToRgb,
                                          Direction::kLabToRgb, Direction::kRgbToLab}) {
            const bool toLab = direction == Direction::kRgbToLab;
            user.Click(toLab ? 134 : 135);
            EXPECT_EQ(toLab, user.IsChecked(134));
            EXPECT_EQ(!toLab, user.IsChecked(135));
            EXPECT_EQ(LabRow(4, false, direction), EnabledIn(user, kLabControls));
        }
    });
}

TEST(LabDialog, DirectionStaysWhileOtherMethodsAreLookedAt) {
    Look(kLabType, [](DialogUser& user) {
        user.Choose(kMethods, 4);
        user.Click(135);
        for (int method = 0; method < kMethodCount; ++method) {
            user.Choose(kMethods, method);
            EXPECT_EQ(LabRow(method, false, Direction::kLabToRgb), EnabledIn(user, kLabControls)) << method;
            EXPECT_TRUE(user.IsChecked(135));
        }
        user.Click(134);
        user.Choose(kMethods, 0);
        user.Choose(kMethods, 4);
        EXPECT_EQ(LabRow(4, false, Direction::kRgbToLab), EnabledIn(user, kLabControls));
    });
}

struct Chooser {
    int32_t type;
    int button;
    const char* title;
    const char* filterText;
    const char* pattern;
    ZvChar (ClrParams::*field)[CLR_NAME_LENGTH];
    int edit;
    int method;
    bool labToRgb = false;
};

constexpr Chooser kChoosers[] = {
    {kCmykType, 118, "Open CMYK Profile", "ICC Files (*.ICM)", "*.ICM", &ClrParams::inputProfileName, 117, 2},
    {kCmykType, 120, "Open RGB Profile", "ICC Files (*.ICM)", "*.ICM", &ClrParams::outputProfileName, 119, 2},
    {kCmykType, 122, "Open destination RGB image", "TIFF Files (*.TIF)", "*.TIF", &ClrParams::emulationTableName, 121,
     4},
    {kLabType, 118, "Open LAB Profile", "ICC Files (*.ICM)", "*.ICM", &ClrParams::inputProfileName, 117, 2},
    {kLabType, 120, "Open RGB Profile", "ICC Files (*.ICM)", "*.ICM", &ClrParams::outputProfileName, 119, 2},
    {kLabType, 131, "Open destination Lab image", "TIFF Files (*.TIF)", "*.TIF", &ClrParams::emulationTableName, 130,
     4},
    {kLabType, 133, "Open destination RGB image", "TIFF Files (*.TIF)", "*.TIF", &ClrParams::emulationTableName, 132, 4,
     true},
};

std::string ChooserName(const ::testing::TestParamInfo<Chooser>& info) {
    return (info.param.type == kCmykType ? "Cmyk" : "Lab") + std::to_string(info.param.button);
}

void ShowChooser(DialogUser& user, const Chooser& chooser) {
    user.Choose(kMethods, chooser.method);
    if (chooser.labToRgb) user.Click(135);
}

class FileChoosers : public ::testing::TestWithParam<Chooser> {
protected:
    DialogFiles files_;
    ConverterReceiver receiver_;
    CallersRecords records_;

    std::string Extension() const { return GetParam().pattern + 1; }

    /// Plays the dialog to OK. A converter is wanted by the Lab dialog only, and what becomes of it does not matter.
    void Play(const std::function<void(DialogUser&)>& script) {
        const bool cmyk = GetParam().type == kCmykType;
        const int32_t result =
            PlayDialog(GetParam().type, cmyk ? nullptr : receiver_.Place(), &records_.params, [&](DialogUser& user) {
                ShowChooser(user, GetParam());
                script(user);
                // The built-in method needs no file, so that the files here may hold anything.
                user.Choose(kMethods, 0);
                user.Click(kOk);
            });
        EXPECT_EQ(CLR_SUCCESS, result);
    }
    /// The field of this chooser has the name; the others are empty.
    void ExpectName(const Text& name) const {
        Choices choices;
        for (const auto& [field, to] : {std::pair{&ClrParams::inputProfileName, &choices.input},
                                        std::pair{&ClrParams::outputProfileName, &choices.output},
                                        std::pair{&ClrParams::emulationTableName, &choices.table}}) {
            if (field == GetParam().field) *to = name;
        }
        ExpectChoices(GetParam().type, records_, choices);
    }
};
INSTANTIATE_TEST_SUITE_P(Dialogs, FileChoosers, ::testing::ValuesIn(kChoosers), ChooserName);

TEST_P(FileChoosers, TakeAFile) {
    const Text file = files_.Make("A file" + Extension());
    Play([&](DialogUser& user) {
        const ChooserSeen seen = user.Browse(GetParam().button, file);
        EXPECT_TRUE(seen.opened);
        EXPECT_EQ(T(GetParam().title), seen.title);
        EXPECT_EQ(T(GetParam().filterText), seen.filterText);
        if (!seen.filterPattern.empty()) {
            EXPECT_EQ(T(GetParam().pattern), seen.filterPattern);
        }
        for (const int edit : {117, 119, 121, 130, 132}) {
            if (!user.Exists(edit)) continue;
            EXPECT_EQ(edit == GetParam().edit ? file : Text(), user.TextOf(edit)) << edit;
        }
    });
    ExpectName(file);
}

TEST_P(FileChoosers, ChangeNothingWhenCancelled) {
    Play([&](DialogUser& user) {
        EXPECT_TRUE(user.Browse(GetParam().button, Text()).opened);
        EXPECT_EQ(Text(), user.TextOf(GetParam().edit));
    });
    ExpectName(Text());
}

TEST_P(FileChoosers, KeepTheLastFile) {
    const Text longer = files_.Make("the first and longer name" + Extension());
    const Text shorter = files_.Make("b" + Extension());
    Play([&](DialogUser& user) {
        user.Browse(GetParam().button, longer);
        user.Browse(GetParam().button, shorter);
        EXPECT_EQ(shorter, user.TextOf(GetParam().edit));
        user.Browse(GetParam().button, Text());
        EXPECT_EQ(shorter, user.TextOf(GetParam().edit));
    });
    ExpectName(shorter);
}

TEST_P(FileChoosers, TakeNamesOfAllCharacters) {
    const std::filesystem::path name(u"Gr\u00F6\u00DFe \u65E5\u672C \U0001F3A8");
    const Text file = files_.Make(name.u16string() + std::filesystem::path(Extension()).u16string());
    Play([&](DialogUser& user) {
        user.Browse(GetParam().button, file);
        EXPECT_EQ(file, user.TextOf(GetParam().edit));
    });
    ExpectName(file);
}

/// One character less than the field of the chooser has.
TEST_P(FileChoosers, TakeTheLongestName) {
    const size_t folder = NameOf(files_.Path()).size() + 1;
    ASSERT_LT(folder + 5, 259U);
    std::filesystem::path name(std::string(259 - folder - Extension().size(), 'x') + Extension());
    const Text file = files_.Make(name);
    ASSERT_EQ(259U, file.size());
    Play([&](DialogUser& user) {
        user.Browse(GetParam().button, file);
        EXPECT_EQ(file, user.TextOf(GetParam().edit));
    });
    ExpectName(file);
}

TEST_P(FileChoosers, StayShutWhereTheMethodHasNoUseForThem) {
    const Text file = files_.Make("a" + Extension());
    Play([&](DialogUser& user) {
        for (int method = 0; method < kMethodCount; ++method) {
            if (method == GetParam().method) continue;
            user.Choose(kMethods, method);
            EXPECT_FALSE(user.Browse(GetParam().button, file).opened) << method;
        }
    });
    ExpectName(Text());
}

/// Two edits show what there is one field for.
TEST(LabDialog, LastTableCounts) {
    const DialogFiles files;
    const Text lab = files.Make("lab.TIF");
    const Text rgb = files.Make("rgb.TIF");
    for (const bool labLast : {false, true}) {
        CallersRecords records;
        ConverterReceiver receiver;
        EXPECT_EQ(CLR_SUCCESS, PlayDialog(kLabType, receiver.Place(), &records.params, [&](DialogUser& user) {
                      user.Choose(kMethods, 4);
                      user.Browse(131, lab);
                      user.Click(135);
                      EXPECT_FALSE(user.Browse(131, lab).opened);
                      user.Browse(133, rgb);
                      if (labLast) {
                          user.Click(134);
                          EXPECT_FALSE(user.Browse(133, rgb).opened);
                          user.Browse(131, lab);
                      }
                      EXPECT_EQ(lab, user.TextOf(130));
                      EXPECT_EQ(rgb, user.TextOf(132));
                      user.Choose(kMethods, 0);
                      user.Click(kOk);
                  }));
        ExpectChoices(kLabType, records, {.table = labLast ? lab : rgb});
    }
}

}  // namespace
}  // namespace zv::test
