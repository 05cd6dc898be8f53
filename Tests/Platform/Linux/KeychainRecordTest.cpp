#include "Platform/Linux/KeychainRecord.h"

#include <gtest/gtest.h>

using platform::Data;
using platform::decodeKeychainRecord;
using platform::encodeKeychainRecord;
using platform::encodeUTF8;
using platform::KeychainRecord;
using namespace std::string_literals;

namespace {

Data everyByte(std::size_t size) {
    Data bytes(size);
    for (std::size_t index = 0; index < size; ++index)
        bytes[index] = static_cast<std::byte>(index);
    return bytes;
}

} // namespace

TEST(KeychainRecord, IsAJSONObjectInASCII) {
    const KeychainRecord record{encodeUTF8("token"), "gr\xc3\xbcn@example.org", encodeUTF8("host")};
    EXPECT_EQ(encodeKeychainRecord(record),
              R"({"account":"gr\u00fcn@example.org","generic":"aG9zdA==","value":"dG9rZW4="})");
}

TEST(KeychainRecord, LeavesOutWhatIsAbsent) {
    EXPECT_EQ(encodeKeychainRecord({{}, std::nullopt, std::nullopt}), R"({"value":""})");
}

TEST(KeychainRecord, TellsAbsentFromEmpty) {
    const KeychainRecord record{{}, "", Data()};
    EXPECT_EQ(encodeKeychainRecord(record), R"({"account":"","generic":"","value":""})");
    EXPECT_EQ(decodeKeychainRecord(R"({"account":"","generic":"","value":""})"), record);
}

TEST(KeychainRecord, KeepsEveryByteOfEveryLength) {
    for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 255U, 256U, 257U, 1U << 20U}) {
        const KeychainRecord record{everyByte(size), std::nullopt, everyByte(size / 2)};
        const auto text = encodeKeychainRecord(record);
        ASSERT_TRUE(text);
        EXPECT_TRUE(decodeKeychainRecord(*text) == record) << size << " bytes";
    }
}

TEST(KeychainRecord, KeepsEveryCharacterOfTheAccount) {
    const KeychainRecord record{{}, "quote\" back\\slash nul\0 \xf0\x9f\x96\xa8"s, std::nullopt};
    EXPECT_EQ(decodeKeychainRecord(encodeKeychainRecord(record).value()), record);
}

TEST(KeychainRecord, IsNotMadeOfAnAccountThatIsNotUTF8) {
    EXPECT_EQ(encodeKeychainRecord({{}, "\xff", std::nullopt}), std::nullopt);
}

TEST(KeychainRecord, MayBeSpacedByOthers) {
    EXPECT_EQ(decodeKeychainRecord(" {\n\t\"value\" : \"AAE=\" } "),
              (KeychainRecord{everyByte(2), std::nullopt, std::nullopt}));
}

class NoKeychainRecord : public testing::TestWithParam<std::string> {};

TEST_P(NoKeychainRecord, IsRefused) {
    EXPECT_EQ(decodeKeychainRecord(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    KeychainRecord, NoKeychainRecord,
    testing::Values("", " ", "a password", "null", "[]", "{}", "\"value\"", R"({"value":""}x)",
                    R"({"value":"")", R"({"account":"a"})", R"({"generic":""})",
                    R"({"value":null})", R"({"value":1})", R"({"value":["AAE="]})",
                    R"({"value":"","account":null})", R"({"value":"","account":{}})",
                    R"({"value":"","other":""})", R"({"value":"","Account":""})",
                    R"({"value":"","generic":"!"})", R"({"value":"","account":"\ud800"})",
                    "{\"value\":\"\",\"account\":\"gr\xc3\xbcn\"}", "{\"value\":\"\xff\"}",
                    "{\"value\":\"\"}\0"s, std::string(100000, '['), std::string(100000, '{')));

INSTANTIATE_TEST_SUITE_P(
    Base64, NoKeychainRecord,
    testing::Values(R"({"value":"A"})", R"({"value":"AA"})", R"({"value":"AAA"})",
                    R"({"value":"="})", R"({"value":"===="})", R"({"value":"A==="})",
                    R"({"value":"AA=A"})", R"({"value":"AA==AAAA"})", R"({"value":"AB=="})",
                    R"({"value":"AAF="})", R"({"value":" AAE="})", R"({"value":"AAE=\n"})",
                    R"({"value":"\nAAE=   "})", R"({"value":"AA-_"})", R"({"value":"AAE=AAE="})"));

TEST(KeychainRecord, SurvivesEveryCutAndEveryChangedByte) {
    const KeychainRecord record{encodeUTF8("token"), "a@b", encodeUTF8("host")};
    const std::string text = encodeKeychainRecord(record).value();
    for (std::size_t at = 0; at < text.size(); ++at) {
        EXPECT_EQ(decodeKeychainRecord(text.substr(0, at)), std::nullopt);
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed = text;
            changed[at] = static_cast<char>(byte);
            const auto decoded = decodeKeychainRecord(changed);
            EXPECT_EQ(decoded == record, changed == text) << changed;
        }
    }
}
