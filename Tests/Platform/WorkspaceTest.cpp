#include "Platform/Workspace.h"

#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* url = "https://login.example/Sign%20In?next=%2F&a=$(touch%20x);'id'";

std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

void makeCommand(const std::filesystem::path& file, const std::string& script) {
    std::ofstream(file) << "#!/bin/sh\n" << script;
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

/// The workspace as a program uses it, in a session with a browser that notes how it was started.
class WorkspaceTest : public testing::Test {
protected:
    WorkspaceTest() {
        std::filesystem::create_directory(programs());
        // Renamed when it is whole: number of arguments, the URL, standard streams, session and
        // whether a descriptor of the caller is open.
        makeCommand(programs() / "xdg-open",
                    "out='" + folder_.path().string() +
                        "/opened'\n"
                        "echo \"$1\" >> '" +
                        started().string() +
                        "'\n"
                        "echo $# > \"$out.new\"\n"
                        "echo \"$1\" >> \"$out.new\"\n"
                        "streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
                        "echo \"$streams\" >> \"$out.new\"\n"
                        "cut -d ' ' -f 6 /proc/$$/stat >> \"$out.new\"\n"
                        "if test -e /proc/$$/fd/77; then echo leaks; fi >> \"$out.new\"\n"
                        "mv \"$out.new\" \"$out\"\n");
    }

    std::filesystem::path programs() const { return folder_.path() / "programs"; }

    Program openURL(const std::string& text) const { return openURLs({text}); }

    Program openURLs(std::vector<std::string> texts) const {
        texts.insert(texts.begin(), VT_OPEN_URL_PROGRAM);
        return {.arguments = texts,
                .environment = {{"PATH", programs().string() + ":/usr/bin:/bin"}}};
    }

    PrivateSession::Services portal(const std::string& answer) const {
        return {
            {portalName, std::string(VT_PORTAL_PROGRAM) + " " + asked().string() + " " + answer}};
    }

    std::vector<std::string> opened() const { return linesOf(folder_.path() / "opened"); }
    std::filesystem::path started() const { return folder_.path() / "started"; }
    std::filesystem::path asked() const { return folder_.path() / "asked"; }

    TemporaryFolder folder_;
    LogCapture log_;
};

bool isReady(const ChildProcess& program) {
    return waitUntil([&program] { return program.standardOutput().ends_with('\n'); });
}

} // namespace

