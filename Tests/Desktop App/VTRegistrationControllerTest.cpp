#include "VTRegistrationController.h"

#include "Support/WaitUntil.h"
#include "WindowTest.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <chrono>

using simulator::Answer;
using simulator::Wire;
using testing::ElementsAre;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* registrationServer = "registration.ardentra.example";
constexpr const char* otherServer = "other.ardentra.example";

VTAPI::ServerEntry entry(const std::string& code, const std::string& address) {
    return {{VTAPIRegistrationServerCodeKey, code}, {VTAPIRegistrationServerAddressKey, address}};
}

class VTRegistrationControllerTest : public WindowTest {
protected:
    VTRegistrationControllerTest() {
        popUp_ = new QComboBox(window_.get());
        google_ = new QPushButton(window_.get());
        microsoft_ = new QPushButton(window_.get());
        window_->show();
        controller_->setWindow(window_.get());
        controller_->setServerPopUp(popUp_);
        controller_->setGoogleButton(google_);
        controller_->setMicrosoftButton(microsoft_);
    }

    void fetchListing() {
        controller_->awakeFromNib();
        ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    }

    /// Shows these servers without a fetch.
    void show(VTRegistrationController::Servers servers) {
        controller_->setServers(std::move(servers));
        controller_->updateServerListingMenu();
    }

    /// Chooses an item as the user does.
    void choose(int index) {
        popUp_->setCurrentIndex(index);
        controller_->setSelectedServerIndex(index);
    }

    void chooseCustom(const std::optional<std::string>& text) {
        choose(popUp_->count() - 1);
        controller_->setCustomServerText(text);
    }

    const std::vector<VTRegistrationController::Item>& items() {
        return ServerMenu::menuOf(*popUp_).items();
    }

    std::vector<std::string> titles() {
        std::vector<std::string> titles;
        for (const auto& item : items())
            titles.push_back(item->isSeparator ? "-" : item->title);
        return titles;
    }

    /// Notes each announcement of the key in announced_.
    void observe(const std::string& key) {
        controller_->addObserver([this, key] { announced_.push_back(key); }, key);
    }

    /// Two servers, the first of them chosen.
    void showAndChoose() {
        show({entry("First", registrationServer), entry("Second", otherServer)});
        choose(2);
    }

    bool logHolds(const testing::Matcher<std::string>& line) {
        const auto& lines = log_.lines();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& each) { return line.Matches(each); });
    }

    std::unique_ptr<QWidget> window_ = std::make_unique<QWidget>();
    QComboBox* popUp_ = nullptr;
    QPushButton* google_ = nullptr;
    QPushButton* microsoft_ = nullptr;
    std::shared_ptr<VTRegistrationController> controller_ =
        std::make_shared<VTRegistrationController>();
    std::vector<std::string> announced_;
};

// The listing

TEST_F(VTRegistrationControllerTest, FillsThePopUpFromTheDirectoryServer) {
    simulator_.setServers({{"A", "a.example"}, {"B", "b.example:8443"}, {"C", "c.example"}});
    fetchListing();
    EXPECT_THAT(titles(), ElementsAre("Select...", "-", "A", "B", "C", "-", "Custom..."));
    ASSERT_EQ(items().size(), 7U);
    EXPECT_EQ(items()[3]->representedObject, "b.example:8443");
    for (const std::size_t index : {2U, 3U, 4U})
        EXPECT_EQ(items()[index]->toolTip, items()[index]->representedObject);
    for (const std::size_t index : {0U, 1U, 5U, 6U}) {
        EXPECT_FALSE(items()[index]->representedObject) << index;
        EXPECT_FALSE(items()[index]->toolTip) << index;
    }
    EXPECT_EQ(controller_->servers()->size(), 3U);
    EXPECT_EQ(requestsTo(listingPath).size(), 1U);
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_THAT(log_.lines(), ElementsAre());
}

TEST_F(VTRegistrationControllerTest, WorksUntilTheListingHasCome) {
    popUp_->addItem("Loading");
    controller_->awakeFromNib();
    EXPECT_TRUE(controller_->working());
    EXPECT_EQ(popUp_->count(), 1);
    EXPECT_FALSE(controller_->servers());
    EXPECT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_GT(popUp_->count(), 4);
}

TEST_F(VTRegistrationControllerTest, ChoosesThePlaceholderOfANewMenu) {
    popUp_->setPlaceholderText("Loading");
    fetchListing();
    EXPECT_EQ(popUp_->currentIndex(), 0);
    EXPECT_FALSE(controller_->server());
    EXPECT_FALSE(controller_->isServerSelected());
    EXPECT_FALSE(controller_->isCustom());
}

