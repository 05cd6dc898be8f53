#include "Platform/URLSchemeHandler.h"

#include "../OffscreenApplication.h"
#include "Platform/Linux/Command.h"
#include "Support/InstalledApplications.h"
#include "Support/PrivateSession.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

using platform::URLSchemeHandler;

namespace {

const std::vector<std::string>& schemes() {
    static const std::vector<std::string> both = {"zantiq", "veltora"};
    return both;
}

/// The desktop as the command that asks it has it, with applications of the user's own.
class URLSchemeHandlerTest : public testing::Test {
protected:
    /// Puts a command in the place of the one that asks the desktop.
    void replaceCommand(const std::string& script) {
        const std::filesystem::path command = session_.folder() / "xdg-mime";
        std::ofstream(command) << "#!/bin/sh\n" << script;
        std::filesystem::permissions(command, std::filesystem::perms::owner_all);
        path_.emplace("PATH", session_.folder().string() + ":/usr/bin:/bin");
    }

    static std::optional<URLSchemeHandler> handler() {
        std::optional<URLSchemeHandler> answer;
        platform::getHandlerForURLSchemes(schemes(),
                                          [&](URLSchemeHandler handler) { answer = handler; });
        EXPECT_FALSE(answer);
        EXPECT_TRUE(runUntil([&] { return answer.has_value(); }));
        return answer;
    }

    static std::optional<URLSchemeHandler> handlerAfterSetting() {
        std::optional<URLSchemeHandler> answer;
        platform::setThisApplicationAsHandlerForURLSchemes(
            schemes(), [&](URLSchemeHandler handler) { answer = handler; });
        EXPECT_FALSE(answer);
        EXPECT_TRUE(runUntil([&] { return answer.has_value(); }));
        return answer;
    }

    const PrivateSession session_;
    const InstalledApplications applications_;
    std::optional<SetVariable> path_;
};

constexpr const char* thisApplication = "com.norvale.tessor";

} // namespace

TEST_F(URLSchemeHandlerTest, IsNoneWhereNothingIsInstalled) {
    EXPECT_EQ(handler(), URLSchemeHandler::NoApplication);
}

TEST_F(URLSchemeHandlerTest, IsThisApplicationWhereNoneIsChosenButItIsInstalled) {
    applications_.install(thisApplication, schemes());
    EXPECT_EQ(handler(), URLSchemeHandler::ThisApplication);
}

TEST_F(URLSchemeHandlerTest, IsAnotherApplicationWhereOneIsChosenForOneScheme) {
    applications_.install(thisApplication, schemes());
    applications_.install("other", schemes());
    applications_.choose(thisApplication, {"zantiq"});
    applications_.choose("other", {"veltora"});
    EXPECT_EQ(handler(), URLSchemeHandler::AnotherApplication);
}

TEST_F(URLSchemeHandlerTest, IsNoneWhereOneSchemeIsOpenedByNothing) {
    for (const char* const scheme : {"zantiq", "veltora"}) {
        applications_.install(thisApplication, {scheme});
        EXPECT_EQ(handler(), URLSchemeHandler::NoApplication) << scheme;
    }
}

TEST_F(URLSchemeHandlerTest, IsThisApplicationOnceItHasBeenSet) {
    applications_.install(thisApplication, schemes());
    applications_.install("other", schemes());
    applications_.choose("other", schemes());
    EXPECT_EQ(handler(), URLSchemeHandler::AnotherApplication);
    EXPECT_EQ(handlerAfterSetting(), URLSchemeHandler::ThisApplication);
    EXPECT_EQ(handler(), URLSchemeHandler::ThisApplication);
}

TEST_F(URLSchemeHandlerTest, StaysWhatItIsWhereItCannotBeSet) {
    applications_.install("other", schemes());
    applications_.choose("other", schemes());
    // Not installed, so that nothing can be opened with it.
    EXPECT_EQ(handlerAfterSetting(), URLSchemeHandler::AnotherApplication);
}

TEST_F(URLSchemeHandlerTest, IsUnknownWithoutTheCommand) {
    path_.emplace("PATH", "/nowhere");
    EXPECT_EQ(handler(), URLSchemeHandler::Unknown);
    EXPECT_EQ(handlerAfterSetting(), URLSchemeHandler::Unknown);
}

TEST_F(URLSchemeHandlerTest, IsUnknownWhereTheCommandFails) {
    replaceCommand("echo com.norvale.tessor.desktop\nexit 3\n");
    EXPECT_EQ(handler(), URLSchemeHandler::Unknown);
    replaceCommand("exec no-such-program\n");
    EXPECT_EQ(handler(), URLSchemeHandler::Unknown);
}

TEST_F(URLSchemeHandlerTest, IsNoneWhereTheCommandFindsNone) {
    replaceCommand("exit 4\n");
    EXPECT_EQ(handler(), URLSchemeHandler::NoApplication);
}

TEST_F(URLSchemeHandlerTest, IsUnknownWhenTheCommandDoesNotAnswerInTime) {
    EXPECT_EQ(platform::commandTimeLimit, std::chrono::seconds(10));
    replaceCommand("exec sleep 60\n");
    platform::commandTimeLimit = std::chrono::milliseconds(100);
    EXPECT_EQ(handler(), URLSchemeHandler::Unknown);
    platform::commandTimeLimit = std::chrono::seconds(10);
}

TEST_F(URLSchemeHandlerTest, GivesTheCommandNothingOfThisProcess) {
    replaceCommand("echo \"$(readlink /proc/$$/fd/0) $(readlink /proc/$$/fd/2)\" >'" +
                   (session_.folder() / "streams").string() + "'\n");
    EXPECT_EQ(handler(), URLSchemeHandler::NoApplication);
    std::ifstream streams(session_.folder() / "streams");
    std::string line;
    std::getline(streams, line);
    EXPECT_EQ(line, "/dev/null /dev/null");
}
