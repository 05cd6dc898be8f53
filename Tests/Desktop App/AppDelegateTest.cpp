#include "AppDelegate.h"

#include "Support/WaitUntil.h"
#include "VTTokenStore.h"
#include "WindowTest.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QTimer>
#include <set>
#include <tuple>

using platform::AppleEvent;
using platform::AppleEventDescriptor;
using platform::AppleEventManager;
using platform::URL;
using simulator::Answer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* tokenPath = "/api/desktop/v2/token";
constexpr const char* userInfoPath = "/api/session/user_info";
constexpr const char* issuingServer = "registration.ardentra.example";
constexpr const char* goodURL = "veltora://desktop_registration?code=callback";

/// How the application ended, or that it did not within the time that a test has.
enum class End { terminated, leftByTest, notInTime };

Answer answerWith(const std::string& body) {
    Answer answer;
    answer.body = body;
    return answer;
}

bool deliver(const std::optional<std::string>& text) {
    AppleEvent event;
    if (text)
        event.setParamDescriptor(AppleEventDescriptor(*text), platform::keyDirectObject);
    return AppleEventManager::sharedAppleEventManager().dispatch(
        event, platform::kInternetEventClass, platform::kAEGetURL);
}

/// Token, server and account of the stored registration.
std::tuple<std::string, std::string, std::string> storedRegistration() {
    std::optional<platform::Data> token;
    std::optional<std::string> server;
    std::optional<std::string> account;
    VTTokenStore::getToken(token, server, account);
    return {token ? platform::decodeUTF8(*token).value_or("not UTF-8") : "no token",
            server.value_or("no server"), account.value_or("no account")};
}

/// A delegate with a window controller and a window, in an application that runs when a test says
/// so.
class AppDelegateTest : public WindowTest {
protected:
    AppDelegateTest() {
        VTTokenStore::clearToken();
        controller_->setWindow(&window_);
        controller_->addObserver([this] { workingChanges_.push_back(controller_->working()); },
                                 "working");
        delegate_->setWindowController(controller_);
        delegate_->applicationWillFinishLaunching();
        delegate_->applicationDidFinishLaunching();
    }

    void beginRegistration() {
        ASSERT_TRUE(VTTokenStore::setEphemeralCode("ephemeral", issuingServer));
    }

    void answerWithToken() {
        simulator_.answer(tokenPath, answerWith(R"({"data":{"token":"the-token"}})"));
    }

    void answerWithUser(const std::string& data) {
        simulator_.answer(userInfoPath, answerWith(R"({"data":)" + data + "}"));
    }

    /// Runs the application, and in it the action and the observation again and again until the
    /// observation holds.
    template <typename Action>
    static End run(
        Action action, const std::function<bool()>& until = [] { return false; }) {
        constexpr int left = 1001;
        constexpr int late = 1002;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
            if (until())
                QCoreApplication::exit(left);
        });
        poll.start(1);
        QTimer deadline;
        QObject::connect(&deadline, &QTimer::timeout, &deadline,
                         [] { QCoreApplication::exit(late); });
        deadline.start(patience);
        QTimer::singleShot(0, &poll, action);
        const int status = QCoreApplication::exec();
        return status == 0 ? End::terminated : status == left ? End::leftByTest : End::notInTime;
    }

    static End runUntilSheet(const std::optional<std::string>& url) {
        return run([url] { deliver(url); }, [] { return openSheet() != nullptr; });
    }

    /// Answers the open sheet of success, which ends the application.
    static void dismissSuccess() {
        QMessageBox* const sheet = openSheet();
        ASSERT_NE(sheet, nullptr);
        EXPECT_EQ(run([sheet] { sheet->buttons().constFirst()->click(); }), End::terminated);
    }

    /// Presses the button once an alert shows it.
    static void pressOnceShown(QTimer& poll, qsizetype button, std::vector<std::string>& texts) {
        QObject::connect(&poll, &QTimer::timeout, &poll, [&poll, button, &texts] {
            QMessageBox* const alert = openSheet();
            if (alert == nullptr)
                return;
            poll.stop();
            texts = textsOf(*alert);
            alert->buttons().at(button)->click();
        });
        poll.start(1);
    }

    QWidget window_;
    std::shared_ptr<VTRegistrationController> controller_ =
        std::make_shared<VTRegistrationController>();
    std::unique_ptr<AppDelegate> delegate_ = std::make_unique<AppDelegate>();
    std::vector<bool> workingChanges_;
};

} // namespace