TEST_F(VTRegistrationControllerTest, AnnouncesNoSelectionWhenTheMenuIsRebuilt) {
    observe("selectedServerIndex");
    observe("server");
    fetchListing();
    EXPECT_THAT(announced_, ElementsAre());
}

TEST_F(VTRegistrationControllerTest, ShowsAListingFailureAndStillOffersACustomServer) {
    Answer answer;
    answer.body = "no JSON";
    simulator_.answer(listingPath, answer);
    fetchListing();
    EXPECT_FALSE(controller_->servers());
    EXPECT_THAT(titles(), ElementsAre("Select...", "-", "-", "Custom..."));
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_EQ(openSheet()->parentWidget(), window_.get());
    EXPECT_THAT(textsOf(*openSheet()), ElementsAre("Server is not responding", "", "OK"));
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_THAT(log_.lines()[0],
                StartsWith("An error occurred while obtaining the server listing: "));
    EXPECT_THAT(log_.lines()[0], testing::HasSubstr("com.norvale.tessor.api"));

    chooseCustom(std::nullopt);
    EXPECT_TRUE(controller_->isServerSelected());
}

TEST_F(VTRegistrationControllerTest, ShowsAnUnreachableDirectoryServer) {
    Answer answer;
    answer.wire = Wire::ResetBeforeAnswer;
    simulator_.answer(listingPath, answer);
    fetchListing();
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_THAT(textsOf(*openSheet()),
                ElementsAre("An error occurred while attempting to contact the server", "", "OK"));
}

TEST_F(VTRegistrationControllerTest, SaysThatRegistrationIsUnavailableWhenTheListingIsEmpty) {
    simulator_.setServers({});
    fetchListing();
    ASSERT_TRUE(controller_->servers());
    EXPECT_TRUE(controller_->servers()->empty());
    EXPECT_THAT(titles(), ElementsAre("Select...", "-", "-", "Custom..."));
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_EQ(openSheet()->parentWidget(), window_.get());
    EXPECT_THAT(textsOf(*openSheet()),
                ElementsAre("Registration is unavailable",
                            "Registration could not be completed at this time, please try again.",
                            "Cancel"));
    EXPECT_THAT(log_.lines(), ElementsAre("The server responded with an empty listing"));
}

TEST_F(VTRegistrationControllerTest, StaysOpenWhenASheetOfTheListingIsDismissed) {
    simulator_.setServers({});
    fetchListing();
    dismissSheet();
    EXPECT_TRUE(runUntil([this] { return log_.lines().size() == 2; }));
    EXPECT_EQ(log_.lines().back(), "Dialog dismissed");

    Answer answer;
    answer.body = "no JSON";
    simulator_.answer(listingPath, answer);
    fetchListing();
    dismissSheet();
    EXPECT_TRUE(runUntil([this] { return log_.lines().size() == 4; }));
    EXPECT_EQ(log_.lines().back(), "Dialog dismissed");
    EXPECT_TRUE(window_->isVisible());
    EXPECT_TRUE(window_->isEnabled());
}

TEST_F(VTRegistrationControllerTest, LivesUntilTheListingHasCome) {
    controller_->awakeFromNib();
    const std::weak_ptr<VTRegistrationController> controller = controller_;
    controller_.reset();
    EXPECT_FALSE(controller.expired());
    EXPECT_TRUE(runUntil([&] { return controller.expired(); }));
    EXPECT_GT(popUp_->count(), 4);
}

TEST_F(VTRegistrationControllerTest, TakesAListingThatComesWhenTheWindowIsGone) {
    Answer answer;
    answer.body = "no JSON";
    simulator_.answer(listingPath, answer);
    controller_->awakeFromNib();
    window_.reset();
    EXPECT_EQ(controller_->serverPopUp(), nullptr);
    EXPECT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_FALSE(controller_->server());
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_EQ(log_.lines().size(), 1U);
}

// The menu

TEST_F(VTRegistrationControllerTest, KeepsItsOwnItemsWhenTheMenuIsRebuilt) {
    show({entry("A", "a.example")});
    const auto select = controller_->selectMenuItem();
    const auto custom = controller_->customMenuItem();
    show({});
    EXPECT_EQ(items().front(), select);
    EXPECT_EQ(items().back(), custom);
    EXPECT_THAT(titles(), ElementsAre("Select...", "-", "-", "Custom..."));
}

