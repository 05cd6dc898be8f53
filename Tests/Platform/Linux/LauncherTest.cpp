#include "Platform/Linux/Launcher.h"

#include "Support/FileDescriptor.h"
#include "Support/SetVariable.h"
#include "Support/TemporaryFolder.h"
#include "Support/WaitUntil.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <csignal>
#include <fstream>
#include <thread>

using namespace std::chrono_literals;
using platform::LaunchResult;

namespace {

namespace fs = std::filesystem;

/// With a launcher for all requests, as a confined process has it, or with one for each.
class LauncherTest : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (GetParam())
            platform::useLauncher(launcher_.number());
    }
    void TearDown() override { platform::useLauncher(-1); }

    /// What a script does in the place of the command that asks for the handler of a scheme.
    LaunchResult run(const std::string& script, std::chrono::milliseconds limit = patience,
                     const std::stop_token& stop = {}) const {
        makeCommand("xdg-mime", script);
        return platform::runProgram({"xdg-mime", "query", "default", "x-scheme-handler/zantiq"},
                                    limit, stop);
    }

    void makeCommand(const std::string& name, const std::string& script) const {
        std::ofstream(folder_.path() / name) << "#!/bin/sh\n" << script << '\n';
        fs::permissions(folder_.path() / name, fs::perms::owner_all);
    }

    bool exists(const std::string& name) const { return fs::exists(folder_.path() / name); }

    /// A line of a script that leaves its process identifier, for wasKilled.
    std::string leaveIdentifier() const {
        const std::string file = (folder_.path() / "begun").string();
        return "echo $$ > " + file + ".new; mv " + file + ".new " + file + "\n";
    }

    /// Whether the process is gone that has left its identifier.
    bool wasKilled() const {
        return waitUntil([this] {
            pid_t process = 0;
            std::ifstream(folder_.path() / "begun") >> process;
            return process > 0 && kill(process, 0) != 0;
        });
    }

    const TemporaryFolder folder_;
    const SetVariable path_{"PATH", folder_.path().string() + ":/usr/bin:/bin"};
    const FileDescriptor launcher_{platform::startLauncher()};
};

INSTANTIATE_TEST_SUITE_P(Launcher, LauncherTest, testing::Bool(),
                         [](const auto& shared) { return shared.param ? "ForAll" : "ForEach"; });

} // namespace

TEST_P(LauncherTest, YieldsHowTheProgramEndsAndAllThatItWrites) {
    EXPECT_EQ(run("echo one; echo unseen >&2; echo two").output, "one\ntwo\n");
    EXPECT_EQ(run("head -c 200000 /dev/zero").output.size(), 200000U);
    EXPECT_EQ(run("cat").output, "") << "its input is empty";
    EXPECT_EQ(run("exit 0").exitStatus, 0);
    EXPECT_EQ(run("echo one; exit 255").exitStatus, 255);
    EXPECT_EQ(run("kill -9 $$").exitStatus, std::nullopt);
}

TEST_P(LauncherTest, WaitsForTheEndOfAProgramThatHasClosedItsOutput) {
    EXPECT_EQ(run("exec >&-; sleep 0.1; exit 7").exitStatus, 7);
}

TEST_P(LauncherTest, SaysWhenThereIsNoSuchProgram) {
    const SetVariable path("PATH", "/nowhere");
    platform::useLauncher(-1);
    const LaunchResult result = platform::runProgram(
        {"xdg-mime", "query", "default", "x-scheme-handler/zantiq"}, patience, {});
    EXPECT_EQ(result.exitStatus, std::nullopt);
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(platform::startProgram({"xdg-open", "https://host.example/"}));
}

