// Wide and ANSI strings.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/host.h"

#ifndef _WIN32
#    include "host/common/utf.h"
#endif

namespace zv::test {
namespace {

using Wide = std::basic_string<ZvChar>;

TEST(WideFromAnsi, OwnerHoldsACopy) {
    Zv_A2W text;
    EXPECT_EQ(nullptr, text.Value());
    std::string source = "profile.icc";
    EXPECT_EQ(CLR_SUCCESS, text.Convert(source.c_str()));
    source.assign(source.size(), 'x');
    EXPECT_EQ(Wide(ZV_WIDE("profile.icc")), text.Value());
    EXPECT_EQ(CLR_SUCCESS, text.Convert("second"));
    EXPECT_EQ(Wide(ZV_WIDE("second")), text.Value());
    EXPECT_EQ(CLR_SUCCESS, text.Convert(""));
    EXPECT_EQ(Wide(), text.Value());
}

TEST(WideFromAnsi, NullIsRefused) {
    Zv_A2W text;
    EXPECT_EQ(CLR_SUCCESS, text.Convert("x"));
    EXPECT_EQ(ERR_INVALID_PARAMETER, text.Convert(nullptr));
    EXPECT_EQ(nullptr, text.Value());
    ZvChar buffer[4];
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_A2W::Convert(nullptr, buffer, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_A2W::Convert("x", nullptr, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_A2W::Convert("x", buffer, 0));
}

TEST(WideFromAnsi, BufferTakesTheEndToo) {
    ZvChar buffer[6];
    EXPECT_EQ(CLR_SUCCESS, Zv_A2W::Convert("12345", buffer, 6));
    EXPECT_EQ(Wide(ZV_WIDE("12345")), buffer);
    EXPECT_EQ(ERR_FAILURE, Zv_A2W::Convert("123456", buffer, 6));
    EXPECT_EQ(0, buffer[0]) << "zero-ended also after a failure";
    EXPECT_EQ(CLR_SUCCESS, Zv_A2W::Convert("", buffer, 1));
    EXPECT_EQ(ERR_FAILURE, Zv_A2W::Convert("1", buffer, 1));
}

TEST(AnsiFromWide, BufferTakesTheEndToo) {
    char buffer[6];
    EXPECT_EQ(CLR_SUCCESS, Zv_W2A::Convert(ZV_WIDE("12345"), buffer, 6));
    EXPECT_STREQ("12345", buffer);
    EXPECT_EQ(ERR_FAILURE, Zv_W2A::Convert(ZV_WIDE("123456"), buffer, 6));
    EXPECT_STREQ("", buffer) << "zero-ended also after a failure";
}

TEST(AnsiFromWide, NullIsRefused) {
    char buffer[4];
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_W2A::Convert(nullptr, buffer, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_W2A::Convert(ZV_WIDE("x"), nullptr, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_W2A::Convert(ZV_WIDE("x"), buffer, 0));
}

#ifndef _WIN32

/// Both directions of one text.
struct Pair {
    std::string utf8;
    std::u16string utf16;
};
const Pair kPairs[] = {
    {"", u""},
    {"A\x7F", u"A\x7F"},
    {"\xC2\x80\xDF\xBF", u"\x80\x7FF"},
    {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\x800\xD7FF\xE000\xFFFF"},
    {"\xF0\x90\x80\x80\xF0\x9F\x8E\xA8\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xD83C\xDFA8\xDBFF\xDFFF"},
};

TEST(Utf, BothWaysAtTheEdgesOfEveryLength) {
    for (const Pair& pair : kPairs) {
        char narrow[32];
        ZvChar wide[32];
        EXPECT_TRUE(ZvUtf8FromUtf16(pair.utf16.c_str(), narrow, sizeof narrow));
        EXPECT_EQ(pair.utf8, narrow);
        EXPECT_TRUE(ZvUtf16FromUtf8(pair.utf8.c_str(), wide, std::size(wide)));
        EXPECT_EQ(pair.utf16, wide);
    }
}

TEST(Utf, EveryCodePointComesBack) {
    for (uint32_t code = 1; code <= 0x10FFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF) continue;
        ZvChar wide[3] = {};
        if (code < 0x10000) {
            wide[0] = static_cast<ZvChar>(code);
        } else {
            wide[0] = static_cast<ZvChar>(0xD800 + ((code - 0x10000) >> 10));
            wide[1] = static_cast<ZvChar>(0xDC00 + ((code - 0x10000) & 0x3FF));
        }
        char narrow[5];
        ZvChar back[3];
        ASSERT_TRUE(ZvUtf8FromUtf16(wide, narrow, sizeof narrow)) << code;
        ASSERT_TRUE(ZvUtf16FromUtf8(narrow, back, std::size(back))) << code;
        ASSERT_EQ(std::u16string(wide), back) << code;
    }
}

TEST(Utf, LoneSurrogatesAreNoText) {
    char narrow[16];
    const std::u16string broken[] = {{0xD800}, {0xDBFF, u'a'},         {0xDC00},
                                     {0xDFFF}, {u'a', 0xDC00, 0xD800}, {0xD800, 0xD800, 0xDC00}};
    for (const std::u16string& text : broken) EXPECT_FALSE(ZvUtf8FromUtf16(text.c_str(), narrow, sizeof narrow));
}

TEST(Utf, MalformedBytesAreNoText) {
    ZvChar wide[16];
    for (const char* text : {
             "\x80",
             "\xBF",
             "\xC0\x80",
             "\xC1\xBF",  // continuation alone; overlong
             "\xC3",
             "\xC3(",
             "\xE2\x82",
             "\xE2(\xA1",  // cut off
             "\xE0\x80\x80",
             "\xE0\x9F\xBF",
             "\xED\xA0\x80",  // overlong; surrogates
             "\xED\xBF\xBF",
             "\xF0\x80\x80\x80",
             "\xF0\x8F\xBF\xBF",
             "\xF4\x90\x80\x80",
             "\xF5\x80\x80\x80",
             "\xFF",
             "\xF0\x9F\x8E",
             "\xF0\x9F(\xA8",
             "ok\xFE",
         }) {
        EXPECT_FALSE(ZvUtf16FromUtf8(text, wide, std::size(wide)));
        EXPECT_EQ(ERR_FAILURE, Zv_A2W::Convert(text, wide, std::size(wide)));
        Zv_A2W owner;
        EXPECT_EQ(ERR_FAILURE, owner.Convert(text));
        EXPECT_EQ(nullptr, owner.Value());
    }
}

TEST(Utf, NothingIsWrittenBehindTheBuffer) {
    for (const Pair& pair : kPairs) {
        for (size_t room = 0; room <= pair.utf8.size() + 1; ++room) {
            std::vector<char> narrow(room + 4, '#');
            EXPECT_EQ(room > pair.utf8.size(), ZvUtf8FromUtf16(pair.utf16.c_str(), narrow.data(), room)) << room;
            for (size_t i = room; i < narrow.size(); ++i) EXPECT_EQ('#', narrow[i]);
        }
        for (size_t room = 0; room <= pair.utf16.size() + 1; ++room) {
            std::vector<ZvChar> wide(room + 4, u'#');
            EXPECT_EQ(room > pair.utf16.size(), ZvUtf16FromUtf8(pair.utf8.c_str(), wide.data(), room)) << room;
            for (size_t i = room; i < wide.size(); ++i) EXPECT_EQ(u'#', wide[i]);
        }
    }
}

TEST(WideFromAnsi, NarrowTextIsUtf8) {
    Zv_A2W text;
    EXPECT_EQ(CLR_SUCCESS, text.Convert("\xC3\xA4\xF0\x9F\x8E\xA8"));
    EXPECT_EQ(std::u16string(u"\u00E4\U0001F3A8"), text.Value());
    char buffer[8];
    EXPECT_EQ(CLR_SUCCESS, Zv_W2A::Convert(text.Value(), buffer, sizeof buffer));
    EXPECT_STREQ("\xC3\xA4\xF0\x9F\x8E\xA8", buffer);
}

#endif

}  // namespace
}  // namespace zv::test