TEST_F(AppDelegateTest, ShowsTheWindowAtLaunch) {
    EXPECT_FALSE(delegate_->didHandleURL());
    EXPECT_TRUE(window_.isVisible());
}

TEST_F(AppDelegateTest, EndsAtLaunchWhenAURLHasBeenHandled) {
    window_.hide();
    delegate_->setDidHandleURL(true);
    EXPECT_EQ(run([this] { delegate_->applicationDidFinishLaunching(); }), End::terminated);
    EXPECT_FALSE(window_.isVisible());
}

TEST_F(AppDelegateTest, BringsTheWindowBackAtEachActivation) {
    for (int round = 0; round < 2; ++round) {
        window_.hide();
        delegate_->applicationDidBecomeActive();
        EXPECT_TRUE(window_.isVisible());
    }
    QWidget other;
    other.show();
    EXPECT_TRUE(runUntil([&other] { return other.isActiveWindow(); }));
    delegate_->applicationDidBecomeActive();
    EXPECT_TRUE(runUntil([this] { return window_.isActiveWindow(); }));
    window_.showMinimized();
    delegate_->applicationDidBecomeActive();
    EXPECT_FALSE(window_.isMinimized());
}

TEST_F(AppDelegateTest, AsksWhetherToStartAgainWithoutAPendingRegistration) {
    window_.hide();
    QTimer poll;
    std::vector<std::string> texts;
    bool wasCritical = false;
    const auto look = [&] {
        if (openSheet() != nullptr)
            wasCritical = openSheet()->icon() == QMessageBox::Critical;
    };
    QObject::connect(&poll, &QTimer::timeout, &poll, look);
    pressOnceShown(poll, 0, texts);
    bool returned = false;
    EXPECT_EQ(run(
                  [&] {
                      deliver("veltora://elsewhere?code=callback");
                      returned = true;
                  },
                  [&] { return returned; }),
              End::leftByTest);
    EXPECT_THAT(texts, ElementsAre("The registration process could not be completed",
                                   "The registration process has been completed or has timed out.",
                                   "Start again", "Quit"));
    EXPECT_TRUE(wasCritical);
    EXPECT_TRUE(window_.isVisible());
    EXPECT_FALSE(window_.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_THAT(workingChanges_, IsEmpty());
    EXPECT_THAT(log_.lines(), IsEmpty());
    EXPECT_THAT(simulator_.requests(), IsEmpty());
}

TEST_F(AppDelegateTest, EndsWhenTheUserQuitsWithoutAPendingRegistration) {
    QTimer poll;
    std::vector<std::string> texts;
    pressOnceShown(poll, 1, texts);
    EXPECT_EQ(run([] { deliver(goodURL); }), End::terminated);
    EXPECT_THAT(texts, testing::SizeIs(4));
}

TEST_F(AppDelegateTest, CompletesThePendingRegistration) {
    beginRegistration();
    answerWithToken();
    answerWithUser(R"({"email":"ada@example.com","name":"Ada"})");
    ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);

    EXPECT_THAT(requestsTo(tokenPath),
                ElementsAre(std::string(tokenPath) + "?code=ephemeral&code2=callback"));
    EXPECT_EQ(simulator_.requests().back().path(), userInfoPath);
    EXPECT_EQ(simulator_.requests().back().value("Authorization"), "Bearer the-token");
    EXPECT_EQ(storedRegistration(), std::tuple("the-token", issuingServer, "ada@example.com"));
    EXPECT_EQ(storedCode(), "");
    EXPECT_THAT(workingChanges_, ElementsAre(true, false));
    EXPECT_THAT(log_.lines(), IsEmpty());

    QMessageBox* const sheet = openSheet();
    EXPECT_THAT(textsOf(*sheet), ElementsAre("The registration process completed successfully",
                                             "You can now submit your print jobs.", "OK"));
    EXPECT_EQ(sheet->icon(), QMessageBox::Information);
    EXPECT_EQ(sheet->parentWidget(), &window_);
    dismissSuccess();
}

