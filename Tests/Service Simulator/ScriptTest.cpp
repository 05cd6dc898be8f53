#include "Script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using simulator::BodyEncoding;
using simulator::Certificate;
using simulator::Header;
using simulator::Script;
using simulator::ScriptError;
using simulator::Wire;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

std::string errorOf(std::string_view json) {
    try {
        Script::parse(json);
    } catch (const ScriptError& error) {
        return error.what();
    }
    return "no error";
}

/// The error of an answer with this member.
std::string errorOfMember(const std::string& member) {
    return errorOf(R"([{"path": "/a", )" + member + "}]");
}

} // namespace

TEST(Script, HoldsEveryMemberOfAnAnswer) {
    const Script script = Script::parse(R"({
        "certificate": "WrongHost",
        "answers": [{"path": "/a", "once": true, "status": 503,
                     "headers": {"Zulu": "1", "Alpha": "2"}, "body": "text", "delay": 5,
                     "wire": "Drip", "dripInterval": 7, "encoding": "Gzip"}]})");
    EXPECT_EQ(script.certificate, Certificate::WrongHost);
    ASSERT_THAT(script.answers, SizeIs(1));
    const simulator::ScriptedAnswer& scripted = script.answers.front();
    EXPECT_EQ(scripted.path, "/a");
    EXPECT_TRUE(scripted.once);
    EXPECT_EQ(scripted.answer.status, 503);
    EXPECT_THAT(scripted.answer.headers, ElementsAre(Header("Zulu", "1"), Header("Alpha", "2")));
    EXPECT_EQ(scripted.answer.body, "text");
    EXPECT_EQ(scripted.answer.delay, std::chrono::milliseconds(5));
    EXPECT_EQ(scripted.answer.wire, Wire::Drip);
    EXPECT_EQ(scripted.answer.dripInterval, std::chrono::milliseconds(7));
    EXPECT_EQ(scripted.answer.encoding, BodyEncoding::Gzip);
}

TEST(Script, LeavesOutWhatIsAsUsual) {
    const Script script = Script::parse(R"({"answers": [{"path": "/a"}]})");
    EXPECT_EQ(script.certificate, Certificate::Good);
    ASSERT_THAT(script.answers, SizeIs(1));
    EXPECT_FALSE(script.answers.front().once);
    EXPECT_EQ(script.answers.front().answer.status, 200);
    EXPECT_EQ(script.answers.front().answer.wire, Wire::Whole);
    EXPECT_THAT(Script::parse("{}").answers, IsEmpty());
}

TEST(Script, MayBeJustTheListOfAnswers) {
    EXPECT_THAT(Script::parse(R"([{"path": "/a"}, {"path": "/b"}])").answers, SizeIs(2));
}

TEST(Script, TakesABodyThatIsJSONItself) {
    const Script script = Script::parse(R"([{"path": "/a", "body": {"z": [1, null], "a": 2}}])");
    EXPECT_EQ(script.answers.at(0).answer.body, R"({"z":[1,null],"a":2})");
}

TEST(Script, KnowsEveryWireByItsName) {
    for (const Wire wire :
         {Wire::Whole, Wire::ResetBeforeAnswer, Wire::ResetInHeaders, Wire::ResetInBody,
          Wire::CloseInBody, Wire::StallBeforeAnswer, Wire::StallInHeaders, Wire::StallInBody,
          Wire::Drip, Wire::TruncatedChunk, Wire::Endless}) {
        const std::string name(nameOf(wire));
        EXPECT_EQ(
            Script::parse(R"([{"path": "/a", "wire": ")" + name + "\"}]").answers.at(0).answer.wire,
            wire);
    }
}

TEST(Script, SaysWhereItIsWrong) {
    EXPECT_THAT(errorOf("{"), HasSubstr("the script is not JSON"));
    EXPECT_EQ(errorOf("1"), "the script: expected an object or a list of answers");
    EXPECT_EQ(errorOf(R"({"answer": []})"), "answer: there is no such member");
    EXPECT_EQ(errorOf(R"({"answers": {}})"), "answers: expected a list");
    EXPECT_EQ(
        errorOf(R"({"certificate": "Bad"})"),
        "certificate: expected one of Good, Expired, NotYetValid, WrongHost, UnknownAuthority");
    EXPECT_EQ(errorOf(R"([1])"), "answers[0]: expected an object");
    EXPECT_EQ(errorOf(R"([{"path": "/"}, {}])"), "answers[1]: the member \"path\" is missing");
}

TEST(Script, SaysWhichMemberOfAnAnswerIsWrong) {
    EXPECT_EQ(errorOfMember(R"("path": "a")"),
              "answers[0].path: expected a path that begins with \"/\" and has no query");
    EXPECT_EQ(errorOfMember(R"("path": "/a?")"),
              "answers[0].path: expected a path that begins with \"/\" and has no query");
    EXPECT_EQ(errorOfMember(R"("once": 1)"), "answers[0].once: expected true or false");
    EXPECT_EQ(errorOfMember(R"("status": 100)"),
              "answers[0].status: expected an integer from 200 to 599");
    EXPECT_EQ(errorOfMember(R"("status": "200")"),
              "answers[0].status: expected an integer from 200 to 599");
    EXPECT_EQ(errorOfMember(R"("delay": -1)"),
              "answers[0].delay: expected an integer from 0 to 3600000");
    EXPECT_EQ(errorOfMember(R"("delay": 18446744073709551615)"),
              "answers[0].delay: expected an integer from 0 to 3600000");
    EXPECT_THAT(errorOfMember(R"("wire": "Gone")"),
                HasSubstr("answers[0].wire: expected one of Whole, "));
    EXPECT_EQ(errorOfMember(R"("encoding": null)"), "answers[0].encoding: expected a string");
    EXPECT_EQ(errorOfMember(R"("statsu": 200)"), "answers[0].statsu: there is no such member");
}

TEST(Script, SaysWhichHeaderIsWrong) {
    EXPECT_EQ(errorOfMember(R"("headers": [])"),
              "answers[0].headers: expected an object of names and values");
    EXPECT_EQ(errorOfMember(R"("headers": {"A": 1})"), "answers[0].headers.A: expected a string");
    EXPECT_EQ(errorOfMember(R"("headers": {"A": "x\ny"})"),
              "answers[0].headers.A: a header cannot hold a line break");
}
