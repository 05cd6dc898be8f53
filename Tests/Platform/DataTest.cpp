#include "Platform/Data.h"

#include <gtest/gtest.h>

using platform::Data;
using platform::decodeUTF8;
using platform::encodeUTF8;
using platform::holdsControlCharacter;

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

TEST(Data, KnowsControlCharacters) {
    EXPECT_FALSE(holdsControlCharacter(""));
    EXPECT_FALSE(holdsControlCharacter("plain \xc3\xbc"));
    EXPECT_TRUE(holdsControlCharacter("a\r\nb"));
    EXPECT_TRUE(holdsControlCharacter(std::string_view("a\0b", 3)));
    EXPECT_TRUE(holdsControlCharacter("\x7f"));
    EXPECT_TRUE(holdsControlCharacter("\xc2\x85"));
    EXPECT_TRUE(holdsControlCharacter("\xff"));
}