TEST_F(AppDelegateTest, FindsNoPendingRegistrationOnceOneIsComplete) {
    beginRegistration();
    answerWithToken();
    answerWithUser("{}");
    ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);
    dismissSuccess();
    QTimer poll;
    std::vector<std::string> texts;
    pressOnceShown(poll, 1, texts);
    EXPECT_EQ(run([] { deliver(goodURL); }), End::terminated);
    EXPECT_EQ(texts.at(0), "The registration process could not be completed");
}

TEST_F(AppDelegateTest, TurnsToTheServerOfTheEphemeralCodeWhateverTheWindowShows) {
    beginRegistration();
    controller_->setCustomServerText("other.ardentra.example");
    answerWithToken();
    answerWithUser("{}");
    ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);
    for (const simulator::RecordedRequest& request : simulator_.requests())
        EXPECT_EQ(request.value("Host"), issuingServer);
    EXPECT_EQ(std::get<1>(storedRegistration()), issuingServer);
    dismissSuccess();
}

TEST_F(AppDelegateTest, StartsTheExchangeWithoutACodeWhenTheURLIsRefused) {
    for (const char* const url :
         {"other://desktop_registration?code=a", "veltora://elsewhere?code=a",
          "veltora://desktop_registration", "not a URL"}) {
        beginRegistration();
        workingChanges_.clear();
        const std::size_t before = log_.lines().size();
        ASSERT_EQ(runUntilSheet(url), End::leftByTest);
        // Without both codes the exchange fails before anything is sent.
        EXPECT_THAT(requestsTo(tokenPath), IsEmpty());
        ASSERT_EQ(log_.lines().size(), before + 2) << url;
        EXPECT_THAT(log_.lines().at(before), HasSubstr("The supplied URL "));
        EXPECT_THAT(log_.lines().at(before + 1),
                    HasSubstr("An error occurred while attempting to obtain the token: Error "));
        EXPECT_THAT(workingChanges_, ElementsAre(true, false));
        EXPECT_EQ(storedCode(), std::string("ephemeral@") + issuingServer);
        dismissSheet();
    }
}

TEST_F(AppDelegateTest, TreatsAnEventWithoutAURLLikeARefusedOne) {
    beginRegistration();
    ASSERT_EQ(runUntilSheet(std::nullopt), End::leftByTest);
    EXPECT_EQ(log_.lines().at(0),
              "The supplied URL is not valid because the scheme is unknown: (null)");
    dismissSheet();
}

TEST_F(AppDelegateTest, StaysOpenWithTheRegistrationPendingWhenTheExchangeFails) {
    beginRegistration();
    simulator_.answer(tokenPath, answerWith(R"({"error":{"message":"The code has expired."}})"));
    ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);
    EXPECT_THAT(textsOf(*openSheet()), ElementsAre("An unexpected error occured", "", "OK"));
    EXPECT_EQ(openSheet()->parentWidget(), &window_);
    EXPECT_THAT(log_.lines(),
                ElementsAre(HasSubstr("An error occurred while attempting to obtain the token: "
                                      "Error Domain=com.norvale.tessor.api Code=4097 ")));
    EXPECT_THAT(workingChanges_, ElementsAre(true, false));
    EXPECT_EQ(storedCode(), std::string("ephemeral@") + issuingServer);
    EXPECT_EQ(std::get<0>(storedRegistration()), "no token");

    const auto dismissed = [] { return openSheet() == nullptr; };
    EXPECT_EQ(run([] { openSheet()->buttons().constFirst()->click(); }, dismissed),
              End::leftByTest);

    answerWithToken();
    answerWithUser("{}");
    ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);
    EXPECT_EQ(std::get<0>(storedRegistration()), "the-token");
    dismissSuccess();
}

