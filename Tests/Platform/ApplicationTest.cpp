// The windowed application as a desktop meets it: the built program on a real session bus. A URL of
// an unknown scheme is refused with one line in the log, which shows that it has arrived.

#include "RunningApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusPendingReply>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr const char* listingPath = "/api/mobile/v2/registration_servers";

class ApplicationTest : public testing::Test, protected ApplicationSession {
protected:
    explicit ApplicationTest(const PrivateSession::Services& services = {})
        : ApplicationSession(services) {}
};

/// Here nobody but the bus starts the application, for whoever calls it by its name.
class StartedByTheBus : public ApplicationTest {
protected:
    StartedByTheBus()
        : ApplicationTest(
              {{applicationName, "/usr/bin/env QT_QPA_PLATFORM=offscreen '" VT_PROGRAM "'"}}) {}

    void TearDown() override {
        endTheOneThatRuns();
        EXPECT_TRUE(waitUntil([this] { return bus_.owner() == 0; }));
    }

    /// Which it was, or 0. Does not wait for its end.
    pid_t endTheOneThatRuns() const {
        const pid_t running = bus_.owner();
        if (running != 0)
            kill(running, SIGTERM);
        return running;
    }

    bool activate() const {
        return bus_.call("Activate", {QVariantMap()}).type() == QDBusMessage::ReplyMessage;
    }

    QDBusPendingReply<> open(const std::string& url) const {
        return bus_.send("Open", {QStringList(QString::fromStdString(url)), QVariantMap()});
    }
};

const testing::Environment* const coreApplication =
    testing::AddGlobalTestEnvironment(new CoreApplication);

} // namespace

TEST_F(ApplicationTest, RunsOnceInASession) {
    const auto first = startFirst();
    EXPECT_EQ(runProgram(application()).exitStatus, 0);
    EXPECT_EQ(runProgram(application({"no-url", "--option", "/a/path"})).exitStatus, 0);
    EXPECT_TRUE(first->isRunning());
    EXPECT_THAT(log_.lines(), IsEmpty());
    endInOrder(*first);
}

TEST_F(ApplicationTest, HandsURLsToTheOneThatRuns) {
    const auto first = startFirst();
    EXPECT_EQ(runProgram(application({"test:one"})).exitStatus, 0);
    EXPECT_EQ(
        runProgram(application({"ignored", "test:two", "/a:b", "test+x.y-z:three"})).exitStatus, 0);
    EXPECT_TRUE(arrives("test+x.y-z:three"));
    EXPECT_THAT(arrivedURLs(), ElementsAre("test:one", "test:two", "test+x.y-z:three"));
    EXPECT_EQ(bus_.owner(), first->processIdentifier());
}

TEST_F(ApplicationTest, HandlesItsOwnURLsWhenNoneRuns) {
    const auto first = startFirst({"test:one", "ignored", "test:two"});
    EXPECT_TRUE(arrives("test:two"));
    EXPECT_THAT(arrivedURLs(), ElementsAre("test:one", "test:two"));
}

TEST_F(ApplicationTest, TakesItsURLsOutOfItsArguments) {
    const auto first = startFirst({"test:one", "ignored", "test:two"});
    EXPECT_TRUE(arrives("test:two"));
    std::ifstream file("/proc/" + std::to_string(first->processIdentifier()) + "/cmdline");
    const std::string arguments(std::istreambuf_iterator<char>(file), {});
    EXPECT_THAT(arguments, HasSubstr("ignored"));
    EXPECT_THAT(arguments, Not(HasSubstr("test:")));
}

TEST_F(ApplicationTest, TakesTheOptionOfTheUploadCommandForNoURL) {
    const auto first = startFirst({"--generate-upload-url"});
    EXPECT_TRUE(first->isRunning());
    endInOrder(*first);
}

