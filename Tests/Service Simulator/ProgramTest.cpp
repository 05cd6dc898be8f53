#include "Client.h"
#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"
#include "Support/WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

using simulator::Authority;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

Program serviceSimulator(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), SERVICE_SIMULATOR);
    return {.arguments = std::move(arguments)};
}

/// One run of the program that goes on until it is ended.
class RunningProgram {
public:
    explicit RunningProgram(std::vector<std::string> arguments)
        : process_(serviceSimulator(std::move(arguments))) {}

    /// Waits for the next line of output; empty when none comes.
    std::string line() {
        std::size_t end = std::string::npos;
        const bool isThere = waitUntil([&] {
            end = process_.standardOutput().find('\n', read_);
            return end != std::string::npos;
        });
        if (!isThere) {
            return {};
        }
        std::string line = process_.standardOutput().substr(read_, end + 1 - read_);
        read_ = end + 1;
        return line;
    }

    ProgramResult endBy(int signal) {
        process_.sendSignal(signal);
        return process_.wait();
    }

private:
    ChildProcess process_;
    std::size_t read_ = 0;
};

/// The address in "listening on ADDRESS".
std::string addressIn(const std::string& line) {
    const std::string start = "listening on ";
    EXPECT_THAT(line, StartsWith(start + "https://localhost:"));
    return line.substr(std::min(start.size(), line.size()), line.find('\n') - start.size());
}

void expectUsageError(const std::vector<std::string>& arguments, const std::string& message) {
    const ProgramResult result = runProgram(serviceSimulator(arguments));
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardError, "service-simulator: " + message + "\n");
    EXPECT_EQ(result.standardOutput, "");
}

} // namespace

TEST(ServiceSimulatorProgram, ServesUntilItIsToldToEnd) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const TemporaryFolder folder;
        const std::string authority = folder.path() / "authority";
        RunningProgram program({"--port", "0", "--authority", authority});
        const std::string address = addressIn(program.line());
        EXPECT_EQ(Client(authority).get(address + "/a?").status, 404);
        EXPECT_EQ(program.line(), "GET /a? 404\n");
        const ProgramResult result = program.endBy(signal);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.standardError, "");
    }
}

TEST(ServiceSimulatorProgram, TakesTheAuthorityThatIsThere) {
    const TemporaryFolder folder;
    EXPECT_EQ(runProgram(serviceSimulator({"--make-authority", folder.path()})).exitStatus, 0);
    const std::string certificate = Authority::load(folder.path()).certificate();
    RunningProgram program({"--port", "0", "--authority", folder.path()});
    const std::string address = addressIn(program.line());
    EXPECT_EQ(Client(folder.path().string()).get(address + "/").code, CURLE_OK);
    EXPECT_EQ(Authority::load(folder.path()).certificate(), certificate);
}

TEST(ServiceSimulatorProgram, TakesTokensAndServers) {
    const TemporaryFolder folder;
    RunningProgram program({"--port", "0", "--authority", folder.path(), "--token", "one",
                            "--token", "two", "--server", "B=b.invalid:1", "--server", "A=a=b"});
    const std::string address = addressIn(program.line());
    Client client(folder.path().string());
    for (const std::string token : {"one", "two"}) {
        EXPECT_EQ(client
                      .perform({.url = address + "/api/session/user_info?",
                                .headers = {"x-veltora-client-version: 1",
                                            "Authorization: Bearer " + token}})
                      .status,
                  200);
    }
    EXPECT_EQ(client
                  .perform({.url = address + "/api/mobile/v2/registration_servers?",
                            .headers = {"x-veltora-client-version: 1"}})
                  .body,
              R"({"data":{"servers":{"B":"b.invalid:1","A":"a=b"}}})");
}

TEST(ServiceSimulatorProgram, FollowsAScriptAndTellsItsFaults) {
    const TemporaryFolder folder;
    const std::string script = folder.path() / "script.json";
    std::ofstream(script) << R"([{"path": "/a", "wire": "ResetBeforeAnswer"}])";
    RunningProgram program({"--port", "0", "--authority", folder.path(), "--script", script});
    const std::string address = addressIn(program.line());
    EXPECT_EQ(Client(folder.path().string()).get(address + "/a").code, CURLE_RECV_ERROR);
    EXPECT_EQ(program.line(), "GET /a 200 ResetBeforeAnswer\n");
}

TEST(ServiceSimulatorProgram, CertifiesTheHostNames) {
    const TemporaryFolder folder;
    RunningProgram program({"--port", "0", "--authority", folder.path(), "--host", "one.invalid",
                            "--host", "localhost"});
    const std::string line = program.line();
    EXPECT_THAT(line, StartsWith("listening on https://one.invalid:"));
    const std::string port =
        line.substr(line.rfind(':') + 1, line.find('\n') - line.rfind(':') - 1);
    EXPECT_EQ(Client(folder.path().string()).get("https://localhost:" + port + "/").status, 404);
}

TEST(ServiceSimulatorProgram, RefusesWhatItDoesNotUnderstand) {
    expectUsageError({"--prot", "1"}, "there is no option \"--prot\"; see --help");
    expectUsageError({"--port"}, "--port needs a value; see --help");
    expectUsageError({"--port", "65536"}, "--port needs a number from 0 to 65535, not \"65536\"");
    expectUsageError({"--port", "1x"}, "--port needs a number from 0 to 65535, not \"1x\"");
    expectUsageError({"--server", "A"}, "--server needs CODE=ADDRESS, not \"A\"");
}

TEST(ServiceSimulatorProgram, SaysWhyItCannotServe) {
    const TemporaryFolder folder;
    const std::string script = folder.path() / "script.json";
    const Program program = serviceSimulator({"--port", "0", "--script", script});
    const ProgramResult withoutScript = runProgram(program);
    EXPECT_THAT(withoutScript.standardError, StartsWith("service-simulator: cannot read "));
    EXPECT_EQ(withoutScript.exitStatus, 1);
    std::ofstream(script) << "[{}]";
    const ProgramResult withBadScript = runProgram(program);
    EXPECT_EQ(withBadScript.standardError,
              "service-simulator: answers[0]: the member \"path\" is missing\n");
    EXPECT_EQ(withBadScript.exitStatus, 1);
}

TEST(ServiceSimulatorProgram, ExplainsItsOptions) {
    const ProgramResult result = runProgram(serviceSimulator({"--help"}));
    EXPECT_EQ(result.exitStatus, 0);
    for (const char* option : {"--port", "--address", "--host", "--authority", "--make-authority",
                               "--token", "--server", "--script", "--auto-sign-in", "--help"}) {
        EXPECT_THAT(result.standardOutput, HasSubstr("\n  " + std::string(option)));
    }
}