TEST_F(WorkspaceTest, AsksTheDesktopPortal) {
    const PrivateSession session(portal("takes"));
    const ChildProcess program(openURL(url));
    EXPECT_TRUE(waitUntil([this] { return !linesOf(asked()).empty(); }));
    EXPECT_THAT(linesOf(asked()), ElementsAre(url));
    EXPECT_EQ(program.standardOutput(), "began\n");
    EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(WorkspaceTest, StartsTheCommandWhenThePortalRefuses) {
    const PrivateSession session(portal("refuses"));
    const ChildProcess program(openURL(url));
    EXPECT_TRUE(waitUntil([this] { return !opened().empty(); }));
    EXPECT_EQ(opened().at(1), url);
    EXPECT_THAT(linesOf(asked()), ElementsAre(url));
}

TEST_F(WorkspaceTest, StartsTheCommandWhenTheRequestFails) {
    for (const char* const behaviour : {"fails", "fails-late"}) {
        std::filesystem::remove(folder_.path() / "opened");
        const PrivateSession session(portal(behaviour));
        const ChildProcess program(openURL(url));
        EXPECT_TRUE(waitUntil([this] { return !opened().empty(); })) << behaviour;
        EXPECT_EQ(opened().at(1), url);
    }
}

TEST_F(WorkspaceTest, StartsNoCommandWhenTheRequestSucceedsOrTheUserHasCancelledIt) {
    // Requests end in the order in which they were made.
    const PrivateSession session(portal("succeeds is-cancelled fails"));
    const ChildProcess program(
        openURLs({"https://one.example/", "https://two.example/", "https://three.example/"}));
    EXPECT_TRUE(waitUntil([this] { return !opened().empty(); }));
    EXPECT_EQ(linesOf(asked()).size(), 3U);
    EXPECT_THAT(linesOf(started()), ElementsAre("https://three.example/"));
}

TEST_F(WorkspaceTest, RemembersTheLastWebPage) {
    const SetVariable noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    platform::Workspace workspace;
    const SetVariable path("PATH", programs().string() + ":/usr/bin:/bin");
    EXPECT_FALSE(workspace.lastOpenedURL());
    const auto open = [&workspace](const char* text) {
        return workspace.openURL(*platform::URL::URLWithString(text));
    };
    EXPECT_TRUE(open("https://one.example/"));
    EXPECT_TRUE(open("https://Two.example/A"));
    EXPECT_FALSE(open("mailto:a@example.com"));
    ASSERT_TRUE(workspace.lastOpenedURL());
    EXPECT_EQ(workspace.lastOpenedURL()->absoluteString(), "https://Two.example/A");
}

TEST_F(WorkspaceTest, StartsTheCommandWithoutAPortal) {
    const PrivateSession session;
    const ChildProcess program(openURL(url));
    EXPECT_TRUE(waitUntil([this] { return !opened().empty(); }));
    EXPECT_EQ(opened().at(1), url);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(WorkspaceTest, StartsTheCommandOnItsOwn) {
    const FileDescriptor file(open("/dev/zero", O_RDONLY | O_CLOEXEC));
    const FileDescriptor leaked(dup2(file.number(), 77));
    ASSERT_EQ(leaked.number(), 77);
    const ChildProcess program(openURL(url));
    EXPECT_TRUE(waitUntil([this] { return !opened().empty(); }));
    const std::string session = opened().at(5);
    EXPECT_THAT(opened(), ElementsAre("1", url, "/dev/null", "/dev/null", "/dev/null", session));
    EXPECT_NE(session, std::to_string(getsid(0)));
}

TEST_F(WorkspaceTest, DoesNotWaitForTheBrowserNorTakeItAlong) {
    const std::filesystem::path running = folder_.path() / "running";
    const std::filesystem::path proceed = folder_.path() / "proceed";
    const std::filesystem::path ended = folder_.path() / "ended";
    makeCommand(programs() / "xdg-open", "touch '" + running.string() + "'\nwhile ! test -e '" +
                                             proceed.string() + "'; do sleep 0.01; done\ntouch '" +
                                             ended.string() + "'\n");
    {
        ChildProcess program(openURL(url));
        EXPECT_TRUE(isReady(program));
        EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(running); }));
        program.sendSignal(SIGTERM);
        program.wait();
    }
    std::ofstream(proceed).put('\n');
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(ended); }));
}

TEST_F(WorkspaceTest, OpensNothingButWebPages) {
    for (const char* const other : {"file:///etc/passwd", "javascript:alert(1)", "ssh://host",
                                    "//host/path", "httpss://host", "mailto:a@example.com"}) {
        const ChildProcess program(openURL(other));
        EXPECT_TRUE(isReady(program));
        EXPECT_EQ(program.standardOutput(), "did not begin\n") << other;
        EXPECT_EQ(log_.lines().back(),
                  std::string("Only web pages are opened, this is none: ") + other);
    }
    EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(WorkspaceTest, TakesTheSchemeInAnyCase) {
    const ChildProcess program(openURL("HTTP://login.example/"));
    EXPECT_TRUE(waitUntil([this] { return !opened().empty(); }));
    EXPECT_EQ(opened().at(1), "HTTP://login.example/");
}

TEST_F(WorkspaceTest, SaysSoWhenThereIsNoWayToOpenAPage) {
    Program program = openURL(url);
    program.environment["PATH"] = "/nowhere";
    const ChildProcess alone(program);
    EXPECT_TRUE(isReady(alone));
    EXPECT_EQ(alone.standardOutput(), "did not begin\n");
    EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("There is no program to open https://")));
}