TEST_F(ApplicationTest, LosesNoURLOfTwoStartedAtOnce) {
    for (int round = 0; round < 25; ++round) {
        const std::string number = std::to_string(round);
        const auto one = start({"test:one-" + number});
        const auto two = start({"test:two-" + number});
        EXPECT_TRUE(arrives("test:one-" + number));
        EXPECT_TRUE(arrives("test:two-" + number));
        EXPECT_TRUE(waitUntil([&] { return one->isRunning() != two->isRunning(); }));
        ChildProcess& running = one->isRunning() ? *one : *two;
        ChildProcess& other = one->isRunning() ? *two : *one;
        EXPECT_EQ(bus_.owner(), running.processIdentifier());
        EXPECT_EQ(other.wait().exitStatus, 0);
        endInOrder(running);
    }
    EXPECT_EQ(arrivedURLs().size(), 50U);
}

TEST_F(ApplicationTest, LosesNoURLThatComesWhileItEnds) {
    for (int round = 0; round < 25; ++round) {
        const std::string url = "test:" + std::to_string(round);
        const auto first = startFirst();
        const auto second = start({url});
        // Each round a little later in the second's start.
        std::this_thread::sleep_for(round * 2ms);
        first->sendSignal(SIGTERM);
        EXPECT_TRUE(arrives(url));
        EXPECT_EQ(first->wait().exitStatus, 0);
        const auto tookOver = [&] { return bus_.owner() == second->processIdentifier(); };
        EXPECT_TRUE(waitUntil([&] { return tookOver() || !second->isRunning(); }));
        if (tookOver())
            second->sendSignal(SIGTERM);
        EXPECT_EQ(second->wait().exitStatus, 0);
    }
    EXPECT_EQ(arrivedURLs().size(), 25U);
}

TEST_F(ApplicationTest, TakesOverFromOneThatIsKilled) {
    const auto first = startFirst();
    first->stop();
    const auto second = start({"test:url"});
    first->kill();
    EXPECT_TRUE(arrives("test:url"));
    EXPECT_TRUE(waitUntil([&] { return bus_.owner() == second->processIdentifier(); }));
}

TEST_F(ApplicationTest, RunsForItselfWithoutASessionBus) {
    Program program = application({"test:url"});
    program.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere";
    ChildProcess alone(program);
    EXPECT_TRUE(waitUntil([&] { return simulator_.requests().size() == 1; }));
    EXPECT_THAT(log_.lines().at(0),
                HasSubstr("Without a session bus the application runs for itself: "));
    EXPECT_TRUE(alone.isRunning());
    endInOrder(alone);
}

TEST_F(ApplicationTest, SaysSoWhenThereIsNoDisplay) {
    Program program = application({"test:url"});
    program.environment["QT_QPA_PLATFORM"] = std::nullopt;
    const ProgramResult result = runProgram(program);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("There is no display to show the registration "
                                                    "window on")));
    EXPECT_THAT(LogCapture::linesOf(result.standardError), SizeIs(1));
}

TEST_F(ApplicationTest, SaysSoWhenTheDisplayCannotBeOpened) {
    Program program = application();
    program.environment["QT_QPA_PLATFORM"] = std::nullopt;
    program.environment["DISPLAY"] = ":4711";
    const ProgramResult result = runProgram(program);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("The display could not be opened: ")));
    EXPECT_THAT(LogCapture::linesOf(result.standardError), SizeIs(1));
}

TEST_F(ApplicationTest, EndsInOrderWhenItIsAskedTo) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const auto first = startFirst();
        first->sendSignal(signal);
        EXPECT_EQ(first->wait().exitStatus, 0) << signal;
        EXPECT_EQ(bus_.owner(), 0);
    }
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(ApplicationTest, LeavesAnIgnoredSignalIgnored) {
    Program program = application();
    program.arguments.insert(program.arguments.begin(), "nohup");
    ChildProcess process(program);
    EXPECT_TRUE(waitUntil([&] { return bus_.owner() == process.processIdentifier(); }));
    process.sendSignal(SIGHUP);
    EXPECT_EQ(runProgram(application()).exitStatus, 0);
    EXPECT_TRUE(process.isRunning());
    endInOrder(process);
}