TEST_F(VTRegistrationControllerTest, UsesItemsThatAreSuppliedAsTheyAre) {
    const auto select = std::make_shared<MenuItem>(MenuItem{.title = "Pick one"});
    const auto custom = std::make_shared<MenuItem>(MenuItem{.title = "Another"});
    controller_->setSelectMenuItem(select);
    controller_->setCustomMenuItem(custom);
    show({});
    EXPECT_THAT(titles(), ElementsAre("Pick one", "-", "-", "Another"));
    EXPECT_EQ(controller_->selectMenuItem(), select);
    chooseCustom("x");
    EXPECT_TRUE(controller_->isCustom());
}

TEST_F(VTRegistrationControllerTest, LetsTheItemsGoWithTheWindow) {
    show({entry("A", "a.example")});
    const std::weak_ptr<const MenuItem> server = items()[2];
    const std::weak_ptr<const MenuItem> custom = controller_->customMenuItem();
    window_.reset();
    EXPECT_TRUE(server.expired());
    EXPECT_FALSE(custom.expired());
    controller_.reset();
    EXPECT_TRUE(custom.expired());
}

TEST_F(VTRegistrationControllerTest, ShowsAnEntryWithoutAnAddressAsNoServer) {
    show({{{VTAPIRegistrationServerCodeKey, "A"}}});
    EXPECT_THAT(titles(), ElementsAre("Select...", "-", "A", "-", "Custom..."));
    choose(2);
    EXPECT_FALSE(controller_->isServerSelected());
    EXPECT_FALSE(controller_->server());
}

TEST_F(VTRegistrationControllerTest, ListsTenThousandServersAtOnce) {
    VTRegistrationController::Servers servers;
    for (int number = 0; number < 10'000; ++number)
        servers.push_back(entry("Server " + std::to_string(number), "a.example"));
    controller_->setServers(std::move(servers));
    const auto start = std::chrono::steady_clock::now();
    controller_->updateServerListingMenu();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(popUp_->count(), 10'004);
}

// Derived values

TEST_F(VTRegistrationControllerTest, HasNoServerBeforeTheMenuIsBuilt) {
    EXPECT_FALSE(controller_->server());
    EXPECT_FALSE(controller_->isServerSelected());
    EXPECT_FALSE(controller_->isCustom());
}

TEST_F(VTRegistrationControllerTest, TakesTheAddressOfAChosenServer) {
    show({entry("Code", "address.example")});
    choose(2);
    EXPECT_EQ(controller_->server(), "address.example");
    EXPECT_TRUE(controller_->isServerSelected());
    EXPECT_FALSE(controller_->isCustom());
}

TEST_F(VTRegistrationControllerTest, TakesTheCustomTextAsItIs) {
    show({});
    chooseCustom(std::nullopt);
    EXPECT_TRUE(controller_->isCustom());
    EXPECT_TRUE(controller_->isServerSelected());
    EXPECT_EQ(controller_->server(), std::nullopt);
    controller_->setCustomServerText("");
    EXPECT_TRUE(controller_->isServerSelected());
    EXPECT_EQ(controller_->server(), "");
    controller_->setCustomServerText(" my server\t");
    EXPECT_EQ(controller_->server(), " my server\t");
    choose(0);
    EXPECT_EQ(controller_->server(), std::nullopt);
}

TEST_F(VTRegistrationControllerTest, KnowsTheCustomItemByItsIdentity) {
    show({entry("Custom...", "address.example")});
    choose(2);
    EXPECT_FALSE(controller_->isCustom());
    EXPECT_EQ(controller_->server(), "address.example");
}

TEST_F(VTRegistrationControllerTest, AnnouncesTheDerivedValuesWithTheSelection) {
    show({});
    for (const char* const key : {"selectedServerIndex", "server", "isServerSelected", "isCustom"})
        observe(key);
    controller_->setSelectedServerIndex(3);
    EXPECT_EQ(controller_->selectedServerIndex(), 3);
    EXPECT_THAT(announced_, UnorderedElementsAre("selectedServerIndex", "server",
                                                 "isServerSelected", "isCustom"));
    controller_->setSelectedServerIndex(3);
    EXPECT_EQ(announced_.size(), 8U);
}

TEST_F(VTRegistrationControllerTest, AnnouncesNoServerWhileTheCustomTextIsTyped) {
    show({});
    chooseCustom("a");
    for (const char* const key : {"customServerText", "server", "isServerSelected", "isCustom"})
        observe(key);
    controller_->setCustomServerText("ab");
    EXPECT_THAT(announced_, ElementsAre("customServerText"));
}

TEST_F(VTRegistrationControllerTest, AnnouncesCustomWithItsItem) {
    for (const char* const key : {"server", "isServerSelected", "isCustom"})
        observe(key);
    controller_->setCustomMenuItem(controller_->customMenuItem());
    EXPECT_THAT(announced_, ElementsAre("isCustom"));
}

TEST_F(VTRegistrationControllerTest, NamesTheKeysThatAffectItsDerivedValues) {
    EXPECT_THAT(VTRegistrationController::keyPathsForValuesAffectingServer(),
                UnorderedElementsAre("selectedServerIndex"));
    EXPECT_THAT(VTRegistrationController::keyPathsForValuesAffectingIsServerSelected(),
                UnorderedElementsAre("serverMenuItem", "selectedServerIndex"));
    EXPECT_THAT(VTRegistrationController::keyPathsForValuesAffectingIsCustom(),
                UnorderedElementsAre("customMenuItem", "selectedServerIndex"));
}

TEST_F(VTRegistrationControllerTest, AnnouncesEveryWriteOfAProperty) {
    const std::vector<std::string> keys = {
        "working",          "servers",      "serverPopUp",     "selectMenuItem",
        "customMenuItem",   "googleButton", "microsoftButton", "selectedServerIndex",
        "customServerText", "window"};
    for (const std::string& key : keys)
        observe(key);
    controller_->setWorking(controller_->working());
    controller_->setServers(controller_->servers());
    controller_->setServerPopUp(controller_->serverPopUp());
    controller_->setSelectMenuItem(controller_->selectMenuItem());
    controller_->setCustomMenuItem(controller_->customMenuItem());
    controller_->setGoogleButton(controller_->googleButton());
    controller_->setMicrosoftButton(controller_->microsoftButton());
    controller_->setSelectedServerIndex(controller_->selectedServerIndex());
    controller_->setCustomServerText(controller_->customServerText());
    controller_->setWindow(controller_->window());
    EXPECT_EQ(announced_, keys);
}

// Sign-in

TEST_F(VTRegistrationControllerTest, AsksTheChosenServerForTheProviderOfTheButton) {
    showAndChoose();
    controller_->ok(google_);
    EXPECT_TRUE(controller_->working());
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    choose(3);
    controller_->ok(microsoft_);
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));

    EXPECT_THAT(requestsTo(loginPath),
                ElementsAre("/api/desktop/v2/login?provider=google&redirect=false&scheme="
                            "printdriverregistration",
                            "/api/desktop/v2/login?provider=microsoft&redirect=false&scheme="
                            "printdriverregistration"));
    EXPECT_EQ(simulator_.requests()[0].value("Host"), registrationServer);
    EXPECT_EQ(simulator_.requests()[1].value("Host"), otherServer);
    EXPECT_TRUE(browserOpened(2));
}

