#include "Platform/URLSchemeHandler.h"

#include "Platform/OffscreenApplication.h"
#include "StandIns/Bundle.h"
#include "StandIns/LaunchServices.h"

#include <gtest/gtest.h>

#include <optional>

using namespace platform;

namespace {

const std::vector<std::string> schemes = {"zantiq", "veltora"};

class SchemeHandler : public testing::Test {
protected:
    SchemeHandler() {
        standins::schemeHandlers() = {};
        standins::mainBundle() = {};
        standins::mainBundle().information["CFBundleIdentifier"] = "com.norvale.tessor";
    }

    std::optional<URLSchemeHandler> ask() {
        answer_.reset();
        getHandlerForURLSchemes(schemes, [this](URLSchemeHandler handler) { answer_ = handler; });
        return waitForAnswer();
    }

    std::optional<URLSchemeHandler> become() {
        answer_.reset();
        setThisApplicationAsHandlerForURLSchemes(
            schemes, [this](URLSchemeHandler handler) { answer_ = handler; });
        return waitForAnswer();
    }

    standins::SchemeHandlers& handlers = standins::schemeHandlers();

private:
    std::optional<URLSchemeHandler> waitForAnswer() {
        EXPECT_EQ(answer_, std::nullopt);
        runUntil([this] { return answer_.has_value(); });
        return answer_;
    }

    std::optional<URLSchemeHandler> answer_;
};

} // namespace

TEST_F(SchemeHandler, IsNoneWhereASchemeHasNone) {
    EXPECT_EQ(ask(), URLSchemeHandler::NoApplication);
    handlers.identifiers = {{"zantiq", "com.norvale.tessor"}};
    EXPECT_EQ(ask(), URLSchemeHandler::NoApplication);
}

TEST_F(SchemeHandler, IsAnotherWhereASchemeHasAnother) {
    handlers.identifiers = {{"veltora", "org.example.other"}};
    EXPECT_EQ(ask(), URLSchemeHandler::AnotherApplication);
    handlers.identifiers["zantiq"] = "com.norvale.tessor";
    EXPECT_EQ(ask(), URLSchemeHandler::AnotherApplication);
}

TEST_F(SchemeHandler, IsThisOneInWhateverCase) {
    handlers.identifiers = {{"zantiq", "com.norvale.tessor"}, {"veltora", "COM.Norvale.Tessor"}};
    EXPECT_EQ(ask(), URLSchemeHandler::ThisApplication);
}

TEST_F(SchemeHandler, BecomesThisOne) {
    handlers.identifiers = {{"veltora", "org.example.other"}};
    EXPECT_EQ(become(), URLSchemeHandler::ThisApplication);
    EXPECT_EQ(handlers.identifiers.at("veltora"), "com.norvale.tessor");
}

TEST_F(SchemeHandler, StaysWhereTheSystemDoesNotLetItChange) {
    handlers.identifiers = {{"veltora", "org.example.other"}};
    handlers.canBeChanged = false;
    EXPECT_EQ(become(), URLSchemeHandler::AnotherApplication);
}
