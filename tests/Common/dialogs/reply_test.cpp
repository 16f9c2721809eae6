// The bytes that a program hands back after OK.
#ifndef _WIN32
#    include "Common/dialogs/reply.h"

#    include <gtest/gtest.h>

#    include <algorithm>
#    include <cstring>
#    include <limits>

namespace zv::test {
namespace {

constexpr ClrDialog kDialogs[] = {ClrDialog::kCmyk, ClrDialog::kLab};

void SetText(ZvChar (&field)[CLR_NAME_LENGTH], const char16_t* text) {
    std::char_traits<char16_t>::copy(field, text, std::char_traits<char16_t>::length(text) + 1);
}

ClrDlgState Chosen(ClrDialog dialog) {
    ClrDlgState state;
    ClrBeginDialog(dialog, &state);
    state.context.labDirection = 1;
    state.context.bgrOrder = 1;
    state.context.reverseDirection = 1;
    state.params.activeMethod = CLRMETHOD_CUSTOM_ICC;
    state.params.methods = CLRMETHOD_CUSTOM_ICC;
    SetText(state.params.inputProfileName, u"in");
    SetText(state.params.outputProfileName, u"out");
    SetText(state.params.emulationTableName, u"table");
    state.whitePoint.whiteCode = 75;
    return state;
}

bool Takes(ClrDialog dialog, const ClrDlgReply& reply) {
    ClrDlgState state;
    std::memset(&state, 0x3C, sizeof state);
    ClrDlgState before;
    std::memset(&before, 0x3C, sizeof before);
    if (TakeReply(dialog, reply, &state)) return true;
    EXPECT_EQ(0, std::memcmp(&before, &state, sizeof state)) << "a refused reply was written";
    return false;
}

TEST(DialogReply, BringsAState) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgState given = Chosen(dialog);
        ClrConnectDialog(dialog, &given);
        const ClrDlgReply reply = MakeReply(dialog, given);
        ClrDlgState taken;
        std::memset(&taken, 0xA5, sizeof taken);
        ASSERT_TRUE(TakeReply(dialog, reply, &taken));
        EXPECT_EQ(&taken.params, taken.context.params);
        EXPECT_EQ(&taken.whitePoint, taken.params.whitePoint);
        EXPECT_EQ(dialog == ClrDialog::kCmyk ? &taken.cmykParams : nullptr, taken.params.cmykParams);
        // All else is the same.
        ClrConnectDialog(dialog, &taken);
        given.context.params = taken.context.params;
        given.params.whitePoint = taken.params.whitePoint;
        given.params.cmykParams = taken.params.cmykParams;
        EXPECT_EQ(0, std::memcmp(&given.context, &taken.context, sizeof given.context));
        EXPECT_EQ(0, std::memcmp(&given.params, &taken.params, sizeof given.params));
        EXPECT_EQ(0, std::memcmp(&given.whitePoint, &taken.whitePoint, sizeof given.whitePoint));
        EXPECT_EQ(0, std::memcmp(&given.cmykParams, &taken.cmykParams, sizeof given.cmykParams));
    }
}

TEST(DialogReply, TellsNoAddresses) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgState given = Chosen(dialog);
        ClrConnectDialog(dialog, &given);
        const ClrDlgReply reply = MakeReply(dialog, given);
        EXPECT_STREQ(ZVCLR_VERSION_STRING, reply.version);
        EXPECT_EQ(static_cast<int32_t>(dialog), reply.dialog);
        EXPECT_EQ(nullptr, reply.state.context.params);
        EXPECT_EQ(nullptr, reply.state.params.whitePoint);
        EXPECT_EQ(nullptr, reply.state.params.cmykParams);
    }
}

/// Addresses of another program mean nothing here.
TEST(DialogReply, AddressesAreNotTaken) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgReply reply = MakeReply(dialog, Chosen(dialog));
        const auto somewhere = [](auto*& pointer) { std::memset(&pointer, 0x77, sizeof pointer); };
        somewhere(reply.state.context.params);
        somewhere(reply.state.params.whitePoint);
        somewhere(reply.state.params.cmykParams);
        somewhere(reply.state.params.inputProfileMemory);
        somewhere(reply.state.params.outputProfileMemory);
        somewhere(reply.state.params.yuvParams);
        somewhere(reply.state.params.labParams);
        ClrDlgState taken;
        ASSERT_TRUE(TakeReply(dialog, reply, &taken));
        EXPECT_EQ(&taken.params, taken.context.params);
        EXPECT_EQ(&taken.whitePoint, taken.params.whitePoint);
        EXPECT_EQ(dialog == ClrDialog::kCmyk ? &taken.cmykParams : nullptr, taken.params.cmykParams);
        EXPECT_EQ(nullptr, taken.params.inputProfileMemory);
        EXPECT_EQ(nullptr, taken.params.outputProfileMemory);
        EXPECT_EQ(nullptr, taken.params.yuvParams);
        EXPECT_EQ(nullptr, taken.params.labParams);
    }
}

TEST(DialogReply, IsOfTheSameVersion) {
    const ClrDlgReply good = MakeReply(ClrDialog::kCmyk, Chosen(ClrDialog::kCmyk));
    EXPECT_TRUE(Takes(ClrDialog::kCmyk, good));
    for (size_t i = 0; i < sizeof good.version; ++i) {
        ClrDlgReply reply = good;
        reply.version[i] = static_cast<char>(reply.version[i] ^ 1);
        EXPECT_FALSE(Takes(ClrDialog::kCmyk, reply)) << i;
    }
    EXPECT_FALSE(Takes(ClrDialog::kCmyk, ClrDlgReply{}));
}

