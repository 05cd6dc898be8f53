#include "Platform/JSONSerialization.h"

#include <gtest/gtest.h>

using platform::Data;
using platform::encodeUTF8;
using platform::Error;
using platform::JSONSerialization;
using platform::JSONValue;

namespace {

std::optional<Error> errorOf(const std::string& text) {
    std::optional<Error> error;
    const bool parsed = JSONSerialization::JSONObjectWithData(encodeUTF8(text), error).has_value();
    EXPECT_NE(parsed, error.has_value());
    return error;
}

JSONValue parsed(const std::string& text) {
    std::optional<Error> error;
    return JSONSerialization::JSONObjectWithData(encodeUTF8(text), error).value();
}

} // namespace

TEST(JSONSerialization, ParsesObjectsAndArrays) {
    EXPECT_FALSE(errorOf("{}"));
    EXPECT_FALSE(errorOf(" [1, null] \n"));
}

TEST(JSONSerialization, RefusesEveryOtherTopLevel) {
    for (const char* const text : {"\"text\"", "1", "true", "null"}) {
        ASSERT_TRUE(errorOf(text)) << text;
        EXPECT_EQ(errorOf(text)->domain(), "JSON");
    }
}

TEST(JSONSerialization, RefusesWhatIsNotJSON) {
    for (const std::string text :
         {"", "<html>", "{", "{\"a\":1}}", "{\"a\":\"\xff\"}", "{'a':1}", "[1e999]"})
        EXPECT_TRUE(errorOf(text)) << text;
}

TEST(JSONSerialization, RepeatsNothingOfTheTextInItsError) {
    const Error error = *errorOf(R"({"data":{"token":"secret-token)");
    EXPECT_EQ(error.description().find("secret"), std::string::npos);
    EXPECT_NE(error.localizedDescription().find("byte 31"), std::string::npos);
}

TEST(JSONSerialization, SurvivesDeepNesting) {
    constexpr std::size_t depth = 100000;
    EXPECT_FALSE(errorOf(std::string(depth, '[') + std::string(depth, ']')));
    EXPECT_TRUE(errorOf(std::string(depth, '[')));
    std::string objects;
    for (std::size_t i = 0; i < depth; ++i)
        objects += "{\"a\":";
    EXPECT_FALSE(errorOf(objects + "1" + std::string(depth, '}')));
}

TEST(JSONSerialization, WritesCompactEscapedText) {
    std::optional<Error> error;
    const std::optional<Data> data = JSONSerialization::dataWithJSONObject(
        {{"file_name", "a\"b\\c\n\x01 \xf0\x9f\x96\xa8/\xc3\xbc"}}, error);
    EXPECT_EQ(data,
              encodeUTF8("{\"file_name\":\"a\\\"b\\\\c\\n\\u0001 \xf0\x9f\x96\xa8/\xc3\xbc\"}"));
    EXPECT_FALSE(error);
}

TEST(JSONSerialization, WritesNoTextThatIsNotUTF8) {
    std::optional<Error> error;
    EXPECT_FALSE(JSONSerialization::dataWithJSONObject({{"name", "secret\xff"}}, error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description().find("secret"), std::string::npos);
}

TEST(JSONValue, FindsMembers) {
    const JSONValue json = parsed(R"({"data":{"type":"url"}})");
    EXPECT_EQ(json.member("data")->member("type")->string(), "url");
    EXPECT_FALSE(json.member("Data"));
}

TEST(JSONValue, TakesNullForAbsent) {
    EXPECT_FALSE(parsed(R"({"a":null})").member("a"));
}

TEST(JSONValue, YieldsAbsentForAnotherType) {
    const JSONValue json = parsed(R"({"n":1,"a":["x"],"o":{},"s":"t"})");
    EXPECT_FALSE(json.member("n")->string());
    EXPECT_FALSE(json.member("a")->string());
    EXPECT_FALSE(json.member("s")->member("t"));
    EXPECT_FALSE(json.member("a")->isObject());
    EXPECT_TRUE(json.member("o")->isObject());
    EXPECT_TRUE(json.member("s")->members().empty());
    EXPECT_FALSE(parsed("[]").member("a"));
}

TEST(JSONValue, KeepsTheOrderOfMembers) {
    std::vector<std::string> names;
    for (const auto& [name, value] : parsed(R"({"z":"1","a":"2","m":"3"})").members())
        names.push_back(name + *value.string());
    EXPECT_EQ(names, (std::vector<std::string>{"z1", "a2", "m3"}));
}

TEST(JSONValue, TakesTheLastOfMembersWithOneName) {
    const JSONValue json = parsed(R"({"a":"1","b":"2","a":"3","c":"4","b":5})");
    EXPECT_EQ(json.member("a")->string(), "3");
    EXPECT_FALSE(json.member("b")->string());
    std::vector<std::string> names;
    for (const auto& [name, value] : json.members())
        names.push_back(name + value.string().value_or("none"));
    EXPECT_EQ(names, (std::vector<std::string>{"a3", "bnone", "c4"}));
}

TEST(JSONValue, ShowsNothingOfWhatIsInAnArray) {
    const JSONValue json =
        parsed(R"({"a":[{"x":["y"],"b":"no"},"b",[]],"b":{"c":[{}],"d":"yes"}})");
    EXPECT_EQ(json.members().size(), 2U);
    EXPECT_TRUE(json.member("a")->members().empty());
    EXPECT_EQ(json.member("b")->member("d")->string(), "yes");
    EXPECT_FALSE(json.member("b")->member("b"));
}

// A tree that looks every name up among those before it would take many minutes.
TEST(JSONValue, TakesManyMembers) {
    constexpr std::size_t count = 200000;
    std::string text = "{";
    for (std::size_t i = 0; i < count; ++i)
        text += '"' + std::to_string(i) + R"(":"",)";
    text.back() = '}';
    EXPECT_EQ(parsed(text).members().size(), count);
}

TEST(JSONValue, ReadsEveryEscape) {
    const JSONValue json = parsed(R"({"\u0041\n\"":"\ud83d\udda8\u0000\/"})");
    EXPECT_EQ(json.member("A\n\"")->string(), std::string("\xf0\x9f\x96\xa8\0/", 6));
}

TEST(JSONValue, OutlivesTheValueItCameFrom) {
    const JSONValue inner = *parsed(R"({"data":{"k":"v"}})").member("data");
    EXPECT_EQ(inner.member("k")->string(), "v");
}
