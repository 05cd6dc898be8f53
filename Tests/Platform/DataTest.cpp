#include "Platform/Data.h"

#include <gtest/gtest.h>

using platform::Data;
using platform::decodeUTF8;
using platform::encodeUTF8;
using platform::holdsControlCharacter;
using platform::lengthOfFirstCharacter;

namespace {

Data bytes(std::initializer_list<unsigned char> values) {
    Data data;
    for (const unsigned char value : values)
        data.push_back(static_cast<std::byte>(value));
    return data;
}

} // namespace

TEST(Data, DecodesWhatItEncoded) {
    const std::string text("gr\xc3\xbc\xc3\x9f \xf0\x9f\x96\xa8 \0 end", 17);
    EXPECT_EQ(decodeUTF8(encodeUTF8(text)), text);
}

TEST(Data, DecodesNoBytesToTheEmptyText) {
    EXPECT_EQ(decodeUTF8({}), "");
}

TEST(Data, RefusesBytesThatAreNotUTF8) {
    EXPECT_FALSE(decodeUTF8(bytes({0xff})));
    EXPECT_FALSE(decodeUTF8(bytes({0xc3}))) << "cut in the middle";
    EXPECT_FALSE(decodeUTF8(bytes({0xc0, 0x80}))) << "overlong";
    EXPECT_FALSE(decodeUTF8(bytes({0xed, 0xa0, 0x80}))) << "surrogate";
    EXPECT_FALSE(decodeUTF8(bytes({0xf4, 0x90, 0x80, 0x80}))) << "above the last character";
}

// The first and the last of each form, and what lies just outside of them.
TEST(Data, KnowsEveryFormOfACharacter) {
    for (const std::string valid :
         {"\x01", "\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xe0\xbf\xbf", "\xe1\x80\x80",
          "\xec\xbf\xbf", "\xed\x80\x80", "\xed\x9f\xbf", "\xee\x80\x80", "\xef\xbf\xbf",
          "\xf0\x90\x80\x80", "\xf0\xbf\xbf\xbf", "\xf1\x80\x80\x80", "\xf3\xbf\xbf\xbf",
          "\xf4\x80\x80\x80", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_EQ(lengthOfFirstCharacter(valid), valid.size()) << testing::PrintToString(valid);
        EXPECT_EQ(lengthOfFirstCharacter(valid + "a"), valid.size());
        EXPECT_EQ(lengthOfFirstCharacter(valid.substr(0, valid.size() - 1)), 0);
    }
    for (const char* const invalid :
         {"", "\x80", "\xbf", "\xc1\xbf", "\xc2\x7f", "\xc2\xc0", "\xe0\x9f\xbf", "\xe1\x80\x7f",
          "\xe1\x80\xc0", "\xed\xa0\x80", "\xed\xbf\xbf", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80",
          "\xf5\x80\x80\x80", "\xff"})
        EXPECT_EQ(lengthOfFirstCharacter(invalid), 0) << testing::PrintToString(invalid);
}

TEST(Data, KnowsControlCharacters) {
    EXPECT_FALSE(holdsControlCharacter(""));
    EXPECT_FALSE(holdsControlCharacter("plain \xc3\xbc"));
    EXPECT_TRUE(holdsControlCharacter("a\r\nb"));
    EXPECT_TRUE(holdsControlCharacter(std::string_view("a\0b", 3)));
    EXPECT_TRUE(holdsControlCharacter("\x7f"));
    EXPECT_TRUE(holdsControlCharacter("\xc2\x85"));
    EXPECT_TRUE(holdsControlCharacter("\xff"));
}
