// What dialogs start from, and the step that turns the direction.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "Common/dialogs/dialogs.h"

namespace zv::test {
namespace {

constexpr ClrDialog kDialogs[] = {ClrDialog::kCmyk, ClrDialog::kLab};

void ExpectConnected(ClrDialog dialog, const ClrDlgState& state) {
    EXPECT_EQ(&state.params, state.context.params);
    EXPECT_EQ(&state.whitePoint, state.params.whitePoint);
    EXPECT_EQ(dialog == ClrDialog::kCmyk ? &state.cmykParams : nullptr, state.params.cmykParams);
    EXPECT_EQ(nullptr, state.params.inputProfileMemory);
    EXPECT_EQ(nullptr, state.params.outputProfileMemory);
    EXPECT_EQ(nullptr, state.params.yuvParams);
    EXPECT_EQ(nullptr, state.params.labParams);
}

TEST(DialogTypes, AreTwo) {
    for (int32_t type = -300; type <= 300; ++type) EXPECT_EQ(type == 1 || type == 2, ClrIsDialog(type)) << type;
}

TEST(DialogState, BeginsWithTheDefaults) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgState state;
        std::memset(&state, 0xA5, sizeof state);
        ClrBeginDialog(dialog, &state);
        ExpectConnected(dialog, state);
        EXPECT_EQ(0, state.context.labDirection);
        EXPECT_EQ(0, state.context.bgrOrder);
        EXPECT_EQ(0, state.context.reverseDirection);
        EXPECT_EQ(1648U, state.params.size);
        EXPECT_EQ(1U, state.params.activeMethod);
        EXPECT_EQ(63U, state.params.methods);
        EXPECT_EQ(8U, state.params.emulationMethod);
        for (const auto& name :
             {state.params.inputProfileName, state.params.outputProfileName, state.params.emulationTableName}) {
            EXPECT_TRUE(std::all_of(name, name + CLR_NAME_LENGTH, [](ZvChar c) { return c == 0; }));
        }
        EXPECT_EQ(50U, uint32_t{state.whitePoint.whiteCode});
        EXPECT_EQ(0.0, double{state.whitePoint.x});
        EXPECT_EQ(0.0, double{state.whitePoint.y});
        const bool cmyk = dialog == ClrDialog::kCmyk;
        EXPECT_EQ(cmyk ? 12 : 0, state.cmykParams.size);
        EXPECT_EQ(cmyk ? 250 : 0, state.cmykParams.gcrLevel);
        EXPECT_EQ(cmyk ? 1 : 0, state.cmykParams.mask);
    }
}

TEST(DialogState, KeepsItsValuesWhenItIsConnected) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgState before;
        std::memset(&before, 0x25, sizeof before);
        ClrDlgState state = before;
        ClrConnectDialog(dialog, &state);
        ExpectConnected(dialog, state);
        EXPECT_EQ(before.context.bgrOrder, state.context.bgrOrder);
        EXPECT_EQ(before.context.labDirection, state.context.labDirection);
        EXPECT_EQ(before.context.reverseDirection, state.context.reverseDirection);
        EXPECT_EQ(before.params.size, state.params.size);
        EXPECT_EQ(before.params.activeMethod, state.params.activeMethod);
        EXPECT_EQ(before.params.methods, state.params.methods);
        EXPECT_EQ(0, std::memcmp(&before.params.inputProfileName, &state.params.inputProfileName,
                                 sizeof state.params.inputProfileName));
        EXPECT_EQ(0, std::memcmp(&before.whitePoint, &state.whitePoint, sizeof state.whitePoint));
        EXPECT_EQ(0, std::memcmp(&before.cmykParams, &state.cmykParams, sizeof state.cmykParams));
    }
}

/// A state whose names are full, each with characters of its own.
ClrDlgState FullState(ClrDialog dialog, uint32_t method) {
    ClrDlgState state;
    ClrBeginDialog(dialog, &state);
    ClrConnectDialog(dialog, &state);
    for (size_t i = 0; i < CLR_NAME_LENGTH; ++i) {
        state.params.inputProfileName[i] = static_cast<ZvChar>(0x1000 + i);
        state.params.outputProfileName[i] = static_cast<ZvChar>(0x2000 + i);
        state.params.emulationTableName[i] = static_cast<ZvChar>(0x3000 + i);
    }
    state.params.activeMethod = method;
    state.params.methods = method;
    state.context.reverseDirection = 1;
    return state;
}

TEST(DialogDirection, SwapsTheNamesOfCustomProfiles) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgState state = FullState(dialog, CLRMETHOD_CUSTOM_ICC);
        for (const bool swapped : {true, false, true}) {
            ClrTurnDirection(dialog, &state);
            for (size_t i = 0; i < CLR_NAME_LENGTH; ++i) {
                // A chooser gives no more than 260 characters.
                const bool moved = swapped && i < 260;
                EXPECT_EQ(static_cast<ZvChar>((moved ? 0x2000 : 0x1000) + i), state.params.inputProfileName[i]);
                EXPECT_EQ(static_cast<ZvChar>((moved ? 0x1000 : 0x2000) + i), state.params.outputProfileName[i]);
                EXPECT_EQ(static_cast<ZvChar>(0x3000 + i), state.params.emulationTableName[i]);
            }
            EXPECT_EQ(4U, state.params.activeMethod);
            EXPECT_EQ(4U, state.params.methods);
            EXPECT_EQ(1, state.context.reverseDirection);
        }
    }
}

TEST(DialogDirection, MakesTablesOfTheCmykDialogBuiltIn) {
    for (const ClrDialog dialog : kDialogs) {
        for (const uint32_t method : {1U, 2U, 8U, 16U}) {
            ClrDlgState state = FullState(dialog, method);
            const ClrDlgState before = state;
            for (int run = 0; run < 2; ++run) {
                ClrTurnDirection(dialog, &state);
                const bool turned = dialog == ClrDialog::kCmyk && method >= 8;
                EXPECT_EQ(turned ? 1U : method, state.params.activeMethod);
                EXPECT_EQ(method, state.params.methods);
                EXPECT_EQ(0, std::memcmp(before.params.inputProfileName, state.params.inputProfileName,
                                         sizeof before.params.inputProfileName));
                EXPECT_EQ(0, std::memcmp(before.params.outputProfileName, state.params.outputProfileName,
                                         sizeof before.params.outputProfileName));
            }
        }
    }
}

TEST(DialogDirection, DoesNothingUnlessItIsReversed) {
    for (const ClrDialog dialog : kDialogs) {
        for (const uint32_t method : {1U, 2U, 4U, 8U, 16U}) {
            ClrDlgState state = FullState(dialog, method);
            state.context.reverseDirection = 0;
            const ClrDlgState before = state;
            ClrTurnDirection(dialog, &state);
            EXPECT_EQ(0, std::memcmp(&before, &state, sizeof state)) << method;
        }
    }
}

}  // namespace
}  // namespace zv::test