TEST_F(VTRegistrationControllerTest, IgnoresAnyOtherSender) {
    showAndChoose();
    observe("working");
    controller_->ok(nullptr);
    controller_->ok(popUp_);
    controller_->setGoogleButton(nullptr);
    controller_->ok(google_);
    controller_->ok(nullptr);
    EXPECT_THAT(announced_, ElementsAre());
    // The press behind them is the only one that asks.
    controller_->ok(microsoft_);
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_EQ(simulator_.requests().size(), 1U);
    EXPECT_TRUE(browserOpened(1));
}

TEST_F(VTRegistrationControllerTest, StoresTheCodeOpensTheBrowserAndHidesTheWindow) {
    showAndChoose();
    simulator_.answerOnce(loginPath, loginAnswer("code-1"));
    std::string atTheEndOfWork;
    controller_->addObserver(
        [&] {
            if (!controller_->working())
                atTheEndOfWork = (window_->isVisible() ? "visible," : "hidden,") + storedCode();
        },
        "working");
    controller_->ok(google_);
    EXPECT_TRUE(window_->isVisible());
    ASSERT_TRUE(runUntil([this] { return !window_->isVisible(); }));
    EXPECT_EQ(atTheEndOfWork, "visible,");
    EXPECT_EQ(storedCode(), std::string("code-1@") + registrationServer);
    EXPECT_TRUE(browserOpened(1));
    EXPECT_THAT(WindowSession::shared().openedURLs(), ElementsAre(loginURL("code-1")));
    EXPECT_EQ(openSheet(), nullptr);
}

TEST_F(VTRegistrationControllerTest, StoresTheCodeWithTheServerThatWasAsked) {
    showAndChoose();
    simulator_.answerOnce(loginPath, loginAnswer("code-1"));
    controller_->ok(google_);
    choose(3);
    ASSERT_EQ(controller_->server(), otherServer);
    ASSERT_TRUE(runUntil([this] { return !window_->isVisible(); }));
    EXPECT_EQ(storedCode(), std::string("code-1@") + registrationServer);
    EXPECT_TRUE(browserOpened(1));
}

