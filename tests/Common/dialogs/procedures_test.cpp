// The dialog procedures, message by message.
#ifndef _WIN32
#    include <algorithm>
#    include <cstring>
#    include <iterator>
#    include <limits>
#    include <vector>

#    include "tests/Common/dialogs/open_dialog.h"

namespace zv::test {
namespace {

constexpr WORD kEditChanged = 0x0300;
const std::u16string kZero = u"0.0";

class DialogProcedures : public ::testing::TestWithParam<ClrDialog> {
protected:
    OpenDialog dialog_{GetParam()};
    ClrDlgState& state_ = dialog_.state;

    std::vector<uint8_t> StateBytes() const {
        const auto* first = reinterpret_cast<const uint8_t*>(&dialog_.state);
        return {first, first + sizeof dialog_.state};
    }
};
INSTANTIATE_TEST_SUITE_P(Dialogs, DialogProcedures, ::testing::Values(ClrDialog::kCmyk, ClrDialog::kLab),
                         [](const auto& dialog) { return dialog.param == ClrDialog::kCmyk ? "Cmyk" : "Lab"; });

TEST_P(DialogProcedures, OpenOnWhatTheyAreGiven) {
    state_.params.activeMethod = 16;
    state_.whitePoint.x = 0.3127;
    state_.whitePoint.y = 0.329;
    EXPECT_EQ(TRUE, dialog_.Open());
    EXPECT_EQ(reinterpret_cast<LONG_PTR>(&state_.context), dialog_.window.userData);
    EXPECT_EQ(1U, state_.params.activeMethod);
    EXPECT_EQ(63U, state_.params.methods);
    EXPECT_EQ(5U, dialog_.At(116).items.size());
    EXPECT_EQ(0, dialog_.At(116).selected);
    EXPECT_EQ(6U, dialog_.At(123).items.size());
    EXPECT_EQ(1, dialog_.At(123).selected);
    EXPECT_EQ(u"0.312700", dialog_.At(124).text);
    EXPECT_EQ(u"0.329000", dialog_.At(125).text);
    EXPECT_EQ(8U, dialog_.At(124).textLimit);
    EXPECT_EQ(8U, dialog_.At(125).textLimit);
    EXPECT_FALSE(dialog_.window.ended);
}

TEST_P(DialogProcedures, ShowNumbersInFull) {
    for (const double value :
         {-0.5, 1e300, -1e300, std::numeric_limits<double>::max(), 5e-7, 4.9e-7, -1e-9, 0.0, -0.0, 1.0, 0.1234565,
          123456789.0, std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        char expected[400];
        std::snprintf(expected, sizeof expected, "%f", value);
        OpenDialog dialog(GetParam());
        dialog.state.whitePoint.x = value;
        dialog.state.whitePoint.y = 0.25;
        dialog.Open();
        EXPECT_EQ(std::u16string(expected, expected + std::strlen(expected)), dialog.At(124).text) << value;
        EXPECT_EQ(u"0.250000", dialog.At(125).text);
    }
}

/// Such a dialog can be looked at and cancelled.
TEST_P(DialogProcedures, OpenWithoutParams) {
    const ClrDlgState before = state_;
    state_.context.params = nullptr;
    EXPECT_EQ(TRUE, dialog_.Open());
    for (const int edit : {124, 125}) {
        EXPECT_EQ(kZero, dialog_.At(edit).text);
        EXPECT_EQ(8U, dialog_.At(edit).textLimit);
        EXPECT_FALSE(dialog_.At(edit).enabled);
    }
    EXPECT_EQ(5U, dialog_.At(116).items.size());
    EXPECT_EQ(0, dialog_.At(116).selected);
    EXPECT_EQ(1, dialog_.At(123).selected);
    EXPECT_FALSE(dialog_.At(117).enabled);
    ScriptedDesktop::Get().chooser = [](OPENFILENAMEW&) {
        ADD_FAILURE();
        return false;
    };
    EXPECT_EQ(FALSE, dialog_.Choose(116, 2));
    EXPECT_EQ(FALSE, dialog_.Choose(123, 2));
    EXPECT_EQ(FALSE, dialog_.Click(118));
    EXPECT_EQ(FALSE, dialog_.Click(1001));
    EXPECT_EQ(FALSE, dialog_.Click(135));
    EXPECT_EQ(FALSE, dialog_.Click(IDOK));
    EXPECT_FALSE(dialog_.window.ended);
    EXPECT_EQ(0, std::memcmp(&before.params, &state_.params, sizeof before.params));
    EXPECT_EQ(TRUE, dialog_.Click(IDCANCEL));
    EXPECT_TRUE(dialog_.window.ended);
    EXPECT_EQ(IDCANCEL, dialog_.window.result);
}

/// The combo says D50 then, and the method asks the record until a white point is chosen.
TEST_P(DialogProcedures, OpenWithACustomWhitePoint) {
    state_.whitePoint.whiteCode = 0;
    dialog_.Open();
    EXPECT_EQ(1, dialog_.At(123).selected);
    EXPECT_FALSE(dialog_.At(123).enabled);
    EXPECT_FALSE(dialog_.At(124).enabled);
    EXPECT_FALSE(dialog_.At(125).enabled);
    dialog_.Choose(116, 1);
    EXPECT_TRUE(dialog_.At(124).enabled);
    EXPECT_TRUE(dialog_.At(125).enabled);
    EXPECT_EQ(0U, uint32_t{state_.whitePoint.whiteCode});
    dialog_.Click(IDOK);
    EXPECT_EQ(50U, uint32_t{state_.whitePoint.whiteCode});
}

TEST_P(DialogProcedures, AnswerNothingBeforeTheyAreOpen) {
    const auto before = StateBytes();
    for (const int control : {1, 2, 116, 118, 123, 134, 1001, 1002}) {
        for (const WORD event : {BN_CLICKED, CBN_SELCHANGE}) EXPECT_EQ(FALSE, dialog_.Command(control, event));
    }
    EXPECT_EQ(before, StateBytes());
    EXPECT_FALSE(dialog_.window.ended);
}

TEST_P(DialogProcedures, LeaveOtherMessagesToTheSystem) {
    dialog_.Open();
    const auto before = StateBytes();
    for (UINT message = 0; message < 0x0500; ++message) {
        if (message == WM_INITDIALOG || message == WM_COMMAND) continue;
        EXPECT_EQ(FALSE, dialog_.Send(message, MAKEWPARAM(IDOK, 0), 0)) << message;
    }
    EXPECT_EQ(before, StateBytes());
    EXPECT_FALSE(dialog_.window.ended);
}

TEST_P(DialogProcedures, TakeMethods) {
    dialog_.Open();
    for (int index = 0; index < 5; ++index) {
        EXPECT_EQ(TRUE, dialog_.Choose(116, index));
        EXPECT_EQ(1U << index, state_.params.activeMethod);
        EXPECT_EQ(1U << index, state_.params.methods);
    }
}

TEST_P(DialogProcedures, TakeWhitePoints) {
    constexpr uint32_t kCodes[] = {0, 50, 55, 65, 75, 93};
    dialog_.Open();
    for (int index = 5; index >= 0; --index) {
        EXPECT_EQ(TRUE, dialog_.Choose(123, index));
        EXPECT_EQ(kCodes[index], uint32_t{state_.whitePoint.whiteCode});
        EXPECT_EQ(index == 0, dialog_.At(124).enabled);
        EXPECT_EQ(index == 0, dialog_.At(125).enabled);
    }
}

TEST_P(DialogProcedures, TakeNoSelectionForNone) {
    dialog_.Open();
    dialog_.Choose(116, 2);
    dialog_.Choose(123, 3);
    const auto before = StateBytes();
    for (const int index : {-1, 6, 100, INT32_MIN, INT32_MAX}) {
        dialog_.Choose(123, index);
        EXPECT_EQ(before, StateBytes()) << index;
        EXPECT_FALSE(dialog_.At(124).enabled);
    }
    for (const int index : {-1, 5, 100, INT32_MIN, INT32_MAX}) {
        dialog_.Choose(116, index);
        EXPECT_EQ(before, StateBytes()) << index;
        EXPECT_TRUE(dialog_.At(117).enabled);
    }
    EXPECT_EQ(TRUE, dialog_.Click(IDOK));
    EXPECT_EQ(before, StateBytes());
    EXPECT_EQ(IDOK, dialog_.window.result);
}

TEST_P(DialogProcedures, HearOnlyChangesAndClicks) {
    dialog_.Open();
    ScriptedDesktop::Get().chooser = [](OPENFILENAMEW&) {
        ADD_FAILURE();
        return false;
    };
    const auto before = StateBytes();
    dialog_.At(116).selected = 4;
    dialog_.At(123).selected = 4;
    dialog_.At(1001).checked = true;
    dialog_.At(1002).checked = true;
    for (const int combo : {116, 123}) {
        for (WORD event = 0; event < 12; ++event) {
            if (event == CBN_SELCHANGE) continue;
            EXPECT_EQ(FALSE, dialog_.Command(combo, event)) << combo << ", " << event;
        }
    }
    for (const int button : {118, 120, 122, 131, 133, 134, 135, 1001, 1002}) {
        for (WORD event = 1; event < 12; ++event) EXPECT_EQ(FALSE, dialog_.Command(button, event)) << button;
    }
    for (const int edit : {117, 119, 121, 124, 125, 126, 130, 132}) {
        for (const WORD event : {kEditChanged, WORD{0x0100}, WORD{0x0200}, WORD{0x0400}, WORD{0x0501}}) {
            EXPECT_EQ(FALSE, dialog_.Command(edit, event)) << edit;
        }
    }
    EXPECT_EQ(before, StateBytes());
    EXPECT_FALSE(dialog_.window.ended);
}

TEST_P(DialogProcedures, HaveNoOtherButtons) {
    dialog_.Open();
    ScriptedDesktop::Get().chooser = [](OPENFILENAMEW&) {
        ADD_FAILURE();
        return false;
    };
    const auto before = StateBytes();
    const bool cmyk = GetParam() == ClrDialog::kCmyk;
    for (const int other : {0, 3, 117, 119, 121, 124, 125, 126, 127, 129, 130, 132, 1000, 1003, 0xFFFF}) {
        EXPECT_EQ(FALSE, dialog_.Click(other)) << other;
    }
    for (const int theirs : cmyk ? std::vector{131, 133, 134, 135} : std::vector{122}) {
        EXPECT_EQ(FALSE, dialog_.Click(theirs)) << theirs;
    }
    EXPECT_EQ(before, StateBytes());
}

TEST_P(DialogProcedures, SeeBothBoxesAtEachClick) {
    dialog_.Open();
    for (const int clicked : {1001, 1002}) {
        for (const bool bgr : {true, false}) {
            for (const bool direction : {false, true}) {
                dialog_.At(1001).checked = bgr;
                dialog_.At(1002).checked = direction;
                EXPECT_EQ(TRUE, dialog_.Click(clicked));
                EXPECT_EQ(bgr ? 1 : 0, state_.context.bgrOrder);
                EXPECT_EQ(direction ? 1 : 0, state_.context.reverseDirection);
            }
        }
    }
}

/// The state of the combos counts, heard of or not.
TEST_P(DialogProcedures, LookOnceMoreAtOk) {
    dialog_.Open();
    dialog_.At(116).selected = 1;
    dialog_.At(123).selected = 5;
    EXPECT_EQ(TRUE, dialog_.Click(IDOK));
    EXPECT_EQ(2U, state_.params.activeMethod);
    EXPECT_EQ(2U, state_.params.methods);
    EXPECT_EQ(93U, uint32_t{state_.whitePoint.whiteCode});
    EXPECT_TRUE(dialog_.window.ended);
    EXPECT_EQ(IDOK, dialog_.window.result);
    EXPECT_EQ(&state_.params, state_.context.params);
}

TEST_P(DialogProcedures, ForgetTheDirectionOfTablesInTheCmykDialog) {
    for (int index = 0; index < 5; ++index) {
        OpenDialog dialog(GetParam());
        dialog.Open();
        dialog.At(1001).checked = true;
        dialog.At(1002).checked = true;
        dialog.Click(1002);
        dialog.Choose(116, index);
        EXPECT_EQ(1, dialog.state.context.reverseDirection);
        dialog.Click(IDOK);
        const bool forgotten = GetParam() == ClrDialog::kCmyk && index >= 3;
        EXPECT_EQ(forgotten ? 0 : 1, dialog.state.context.reverseDirection) << index;
        EXPECT_EQ(1, dialog.state.context.bgrOrder);
        EXPECT_EQ(1U << index, dialog.state.params.activeMethod);
    }
}

TEST_P(DialogProcedures, ForgetAllAtCancel) {
    dialog_.Open();
    state_.context.labDirection = 1;
    state_.context.bgrOrder = 1;
    state_.context.reverseDirection = 1;
    EXPECT_EQ(TRUE, dialog_.Click(IDCANCEL));
    EXPECT_TRUE(dialog_.window.ended);
    EXPECT_EQ(IDCANCEL, dialog_.window.result);
    constexpr ClrDlgContext kNothing = {};
    EXPECT_EQ(0, std::memcmp(&kNothing, &state_.context, sizeof kNothing));
    // Messages that were on their way.
    const auto before = StateBytes();
    for (const int control : {1, 116, 118, 123, 134, 135, 1001, 1002}) {
        for (const WORD event : {BN_CLICKED, CBN_SELCHANGE}) {
            EXPECT_EQ(FALSE, dialog_.Command(control, event)) << control;
        }
    }
    EXPECT_EQ(TRUE, dialog_.Click(IDCANCEL));
    EXPECT_EQ(before, StateBytes());
    EXPECT_EQ(IDCANCEL, dialog_.window.result);
}

struct Chooser {
    ClrDialog dialog;
    int button;
    const char16_t* title;
    const char16_t* filter;
    ZvChar (ClrParams::*field)[CLR_NAME_LENGTH];
    int edit;
};

constexpr char16_t kProfiles[] = u"ICC Files (*.ICM)\0*.ICM\0";
constexpr char16_t kTables[] = u"TIFF Files (*.TIF)\0*.TIF\0";
static_assert(std::size(kProfileFilter) == std::size(kProfiles) && std::size(kTableFilter) == std::size(kTables));
constexpr Chooser kChoosers[] = {
    {ClrDialog::kCmyk, 118, u"Open CMYK Profile", kProfiles, &ClrParams::inputProfileName, 117},
    {ClrDialog::kCmyk, 120, u"Open RGB Profile", kProfiles, &ClrParams::outputProfileName, 119},
    {ClrDialog::kCmyk, 122, u"Open destination RGB image", kTables, &ClrParams::emulationTableName, 121},
    {ClrDialog::kLab, 118, u"Open LAB Profile", kProfiles, &ClrParams::inputProfileName, 117},
    {ClrDialog::kLab, 120, u"Open RGB Profile", kProfiles, &ClrParams::outputProfileName, 119},
    {ClrDialog::kLab, 131, u"Open destination Lab image", kTables, &ClrParams::emulationTableName, 130},
    {ClrDialog::kLab, 133, u"Open destination RGB image", kTables, &ClrParams::emulationTableName, 132},
};

class ChooserRequests : public ::testing::TestWithParam<Chooser> {
protected:
    OpenDialog dialog_{GetParam().dialog};
    ClrParams& params_ = dialog_.state.params;

    ZvChar (&Field())[CLR_NAME_LENGTH] { return params_.*GetParam().field; }
    /// The names of the other choosers stay as the test has made them.
    void ExpectOthers(ZvChar value) {
        for (const auto field :
             {&ClrParams::inputProfileName, &ClrParams::outputProfileName, &ClrParams::emulationTableName}) {
            if (field == GetParam().field) continue;
            for (const ZvChar character : params_.*field) EXPECT_EQ(value, character);
        }
    }
    void FillNames(ZvChar value) {
        for (const auto field :
             {&ClrParams::inputProfileName, &ClrParams::outputProfileName, &ClrParams::emulationTableName}) {
            std::ranges::fill(params_.*field, value);
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Dialogs, ChooserRequests, ::testing::ValuesIn(kChoosers), [](const auto& chooser) {
    return (chooser.param.dialog == ClrDialog::kCmyk ? "Cmyk" : "Lab") + std::to_string(chooser.param.button);
});

/// Two texts, each ended, and the end of the list.
size_t LengthOfList(const char16_t* list) {
    size_t length = 0;
    while (list[length] != 0) length += std::char_traits<char16_t>::length(list + length) + 1;
    return length + 1;
}

TEST_P(ChooserRequests, SayAllThatAChooserNeeds) {
    dialog_.Open();
    FillNames(u'o');
    int opened = 0;
    ScriptedDesktop::Get().chooser = [&](OPENFILENAMEW& request) {
        ++opened;
        EXPECT_EQ(sizeof(OPENFILENAMEW), request.lStructSize);
        EXPECT_EQ(dialog_.window.Handle(), request.hwndOwner);
        EXPECT_EQ(nullptr, request.hInstance);
        const size_t length = LengthOfList(GetParam().filter);
        EXPECT_EQ(std::u16string(GetParam().filter, length), std::u16string(request.lpstrFilter, length));
        EXPECT_EQ(nullptr, request.lpstrCustomFilter);
        EXPECT_EQ(0U, request.nMaxCustFilter);
        EXPECT_EQ(1U, request.nFilterIndex);
        EXPECT_EQ(260U, request.nMaxFile);
        for (size_t i = 0; i < 260; ++i) EXPECT_EQ(0, request.lpstrFile[i]) << i;
        EXPECT_EQ(nullptr, request.lpstrFileTitle);
        EXPECT_EQ(0U, request.nMaxFileTitle);
        EXPECT_EQ(nullptr, request.lpstrInitialDir);
        EXPECT_EQ(std::u16string(GetParam().title), request.lpstrTitle);
        EXPECT_EQ(0x281000U, request.Flags);
        std::char_traits<char16_t>::copy(request.lpstrFile, u"name", 5);
        return true;
    };
    EXPECT_EQ(TRUE, dialog_.Click(GetParam().button));
    EXPECT_EQ(1, opened);
    EXPECT_EQ(std::u16string(u"name"), Field());
    EXPECT_EQ(u"name", dialog_.At(GetParam().edit).text);
    ExpectOthers(u'o');
}

TEST_P(ChooserRequests, TakeNothingOfACancelledChooser) {
    dialog_.Open();
    FillNames(u'o');
    dialog_.At(GetParam().edit).text = u"before";
    ScriptedDesktop::Get().chooser = [](OPENFILENAMEW& request) {
        std::char_traits<char16_t>::copy(request.lpstrFile, u"name", 5);
        return false;
    };
    EXPECT_EQ(TRUE, dialog_.Click(GetParam().button));
    for (const ZvChar character : Field()) EXPECT_EQ(u'o', character);
    EXPECT_EQ(u"before", dialog_.At(GetParam().edit).text);
    ExpectOthers(u'o');
}

TEST_P(ChooserRequests, EndNamesThatAChooserDoesNot) {
    dialog_.Open();
    FillNames(u'o');
    ScriptedDesktop::Get().chooser = [](OPENFILENAMEW& request) {
        std::fill_n(request.lpstrFile, request.nMaxFile, u'x');
        return true;
    };
    EXPECT_EQ(TRUE, dialog_.Click(GetParam().button));
    EXPECT_EQ(std::u16string(259, u'x'), std::u16string(Field()));
    EXPECT_EQ(std::u16string(259, u'x'), dialog_.At(GetParam().edit).text);
    for (size_t i = 260; i < CLR_NAME_LENGTH; ++i) EXPECT_EQ(u'o', Field()[i]);
    ExpectOthers(u'o');
}

TEST(CmykProcedure, TellsTheArrowsALevelThatTheyDoNotSee) {
    for (const int32_t level : {250, 0, 777, 5000}) {
        OpenDialog dialog(ClrDialog::kCmyk);
        dialog.state.cmykParams.gcrLevel = level;
        dialog.Open();
        const ScriptedWindow& spin = dialog.At(127);
        EXPECT_EQ(0U, spin.spinRangeFirst);
        EXPECT_EQ(1000, spin.spinRange);  // the larger end in the low word
        EXPECT_EQ(static_cast<WPARAM>(level), spin.spinPosFirst);
        EXPECT_EQ(0, spin.spinPosSecond);
        EXPECT_EQ(u"0", dialog.At(126).text);
        EXPECT_EQ(level, dialog.state.cmykParams.gcrLevel);
    }
}

TEST(CmykProcedure, OpensWithoutALevel) {
    OpenDialog dialog(ClrDialog::kCmyk);
    dialog.state.context.params = nullptr;
    EXPECT_EQ(TRUE, dialog.Open());
    EXPECT_EQ(0U, dialog.At(127).spinPosFirst);
    EXPECT_EQ(0, dialog.At(127).spinPosSecond);
    EXPECT_EQ(1000, dialog.At(127).spinRange);
}

/// The arrows are never switched, and neither are the boxes but by the method.
TEST(CmykProcedure, SwitchesOnlyWhatDependsOnTheMethod) {
    OpenDialog dialog(ClrDialog::kCmyk);
    dialog.Open();
    for (int index = 0; index < 5; ++index) dialog.Choose(116, index);
    for (const int control : {1, 2, 116, 127, 1001}) EXPECT_EQ(0, dialog.At(control).enableCalls) << control;
}

TEST(LabProcedure, SwitchesOnlyWhatDependsOnTheMethod) {
    OpenDialog dialog(ClrDialog::kLab);
    dialog.Open();
    for (int index = 0; index < 5; ++index) dialog.Choose(116, index);
    for (const int control : {1, 2, 116, 129, 1001, 1002}) EXPECT_EQ(0, dialog.At(control).enableCalls) << control;
}

TEST(LabProcedure, OpensInTheDirectionThatItIsGiven) {
    for (const int32_t direction : {0, 1}) {
        OpenDialog dialog(ClrDialog::kLab);
        dialog.state.context.labDirection = direction;
        dialog.Open();
        EXPECT_EQ(direction == 0, dialog.At(134).checked);
        EXPECT_EQ(direction == 1, dialog.At(135).checked);
        for (int control = 130; control <= 135; ++control) EXPECT_FALSE(dialog.At(control).enabled) << control;
        dialog.Choose(116, 4);
        for (const int control : {130, 131}) EXPECT_EQ(direction == 0, dialog.At(control).enabled) << control;
        for (const int control : {132, 133}) EXPECT_EQ(direction == 1, dialog.At(control).enabled) << control;
        EXPECT_EQ(direction, dialog.state.context.labDirection);
    }
}

/// Only the first radio button is asked, whichever was pressed.
TEST(LabProcedure, ReadsTheDirectionFromTheFirstRadioButton) {
    OpenDialog dialog(ClrDialog::kLab);
    dialog.Open();
    dialog.Choose(116, 4);
    for (const int pressed : {134, 135}) {
        for (const bool first : {true, false}) {
            for (const bool second : {false, true}) {
                dialog.At(134).checked = first;
                dialog.At(135).checked = second;
                EXPECT_EQ(TRUE, dialog.Click(pressed));
                EXPECT_EQ(first ? 0 : 1, dialog.state.context.labDirection);
                EXPECT_EQ(first, dialog.At(130).enabled);
                EXPECT_EQ(first, dialog.At(131).enabled);
                EXPECT_EQ(!first, dialog.At(132).enabled);
                EXPECT_EQ(!first, dialog.At(133).enabled);
            }
        }
    }
}

}  // namespace
}  // namespace zv::test
#endif
