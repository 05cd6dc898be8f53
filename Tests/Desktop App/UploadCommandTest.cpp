// The upload-URL command as a calling program meets it: the built program, a real keyring and a
// real HTTPS service.

#include "Simulator.h"
#include "Support/ChildProcess.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"
#include "Support/WorldAuthority.h"
#include "VTTokenStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>

using namespace std::chrono_literals;
using platform::encodeUTF8;
using simulator::Answer;
using simulator::Simulator;
using simulator::Wire;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* uploadPath = "/api/my_prints/v1/upload_target";
constexpr const char* option = "--generate-upload-url";

std::vector<std::string> command(const std::vector<std::string>& arguments) {
    std::vector<std::string> whole = {VT_PROGRAM};
    whole.insert(whole.end(), arguments.begin(), arguments.end());
    return whole;
}

class UploadCommandTest : public testing::Test {
protected:
    void store(const std::optional<std::string>& account = "ada@example.com",
               const std::string& token = "secret-token") {
        ASSERT_TRUE(VTTokenStore::setToken(encodeUTF8(token), simulator_.server(), account));
        simulator_.acceptToken(token);
    }

    ProgramResult run(const std::string& filename = "report.pdf") {
        return runProgram({.arguments = command({option, filename})});
    }

    ProgramResult runWithOutput(Output output) {
        return runProgram({.arguments = command({option, "report.pdf"}), .standardOutput = output});
    }

    void answer(const std::string& body, Wire wire = Wire::Whole) {
        Answer scripted;
        scripted.body = body;
        scripted.wire = wire;
        simulator_.answer(uploadPath, scripted);
    }

    void answerWithTarget() {
        answer(R"({"data":{"type":"url","url":"https://upload.example/1","method":"PUT"}})");
    }

    static void expectQuietEnd(const ProgramResult& result, int status) {
        EXPECT_EQ(result.exitStatus, status);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.standardError, "");
    }

    void expectServiceError(const ProgramResult& result, const std::string& text) {
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        ASSERT_EQ(log_.lines().size(), 1U);
        EXPECT_THAT(log_.lines().at(0),
                    testing::StartsWith("Error Domain=com.norvale.tessor.api Code=4097 \"" + text +
                                        "\" UserInfo={NSLocalizedDescription=" + text));
        EXPECT_EQ(result.standardError, "ardentra-registration: " + log_.lines().at(0) + "\n");
    }

    PrivateSession session_{PrivateSession::Keyring::unlocked};
    LogCapture log_;
    Simulator simulator_{worldAuthority()};
};

} // namespace

TEST_F(UploadCommandTest, PrintsMethodURLAndAccountAsThreeLines) {
    store();
    answerWithTarget();
    const ProgramResult result = run();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "PUT\nhttps://upload.example/1\nada@example.com\n");
    EXPECT_EQ(result.standardError, "");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UploadCommandTest, NamesATargetThatTheServiceTakesTheFileAt) {
    store();
    const ProgramResult result = run();
    EXPECT_THAT(result.standardOutput,
                testing::MatchesRegex("PUT\nhttps://" + simulator_.server() +
                                      "/uploads/[A-Za-z0-9_-]+\nada@example.com\n"));
}

TEST_F(UploadCommandTest, SendsTheFileNameAsTypedAndTheTokenAsStored) {
    store();
    run("/no/such dir/../r\xc3\xa9port \"1\".pdf");
    const auto request = simulator_.requests().at(0);
    EXPECT_EQ(request.target, "/api/my_prints/v1/upload_target?");
    EXPECT_EQ(request.body, "{\"file_name\":\"/no/such dir/../r\xc3\xa9port \\\"1\\\".pdf\"}");
    EXPECT_THAT(request.values("Authorization"), ElementsAre("Bearer secret-token"));
}

TEST_F(UploadCommandTest, IgnoresArgumentsAfterTheFileName) {
    store();
    answerWithTarget();
    const ProgramResult result =
        runProgram({.arguments = command({option, "a.pdf", "b.pdf", "--help"})});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(simulator_.requests().at(0).body, R"({"file_name":"a.pdf"})");
}

TEST_F(UploadCommandTest, PrintsAnEmptyThirdLineWithoutAnAccount) {
    store(std::nullopt);
    answerWithTarget();
    EXPECT_EQ(run().standardOutput, "PUT\nhttps://upload.example/1\n\n");
}

TEST_F(UploadCommandTest, PrintsWhatTheServiceReturnedUnchanged) {
    store();
    answer("{\"data\":{\"type\":\"url\",\"url\":\"not a url \xc3\xa9\",\"method\":\"\"}}");
    EXPECT_EQ(run().standardOutput, "\nnot a url \xc3\xa9\nada@example.com\n");
}