TEST(DialogReply, IsOfTheDialogThatWasAskedFor) {
    for (const ClrDialog dialog : kDialogs) {
        for (const int32_t told : {-1, 0, 1, 2, 3, 114, 0x10001}) {
            ClrDlgReply reply = MakeReply(dialog, Chosen(dialog));
            reply.dialog = told;
            EXPECT_EQ(told == static_cast<int32_t>(dialog), Takes(dialog, reply)) << told;
        }
    }
}

TEST(DialogReply, HasOneMethod) {
    for (const ClrDialog dialog : kDialogs) {
        for (uint32_t bit = 1; bit <= 16; bit <<= 1) {
            ClrDlgReply reply = MakeReply(dialog, Chosen(dialog));
            reply.state.params.activeMethod = bit;
            reply.state.params.methods = bit;
            EXPECT_TRUE(Takes(dialog, reply)) << bit;
            for (const uint32_t methods : {0U, bit | 32U, bit << 1, 63U, ~bit}) {
                reply.state.params.methods = methods;
                EXPECT_FALSE(Takes(dialog, reply)) << bit << ", " << methods;
            }
        }
        for (const uint32_t none : {0U, 3U, 5U, 7U, 12U, 15U, 17U, 24U, 31U, 32U, 48U, 63U, 64U, 0x80000000U, ~0U}) {
            ClrDlgReply reply = MakeReply(dialog, Chosen(dialog));
            reply.state.params.activeMethod = none;
            reply.state.params.methods = none;
            EXPECT_FALSE(Takes(dialog, reply)) << none;
        }
    }
}

TEST(DialogReply, HasARecordOfItsSize) {
    for (const uint32_t size : {0U, 1647U, 1649U, 1656U, ~0U}) {
        ClrDlgReply reply = MakeReply(ClrDialog::kLab, Chosen(ClrDialog::kLab));
        reply.state.params.size = size;
        EXPECT_FALSE(Takes(ClrDialog::kLab, reply)) << size;
    }
}

/// No chooser gives more than 259 characters.
TEST(DialogReply, HasNamesOfChoosers) {
    for (const auto field :
         {&ClrParams::inputProfileName, &ClrParams::outputProfileName, &ClrParams::emulationTableName}) {
        ClrDlgReply reply = MakeReply(ClrDialog::kCmyk, Chosen(ClrDialog::kCmyk));
        auto& name = reply.state.params.*field;
        std::ranges::fill(name, u'x');
        EXPECT_FALSE(Takes(ClrDialog::kCmyk, reply));
        for (const size_t length : {263U, 262U, 261U, 260U, 259U, 1U, 0U}) {
            name[length] = 0;
            EXPECT_EQ(length < 260, Takes(ClrDialog::kCmyk, reply)) << length;
        }
    }
}

TEST(DialogReply, HasAWhitePointOfTheCombo) {
    for (const ClrDialog dialog : kDialogs) {
        ClrDlgReply reply = MakeReply(dialog, Chosen(dialog));
        for (uint32_t code = 0; code < 200; ++code) {
            reply.state.whitePoint.whiteCode = code;
            const bool listed = code == 0 || code == 50 || code == 55 || code == 65 || code == 75 || code == 93;
            EXPECT_EQ(listed, Takes(dialog, reply)) << code;
        }
        reply.state.whitePoint.whiteCode = 0;
        for (const double value : {0.3127, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
            reply.state.whitePoint.x = value;
            EXPECT_FALSE(Takes(dialog, reply)) << value;
            reply.state.whitePoint.x = 0.0;
            reply.state.whitePoint.y = value;
            EXPECT_FALSE(Takes(dialog, reply)) << value;
            reply.state.whitePoint.y = 0.0;
            EXPECT_TRUE(Takes(dialog, reply));
        }
    }
}

/// No control changes these.
TEST(DialogReply, HasWhatDialogsStartFrom) {
    for (const ClrDialog dialog : kDialogs) {
        const ClrDlgReply good = MakeReply(dialog, Chosen(dialog));
        for (const auto value : {&ClrCmykParams::size, &ClrCmykParams::gcrLevel, &ClrCmykParams::mask}) {
            ClrDlgReply reply = good;
            reply.state.cmykParams.*value += 1;
            EXPECT_FALSE(Takes(dialog, reply));
        }
        for (const uint32_t method : {0U, 1U, 16U, 9U}) {
            ClrDlgReply reply = good;
            reply.state.params.emulationMethod = method;
            EXPECT_FALSE(Takes(dialog, reply)) << method;
        }
    }
}

TEST(DialogReply, HasFlags) {
    for (const auto flag : {&ClrDlgContext::labDirection, &ClrDlgContext::bgrOrder, &ClrDlgContext::reverseDirection}) {
        for (const int32_t value : {-1, 0, 1, 2, 256, INT32_MIN}) {
            ClrDlgReply reply = MakeReply(ClrDialog::kLab, Chosen(ClrDialog::kLab));
            reply.state.context.*flag = value;
            EXPECT_EQ(value == 0 || value == 1, Takes(ClrDialog::kLab, reply)) << value;
        }
    }
}

}  // namespace
}  // namespace zv::test
#endif