TEST_F(AppDelegateTest, StoresNoAccountWhenTheUserIsNotToldOf) {
    beginRegistration();
    answerWithToken();
    simulator_.answer(userInfoPath, answerWith(R"({"error":{"message":"No."}})"));
    ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);
    EXPECT_EQ(openSheet()->text(), "The registration process completed successfully");
    EXPECT_THAT(log_.lines(),
                ElementsAre(HasSubstr("The user's email address could not be determined: Error ")));
    EXPECT_EQ(storedRegistration(), std::tuple("the-token", issuingServer, "no account"));
    EXPECT_EQ(storedCode(), "");
    EXPECT_THAT(workingChanges_, ElementsAre(true, false));
    dismissSuccess();
}

TEST_F(AppDelegateTest, StoresNoAccountWithoutAMessageWhenTheUserHasNoAddress) {
    for (const char* const user : {"{}", R"({"email":null})", R"({"email":7})"}) {
        VTTokenStore::clearToken();
        beginRegistration();
        answerWithToken();
        answerWithUser(user);
        ASSERT_EQ(runUntilSheet(goodURL), End::leftByTest);
        EXPECT_EQ(openSheet()->text(), "The registration process completed successfully");
        EXPECT_EQ(storedRegistration(), std::tuple("the-token", issuingServer, "no account"));
        dismissSuccess();
    }
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(AppDelegateTest, TellsOfSuccessEvenWhenTheRegistrationCannotBeStored) {
    beginRegistration();
    answerWithToken();
    PrivateSession& session = WindowSession::shared().session();
    // The keyring goes between the first step, which reads it, and the last, which writes.
    ASSERT_EQ(run(
                  [&session] {
                      deliver(goodURL);
                      session.keyring().kill();
                  },
                  [] { return openSheet() != nullptr; }),
              End::leftByTest);
    EXPECT_EQ(openSheet()->text(), "The registration process completed successfully");
    EXPECT_THAT(log_.lines(), testing::SizeIs(3)); // no user, no token stored, no code cleared
    dismissSuccess();
    session.startKeyring(PrivateSession::Keyring::unlocked);
}

TEST_F(AppDelegateTest, StartsAnExchangeForEachURLWhileTheRegistrationIsPending) {
    beginRegistration();
    simulator_.answer(tokenPath, answerWith(R"({"error":{"message":"No."}})"));
    const auto bothExchanged = [this] { return requestsTo(tokenPath).size() == 2; };
    EXPECT_EQ(run(
                  [] {
                      deliver("veltora://desktop_registration?code=one");
                      deliver("veltora://desktop_registration?code=two");
                  },
                  bothExchanged),
              End::leftByTest);
    EXPECT_TRUE(runUntil([this] { return log_.lines().size() == 2 && openSheet() != nullptr; }));
    QMessageBox* const first = openSheet();
    first->buttons().constFirst()->click();
    EXPECT_TRUE(runUntil([first] { return openSheet() != nullptr && openSheet() != first; }));
    dismissSheet();
}

TEST_F(AppDelegateTest, LeavesNothingToReachWhenItGoesBeforeTheAnswer) {
    beginRegistration();
    Answer late = answerWith(R"({"error":{"message":"No."}})");
    late.delay = std::chrono::milliseconds(50);
    simulator_.answer(tokenPath, late);
    ASSERT_EQ(run([] { deliver(goodURL); }, [this] { return !requestsTo(tokenPath).empty(); }),
              End::leftByTest);
    delegate_.reset();
    controller_.reset();
    EXPECT_TRUE(runUntil([this] { return log_.lines().size() == 1; }));
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_FALSE(deliver(goodURL));
}

TEST_F(AppDelegateTest, OffersVersionAndCopyright) {
    EXPECT_EQ(delegate_->versionString(), "8.114.511.0");
    EXPECT_THAT(delegate_->copyrightString().value_or(""), HasSubstr("Ardentra Registration"));
}

namespace {

constexpr const char* unknownScheme =
    "The supplied URL is not valid because the scheme is unknown: ";
constexpr const char* missingComponent =
    "The supplied URL is not valid because it is missing a required component: ";
constexpr const char* noValidCode = "The supplied URL did not contain a valid code: ";
constexpr const char* secondCode =
    "The supplied URL contains more than one code, only the first code will be used: ";

struct CallbackURL {
    const char* url;
    std::optional<std::string> code;
    const char* message; ///< without the URL at its end; null for none
};

// gtest names the case by this.
std::ostream& operator<<(std::ostream& out, const CallbackURL& callback) {
    return out << callback.url;
}

class CallbackURLTest : public testing::TestWithParam<CallbackURL> {};

} // namespace

TEST_P(CallbackURLTest, YieldsTheCodeOrSaysWhyNot) {
    const auto& [url, code, message] = GetParam();
    LogCapture log;
    EXPECT_EQ(AppDelegate().codeFromCompletedOAuthRequestURL(URL::URLWithString(url)), code);
    if (message == nullptr)
        EXPECT_THAT(log.lines(), IsEmpty());
    else
        EXPECT_THAT(log.lines(), ElementsAre(std::string(message) + url));
}

INSTANTIATE_TEST_SUITE_P(
    All, CallbackURLTest,
    testing::Values(
        CallbackURL{"zantiq://desktop_registration?code=abc", "abc", nullptr},
        CallbackURL{"veltora://desktop_registration?code=abc", "abc", nullptr},
        CallbackURL{"printdriverregistration://desktop_registration?code=abc", "abc", nullptr},
        CallbackURL{"zantiq://desktop_registration/a/path?code=abc", "abc", nullptr},
        CallbackURL{"zantiq://u:p@desktop_registration:8080/?code=abc#code", "abc", nullptr},
        CallbackURL{"veltora://desktop_registration?state=1&code=abc", "abc", nullptr},
        CallbackURL{"veltora://desktop_registration?code=a&code=b", "a", secondCode},
        CallbackURL{"veltora://desktop_registration?code=a&code=b&code=c", "a", secondCode},
        CallbackURL{"veltora://desktop_registration?code=a&code", "a", nullptr},
        CallbackURL{"veltora://desktop_registration?code&code=a", "a", nullptr},
        CallbackURL{"veltora://desktop_registration?code=a&code=", "a", secondCode},
        CallbackURL{"veltora://desktop_registration?code=", "", nullptr},
        CallbackURL{"veltora://desktop_registration?code=&code=b", "", secondCode},
        CallbackURL{"veltora://desktop_registration?code", std::nullopt, noValidCode},
        CallbackURL{"veltora://desktop_registration?", std::nullopt, noValidCode},
        CallbackURL{"veltora://desktop_registration", std::nullopt, noValidCode},
        CallbackURL{"veltora://desktop_registration?Code=abc", std::nullopt, noValidCode},
        CallbackURL{"veltora://desktop_registration#code=abc", std::nullopt, noValidCode},
        CallbackURL{"veltora://elsewhere?code=abc", std::nullopt, missingComponent},
        CallbackURL{"veltora://Desktop_Registration?code=abc", std::nullopt, missingComponent},
        CallbackURL{"veltora:?code=abc", std::nullopt, missingComponent},
        CallbackURL{"veltora:///?code=abc", std::nullopt, missingComponent},
        CallbackURL{"Veltora://desktop_registration?code=abc", std::nullopt, unknownScheme},
        CallbackURL{"https://elsewhere?code", std::nullopt, unknownScheme},
        CallbackURL{"//desktop_registration?code=abc", std::nullopt, unknownScheme},
        CallbackURL{"veltora://desktop_registration?code=a%2Bb%20c%26%C3%A9", "a+b c&é", nullptr},
        CallbackURL{"veltora://desktop_registration?c%6Fde=abc", "abc", nullptr}));