TEST_F(UploadCommandTest, EndsWithOneAndSaysNothingWhenNothingIsRegistered) {
    expectQuietEnd(run(), 1);
    EXPECT_THAT(log_.lines(), IsEmpty());
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(UploadCommandTest, EndsWithOneWhenTheStoredServerIsNoText) {
    ASSERT_EQ(VTTokenStore::addOrUpdateKeychainItemForService("Ardentra Registration",
                                                              encodeUTF8("token"), std::nullopt,
                                                              platform::Data{std::byte{0xff}}),
              platform::errSecSuccess);
    expectQuietEnd(run(), 1);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UploadCommandTest, EndsWithTwoWhenTheServiceAnswersWithAnError) {
    store();
    answer(R"({"error":{"message":"gone"}})");
    expectServiceError(run(), "The upload could not be completed because the upload destination "
                              "is not a URL");
}

TEST_F(UploadCommandTest, EndsWithTwoWhenTheAnswerIsIncomplete) {
    store();
    answer(R"({"data":{"type":"url","url":"https://upload.example/1"}})");
    expectServiceError(run(), "The upload could not be completed.");
}

TEST_F(UploadCommandTest, EndsWithTwoWhenTheAnswerCannotBeRead) {
    store();
    answer("<html>");
    expectServiceError(run(), "Server is not responding");
}

TEST_F(UploadCommandTest, EndsWithTwoWhenTheServerCannotBeReached) {
    store();
    ASSERT_TRUE(VTTokenStore::setToken(encodeUTF8("t"), "localhost:1", std::nullopt));
    expectServiceError(run(), "An error occurred while attempting to contact the server");
    EXPECT_THAT(log_.lines().at(0), HasSubstr("NSUnderlyingError={Error Domain=curl Code=7 "));
}

TEST_F(UploadCommandTest, TellsABadCertificateInTheLog) {
    store();
    simulator_.presentCertificate(simulator::Certificate::Expired);
    expectServiceError(run(), "An error occurred while attempting to contact the server");
    EXPECT_THAT(log_.lines().at(0), HasSubstr("Error Domain=curl Code=60 "));
    EXPECT_THAT(log_.lines().at(0), HasSubstr("certificate has expired"));
}

TEST_F(UploadCommandTest, EndsWithTwoWhenTheConnectionIsCut) {
    store();
    answer("{}", Wire::ResetInBody);
    expectServiceError(run(), "An error occurred while attempting to contact the server");
}

TEST_F(UploadCommandTest, EndsWithTwoAndSendsNothingForAStoredServerThatIsNone) {
    for (const char* const server : {"a/b", " ", "a@b"}) {
        ASSERT_TRUE(VTTokenStore::setToken(encodeUTF8("t"), server, std::nullopt));
        EXPECT_EQ(run().exitStatus, 2) << server;
    }
    EXPECT_THAT(log_.lines(), testing::Each(HasSubstr("An error occurred while attempting to "
                                                      "contact the server")));
}

TEST_F(UploadCommandTest, EndsWithTwoAndSendsNothingForAFileNameThatIsNotUTF8) {
    store();
    expectServiceError(run("bad\xff"), "The upload could not be completed.");
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(UploadCommandTest, EndsWithTwoAndSendsNothingForATokenThatCouldEndItsHeader) {
    store("ada@example.com", "secret-token\r\nX-Injected: 1");
    expectServiceError(run(), "The upload could not be completed.");
    EXPECT_TRUE(simulator_.requests().empty());
    EXPECT_THAT(log_.lines().at(0), testing::Not(HasSubstr("secret-token")));
}

TEST_F(UploadCommandTest, EndsWithTwoWhenStandardOutputCannotBeWritten) {
    store();
    answerWithTarget();
    const std::map<Output, std::string> reasons = {{Output::closed, "Bad file descriptor"},
                                                   {Output::full, "No space left on device"},
                                                   {Output::brokenPipe, "Broken pipe"}};
    std::vector<std::string> expected;
    for (const auto& [output, reason] : reasons) {
        EXPECT_EQ(runWithOutput(output).exitStatus, 2) << reason;
        expected.push_back("The upload target could not be written to standard output: " + reason);
    }
    EXPECT_EQ(log_.lines(), expected);
}

TEST_F(UploadCommandTest, AnswersAlsoWithEveryStandardStreamClosed) {
    store();
    answerWithTarget();
    const ProgramResult result = runProgram({.arguments = command({option, "f"}),
                                             .standardOutput = Output::captured,
                                             .standardError = Output::closed});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "PUT\nhttps://upload.example/1\nada@example.com\n");
}

TEST_F(UploadCommandTest, WritesNothingToTheKeychain) {
    store();
    answerWithTarget();
    run();
    std::optional<platform::Data> token;
    std::optional<std::string> server;
    std::optional<std::string> account;
    ASSERT_TRUE(VTTokenStore::getToken(token, server, account));
    EXPECT_EQ(token, encodeUTF8("secret-token"));
    EXPECT_EQ(server, simulator_.server());
    EXPECT_EQ(account, "ada@example.com");
}

TEST_F(UploadCommandTest, WaitsForAsLongAsTheServiceTakes) {
    store();
    answer("{}", Wire::StallBeforeAnswer);
    ChildProcess program({.arguments = command({option, "report.pdf"})});
    ASSERT_TRUE(simulator_.waitForRequests(1, patience));
    EXPECT_TRUE(program.isRunning());
    EXPECT_EQ(program.standardOutput(), "");
}

TEST_F(UploadCommandTest, LeavesEveryOtherCommandLineToTheWindowedApplication) {
    store();
    const std::vector<std::vector<std::string>> others = {{},
                                                          {option},
                                                          {"--Generate-Upload-URL", "f"},
                                                          {"--generate-upload-url=f", "f"},
                                                          {"--generate-upload", "f"},
                                                          {"--verbose", option, "f"},
                                                          {"", option, "f"}};
    for (const auto& arguments : others) {
        const ProgramResult result = runProgram({.arguments = command(arguments)});
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.standardError, HasSubstr("There is no display"));
        EXPECT_EQ(result.standardOutput, "");
    }
    EXPECT_TRUE(simulator_.requests().empty());
}

TEST_F(UploadCommandTest, NeverAbortsForWantOfADisplay) {
    const ProgramResult result =
        runProgram({.arguments = command({}), .environment = {{"DISPLAY", ":99"}}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError, HasSubstr("The display could not be opened"));
    EXPECT_THAT(LogCapture::linesOf(result.standardError), SizeIs(1));
}