TEST_P(LauncherTest, StartsNothingThatIsNoErrandOfThisApplication) {
    for (const char* const program : {"xdg-open", "xdg-mime", "sh", "proxy-settings"})
        makeCommand(program, "touch " + (folder_.path() / "started").string());
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {},
             {""},
             {"sh"},
             {"sh", "https://host.example/"},
             {(folder_.path() / "xdg-open").string(), "https://host.example/"},
             {"xdg-open"},
             {"xdg-open", "https://host.example/", "https://host.example/"},
             {"xdg-open", "file:///etc/passwd"},
             {"xdg-open", "--help"},
             {"xdg-open", "https:host.example"},
             {"xdg-open", "https://host.example/ --help"},
             {"xdg-mime", "query", "default", "x-scheme-handler/https"},
             {"xdg-mime", "query", "filetype", "x-scheme-handler/zantiq"},
             {"xdg-mime", "default", "other.desktop", "x-scheme-handler/zantiq"},
             {"xdg-mime", "default", "com.norvale.tessor.desktop"},
             {"xdg-mime", "default", "com.norvale.tessor.desktop", "x-scheme-handler/zantiq",
              "text/html"},
             {"xdg-mime", "install", "x-scheme-handler/zantiq"},
             {"proxy-settings", "none", "https://host.example/"},
             {"proxy-settings", "gnome", "file:///etc/passwd"},
             {"xdg-open", "https://host.example/" + std::string(200'000, 'a')}}) {
        EXPECT_EQ(platform::runProgram(command, patience, {}).exitStatus, std::nullopt);
        EXPECT_FALSE(platform::startProgram(command));
    }
    EXPECT_FALSE(exists("started"));
    EXPECT_EQ(run("exit 0").exitStatus, 0) << "the launcher runs on";
}

TEST_P(LauncherTest, GivesTheProgramNoOtherDescriptor) {
    const FileDescriptor open(::open("/dev/null", O_RDONLY)); // meant to be inherited
    EXPECT_EQ(run("exec ls /proc/self/fd").output, "0\n1\n2\n3\n") << "3 is the folder";
}

TEST_P(LauncherTest, GivesTheProgramDefaultSignalsAndASessionOfItsOwn) {
    const std::string session = std::to_string(getsid(0));
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    // But for the two signals that the C library keeps for itself.
    EXPECT_EQ(
        run("exec grep -Ec '^Sig(Blk:.0{16}|Ign:.0{7}[01][08]0{7})$' /proc/self/status").output,
        "2\n");
    static_cast<void>(std::signal(SIGPIPE, SIG_DFL));
    EXPECT_NE(run("exec cut -d ' ' -f 6 /proc/self/stat").output, session + "\n");
}

TEST_P(LauncherTest, EndsAProgramThatTakesTooLong) {
    const LaunchResult result = run(leaveIdentifier() + "echo begun; sleep 600", 500ms);
    EXPECT_EQ(result.exitStatus, std::nullopt);
    EXPECT_EQ(result.output, "begun\n");
    EXPECT_TRUE(wasKilled());
}

TEST_P(LauncherTest, EndsTheProgramWhenAskedTo) {
    std::stop_source ending;
    std::thread stopper([&] {
        EXPECT_TRUE(waitUntil([&] { return exists("begun"); }));
        ending.request_stop();
    });
    EXPECT_EQ(run(leaveIdentifier() + "sleep 600", 600s, ending.get_token()).exitStatus,
              std::nullopt);
    stopper.join();
    EXPECT_TRUE(wasKilled());
}

TEST_P(LauncherTest, EndsWhatTheProgramHasStarted) {
    run("sh -c '" + leaveIdentifier() + "sleep 600'; exit 1", 500ms);
    EXPECT_TRUE(wasKilled());
}

TEST_P(LauncherTest, RunsProgramsBesideEachOther) {
    makeCommand("xdg-mime", "cd " + folder_.path().string() +
                                "; touch ${3#*/}\n"
                                "until test -e zantiq && test -e veltora; do sleep 0.01; done");
    const auto ask = [](const char* type) {
        EXPECT_EQ(
            platform::runProgram({"xdg-mime", "query", "default", type}, patience, {}).exitStatus,
            0);
    };
    std::thread first([&] { ask("x-scheme-handler/zantiq"); });
    ask("x-scheme-handler/veltora");
    first.join();
}

TEST(Launcher, CannotStartAnythingOnceTheLauncherIsGone) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    const FileDescriptor here(ends[0]);
    close(ends[1]);
    platform::useLauncher(here.number());
    EXPECT_FALSE(platform::startProgram({"xdg-open", "https://host.example/"}));
    platform::useLauncher(-1);
}

TEST(Launcher, StartsNothingWhereThereIsToBeNone) {
    platform::useLauncher(platform::noLauncher);
    EXPECT_FALSE(platform::startProgram({"xdg-open", "https://host.example/"}));
    EXPECT_EQ(platform::runProgram({"xdg-mime", "query", "default", "x-scheme-handler/zantiq"},
                                   patience, {})
                  .exitStatus,
              std::nullopt);
    platform::useLauncher(-1);
}