TEST_F(VTRegistrationControllerTest, ShowsALoginFailureAndStaysOpen) {
    showAndChoose();
    Answer answer;
    answer.body = R"({"data":{}})";
    simulator_.answerOnce(loginPath, answer);
    controller_->ok(google_);
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_EQ(openSheet()->parentWidget(), window_.get());
    EXPECT_THAT(textsOf(*openSheet()), ElementsAre("An unexpected error occured.", "", "OK"));
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_THAT(log_.lines()[0], StartsWith("An error occurred while obtaining the login URL: "));
    EXPECT_THAT(log_.lines()[0], testing::HasSubstr("An unexpected error occured."));
    dismissSheet();
    EXPECT_TRUE(window_->isVisible());
    EXPECT_EQ(log_.lines().size(), 1U);
    EXPECT_EQ(storedCode(), "");
    EXPECT_THAT(WindowSession::shared().openedURLs(), ElementsAre());
}

TEST_F(VTRegistrationControllerTest, FailsLikeAnUnreachableServerWithoutAServer) {
    show({});
    controller_->ok(google_);
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_EQ(textsOf(*openSheet())[0], "An error occurred while attempting to contact the server");
    EXPECT_EQ(simulator_.requests().size(), 0U);
}

TEST_F(VTRegistrationControllerTest, LetsEachPressOfAButtonStandForItself) {
    showAndChoose();
    Answer second = loginAnswer("code-2");
    second.delay = std::chrono::seconds(1);
    simulator_.answerOnce(loginPath, loginAnswer("code-1"));
    simulator_.answerOnce(loginPath, second);
    controller_->ok(google_);
    ASSERT_TRUE(simulator_.waitForRequests(1, patience));
    controller_->ok(google_);
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_EQ(storedCode(), std::string("code-1@") + registrationServer);
    EXPECT_TRUE(browserOpened(2));
    EXPECT_FALSE(controller_->working());
    EXPECT_EQ(storedCode(), std::string("code-2@") + registrationServer);
    EXPECT_THAT(WindowSession::shared().openedURLs(),
                UnorderedElementsAre(loginURL("code-1"), loginURL("code-2")));
}

TEST_F(VTRegistrationControllerTest, OpensTheBrowserAlsoWhenTheCodeCannotBeKept) {
    showAndChoose();
    simulator_.answerOnce(loginPath, loginAnswer("code-1"));
    PrivateSession& session = WindowSession::shared().session();
    session.keyring().kill();
    controller_->ok(google_);
    EXPECT_TRUE(runUntil([this] { return !window_->isVisible(); }));
    EXPECT_TRUE(browserOpened(1));
    EXPECT_EQ(log_.lines().size(), 1U) << "the store's own";
    session.startKeyring(PrivateSession::Keyring::unlocked);
    EXPECT_EQ(storedCode(), "");
}

TEST_F(VTRegistrationControllerTest, SignsInAlsoWhenTheControllerIsGone) {
    showAndChoose();
    simulator_.answerOnce(loginPath, loginAnswer("code-1"));
    controller_->ok(google_);
    const std::weak_ptr<VTRegistrationController> controller = controller_;
    controller_.reset();
    EXPECT_TRUE(controller.expired());
    EXPECT_TRUE(browserOpened(1));
    EXPECT_EQ(storedCode(), std::string("code-1@") + registrationServer);
    EXPECT_TRUE(window_->isVisible());
}

TEST_F(VTRegistrationControllerTest, OnlyLogsALoginFailureWhenTheControllerIsGone) {
    showAndChoose();
    Answer answer;
    answer.body = R"({"data":{}})";
    simulator_.answerOnce(loginPath, answer);
    controller_->ok(google_);
    controller_.reset();
    EXPECT_TRUE(runUntil([this] {
        return logHolds(StartsWith("An error occurred while obtaining the login URL: "));
    }));
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_EQ(storedCode(), "");
}

TEST_F(VTRegistrationControllerTest, EndsTheApplicationAlsoWhileARequestIsUnderWay) {
    showAndChoose();
    Answer answer = loginAnswer("code-1");
    answer.delay = std::chrono::milliseconds(300);
    simulator_.answerOnce(loginPath, answer);
    controller_->ok(google_);
    QTimer::singleShot(0, qApp, [this] { controller_->cancel(nullptr); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(controller_->working());
    EXPECT_EQ(storedCode(), "");
    // Nothing is left for the tests behind this one.
    EXPECT_TRUE(browserOpened(1));
}

} // namespace