TEST_F(ApplicationTest, EndsAtOnceWithARequestOutstanding) {
    simulator::Answer never;
    never.wire = simulator::Wire::StallBeforeAnswer;
    simulator_.answer(listingPath, never);
    const auto first = startFirst();
    EXPECT_TRUE(simulator_.waitForRequests(1, patience));
    const auto asked = std::chrono::steady_clock::now();
    endInOrder(*first);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(1));
}

TEST_F(ApplicationTest, EndsWhileAnAlertIsShown) {
    VTTokenStore::clearEphemeralCode();
    const auto first = startFirst({"test:url"});
    EXPECT_EQ(bus_.call("Activate", {QVariantMap()}).type(), QDBusMessage::ReplyMessage);
    endInOrder(*first);
}

TEST_F(ApplicationTest, DeliversOpenCallsInTheOrderInWhichTheyCome) {
    const auto first = start();
    // As early as there is someone to call.
    EXPECT_TRUE(waitUntil([&] { return bus_.owner() != 0; }));
    std::vector<std::string> expected;
    for (int number = 0; number < 20; ++number) {
        const QString url = "test:" + QString::number(number);
        expected.push_back(url.toStdString());
        bus_.send("Open", {QStringList(url), QVariantMap()});
    }
    EXPECT_TRUE(arrives("test:19"));
    EXPECT_THAT(arrivedURLs(), ElementsAreArray(expected));
}

TEST_F(StartedByTheBus, HandlesTheURLsThatItIsStartedFor) {
    QDBusPendingReply<> one = open("test:one");
    QDBusPendingReply<> two = open("test:two");
    one.waitForFinished();
    two.waitForFinished();
    EXPECT_FALSE(one.isError()) << one.error().message().toStdString();
    EXPECT_FALSE(two.isError()) << two.error().message().toStdString();
    EXPECT_TRUE(arrives("test:two"));
    EXPECT_THAT(arrivedURLs(), ElementsAre("test:one", "test:two"));
}

TEST_F(StartedByTheBus, ShowsItsWindowWhenItIsActivated) {
    EXPECT_TRUE(activate());
    EXPECT_NE(bus_.owner(), 0);
    EXPECT_TRUE(simulator_.waitForRequests(1, patience)); // the window's
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StartedByTheBus, LeavesTheCallToOneThatIsStartedByHandMeanwhile) {
    QDBusPendingReply<> call = open("test:url");
    const auto other = start();
    call.waitForFinished();
    EXPECT_FALSE(call.isError()) << call.error().message().toStdString();
    EXPECT_TRUE(arrives("test:url"));
    const auto isTheOne = [&] { return bus_.owner() == other->processIdentifier(); };
    EXPECT_TRUE(waitUntil([&] { return isTheOne() || !other->isRunning(); }));
    endTheOneThatRuns();
    EXPECT_EQ(other->wait().exitStatus, 0);
}

TEST_F(StartedByTheBus, LosesNoURLThatComesWhileItEnds) {
    std::vector<std::string> expected;
    pid_t ended = -1;
    for (int round = 0; round < 25; ++round) {
        expected.push_back("test:" + std::to_string(round));
        // Asked to end once more, it would end at once.
        EXPECT_TRUE(waitUntil([&] { return bus_.owner() != ended; }));
        EXPECT_TRUE(activate());
        ended = endTheOneThatRuns();
        // Each round a little later in its end.
        std::this_thread::sleep_for(round * 200us);
        QDBusPendingReply<> call = open(expected.back());
        call.waitForFinished();
        EXPECT_FALSE(call.isError()) << round << ": " << call.error().message().toStdString();
        EXPECT_TRUE(arrives(expected.back()));
    }
    EXPECT_THAT(arrivedURLs(), ElementsAreArray(expected));
}
