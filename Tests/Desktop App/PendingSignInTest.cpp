#include "PendingSignIn.h"

#include "MainInterface.h"
#include "Platform/AppleEventManager.h"
#include "Platform/WindowOrdering.h"
#include "Support/InstalledApplications.h"
#include "VTTokenStore.h"
#include "WindowTest.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QClipboard>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <utility>

using platform::AppleEventManager;
using platform::URL;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* server = "registration.ardentra.example";
constexpr const char* page = "https://login.ardentra.example/Sign%20In?code=a&next=%2F";
constexpr const char* address = "printdriverregistration://desktop_registration?code=abc";
constexpr const char* thisApplication = "com.norvale.tessor";

const std::vector<std::string>& schemes() {
    static const std::vector<std::string> all = {"zantiq", "veltora", "printdriverregistration"};
    return all;
}

/// Takes down what get-URL events hold, as long as it lives.
class EventRecorder {
public:
    EventRecorder() {
        manager().setEventHandler(
            [this](const platform::AppleEvent& event, platform::AppleEvent&) {
                const auto text = event.paramDescriptorForKeyword(platform::keyDirectObject);
                urls.push_back(text ? text->stringValue() : "no text");
            },
            platform::kInternetEventClass, platform::kAEGetURL);
    }
    EventRecorder(const EventRecorder&) = delete;
    EventRecorder& operator=(const EventRecorder&) = delete;
    ~EventRecorder() {
        manager().removeEventHandlerForEventClass(platform::kInternetEventClass,
                                                  platform::kAEGetURL);
    }

    std::vector<std::string> urls;

private:
    static AppleEventManager& manager() { return AppleEventManager::sharedAppleEventManager(); }
};

void press(QWidget& receiver, int key) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier);
        QApplication::sendEvent(&receiver, &event);
    }
}

/// The controls of the panel that is in there, or is it.
class PendingSignInControls : public WindowTest {
protected:
    template <typename Widget>
    static Widget& findIn(const QWidget& widget, const char* name) {
        auto* const found = widget.findChild<Widget*>(name);
        if (found == nullptr)
            throw std::runtime_error(name);
        return *found;
    }

    virtual QWidget& root() = 0;

    QPushButton& button(const char* name) { return findIn<QPushButton>(root(), name); }
    QPushButton& openAgain() { return button("openAgainButton"); }
    QPushButton& copyLink() { return button("copyLinkButton"); }
    QPushButton& continueButton() { return button("continueButton"); }
    QPushButton& useApplication() { return button("useApplicationButton"); }
    QLineEdit& field() { return findIn<QLineEdit>(root(), "callbackField"); }
    QLabel& notice() { return findIn<QLabel>(root(), "handlerLabel"); }

    static void beginRegistration() {
        ASSERT_TRUE(VTTokenStore::setEphemeralCode("ephemeral", server));
    }
};

/// The panel alone, with a workspace of its own.
class PendingSignInTest : public PendingSignInControls {
protected:
    PendingSignInTest() {
        QObject::connect(&panel_, &PendingSignIn::feedback, &panel_,
                         [this](const QString& text) { feedback_.push_back(text.toStdString()); });
    }

    QWidget& root() override { return panel_; }

    void openPage(std::size_t countOfPages = 1) {
        ASSERT_TRUE(workspace_.openURL(*URL::URLWithString(page)));
        ASSERT_TRUE(browserOpened(countOfPages));
    }

    void showPending() {
        beginRegistration();
        panel_.refresh();
        ASSERT_TRUE(panel_.isVisible());
    }

    platform::Workspace workspace_;
    PendingSignIn panel_{nullptr, workspace_};
    std::vector<std::string> feedback_;
};

} // namespace

TEST_F(PendingSignInTest, ShowsOnlyAsLongAsARegistrationIsPending) {
    panel_.refresh();
    EXPECT_TRUE(panel_.isHidden());
    beginRegistration();
    panel_.refresh();
    EXPECT_FALSE(panel_.isHidden());
    VTTokenStore::clearEphemeralCode();
    panel_.refresh();
    EXPECT_TRUE(panel_.isHidden());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PendingSignInTest, KnowsOfALockedKeychainOnlyWhatThisProcessDid) {
    PrivateSession& session = WindowSession::shared().session();
    beginRegistration();
    session.lockKeyring();
    panel_.refresh();
    EXPECT_TRUE(panel_.isHidden());
    openPage();
    panel_.refresh();
    EXPECT_FALSE(panel_.isHidden());
    session.startKeyring(PrivateSession::Keyring::unlocked);
    VTTokenStore::clearEphemeralCode();
    panel_.refresh();
    EXPECT_TRUE(panel_.isHidden());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PendingSignInTest, OpensTheSignInPageAgain) {
    openPage();
    showPending();
    openAgain().click();
    ASSERT_TRUE(browserOpened(2));
    EXPECT_THAT(WindowSession::shared().openedURLs(), ElementsAre(page, page));
    EXPECT_TRUE(panel_.isVisible());
}

TEST_F(PendingSignInTest, CopiesTheLink) {
    openPage();
    showPending();
    copyLink().click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), page);
    EXPECT_THAT(feedback_, ElementsAre("The link was copied."));
}

TEST_F(PendingSignInTest, OffersOnlyTheFieldWhereThePageIsNotKnown) {
    showPending();
    EXPECT_FALSE(openAgain().isVisible());
    EXPECT_FALSE(copyLink().isVisible());
    EXPECT_TRUE(field().isVisible());
    openPage();
    panel_.refresh();
    EXPECT_TRUE(openAgain().isVisible());
    EXPECT_TRUE(copyLink().isVisible());
}

TEST_F(PendingSignInTest, DeliversThePastedAddressAsAGetURLEvent) {
    EventRecorder events;
    showPending();
    field().setText(QString("  ") + address + " \t");
    continueButton().click();
    EXPECT_THAT(events.urls, ElementsAre(address));
    EXPECT_EQ(field().text(), "");
}

TEST_F(PendingSignInTest, DeliversTheAddressOnEnter) {
    EventRecorder events;
    showPending();
    field().setText("anything at all");
    press(field(), Qt::Key_Return);
    EXPECT_THAT(events.urls, ElementsAre("anything at all"));
    press(field(), Qt::Key_Return);
    EXPECT_EQ(events.urls.size(), 1U);
}

TEST_F(PendingSignInTest, KeepsAnAddressThatNothingHandles) {
    showPending();
    field().setText(address);
    continueButton().click();
    EXPECT_EQ(field().text(), address);
}

TEST_F(PendingSignInTest, ContinuesOnlyWithAnAddress) {
    showPending();
    EXPECT_FALSE(continueButton().isEnabled());
    field().setText(" \t ");
    EXPECT_FALSE(continueButton().isEnabled());
    field().setText("x");
    EXPECT_TRUE(continueButton().isEnabled());
    field().clear();
    EXPECT_FALSE(continueButton().isEnabled());
}

TEST_F(PendingSignInTest, SaysSoWhereNoApplicationOpensTheLinks) {
    const InstalledApplications applications;
    showPending();
    EXPECT_FALSE(notice().isVisible());
    EXPECT_TRUE(runUntil([this] { return notice().isVisible(); }));
    EXPECT_EQ(notice().text(),
              "No application opens the links by which the web browser comes back here.");
    EXPECT_EQ(notice().accessibleName(), notice().text());
    applications.install(thisApplication, schemes());
    panel_.refresh();
    EXPECT_TRUE(runUntil([this] { return !notice().isVisible(); }));
}

TEST_F(PendingSignInTest, BecomesTheApplicationThatOpensTheLinks) {
    const InstalledApplications applications;
    applications.install(thisApplication, schemes());
    applications.install("other", schemes());
    applications.choose("other", {"veltora"});
    showPending();
    ASSERT_TRUE(runUntil([this] { return notice().isVisible(); }));
    EXPECT_EQ(notice().text(),
              "Another application opens the links by which the web browser comes back here.");
    useApplication().click();
    // A second press makes no difference.
    useApplication().click();
    EXPECT_TRUE(runUntil([this] { return !feedback_.empty(); }));
    EXPECT_FALSE(notice().isVisible());
    EXPECT_THAT(feedback_, ElementsAre("This application opens the links now."));
    const auto chosen = runProgram({{"xdg-mime", "query", "default", "x-scheme-handler/veltora"}});
    EXPECT_EQ(chosen.standardOutput, "com.norvale.tessor.desktop\n");
}

TEST_F(PendingSignInTest, SaysSoWhenItCannotBecomeThatApplication) {
    const InstalledApplications applications;
    applications.install("other", schemes());
    showPending();
    ASSERT_TRUE(runUntil([this] { return notice().isVisible(); }));
    useApplication().click();
    EXPECT_TRUE(runUntil([this] { return !feedback_.empty(); }));
    EXPECT_THAT(feedback_, ElementsAre("The setting could not be changed."));
    EXPECT_TRUE(notice().isVisible());
    EXPECT_TRUE(useApplication().isEnabled());
}

TEST_F(PendingSignInTest, MayGoWhileTheDesktopIsAsked) {
    {
        PendingSignIn other(nullptr, workspace_);
        beginRegistration();
        other.refresh();
        findIn<QPushButton>(other, "useApplicationButton").click();
    }
    panel_.refresh();
    EXPECT_TRUE(runUntil([this] { return notice().isVisible(); }));
}

namespace {

/// The panel in the registration window.
class PendingWindowTest : public PendingSignInControls {
protected:
    PendingWindowTest() {
        simulator_.setServers({{"First", server}});
        platform::makeKeyAndOrderFront(&window_);
    }

    QWidget& root() override { return window_; }
    QWidget& panel() { return findIn<QWidget>(window_, "pendingSignIn"); }
    QLabel& status() { return findIn<QLabel>(window_, "statusLabel"); }
    QWidget& progressBar() { return findIn<QWidget>(window_, "progressBar"); }

    /// Takes the window away and brings it back, and waits until it has been painted and whatever
    /// it put off until then is done.
    void comeBack() {
        platform::orderOut(&window_);
        bool painted = false;
        PaintWatch watch([&] { painted = true; });
        window_.installEventFilter(&watch);
        platform::makeKeyAndOrderFront(&window_);
        ASSERT_TRUE(runUntil([&] { return painted; }));
        bool isLater = false;
        QTimer::singleShot(0, &watch, [&] { isLater = true; });
        ASSERT_TRUE(runUntil([&] { return isLater; }));
    }

    void showPending() {
        beginRegistration();
        comeBack();
        ASSERT_TRUE(panel().isVisible());
    }

    std::shared_ptr<VTRegistrationController> controller_ =
        std::make_shared<VTRegistrationController>();
    RegistrationWindow window_{controller_, "8.114.511.0", "Copyright Somebody"};

private:
    class PaintWatch : public QObject {
    public:
        explicit PaintWatch(std::function<void()> painted) : painted_(std::move(painted)) {}

        bool eventFilter(QObject*, QEvent* event) override {
            // After the event itself, whose filter this is.
            if (event->type() == QEvent::Paint)
                QTimer::singleShot(0, this, painted_);
            return false;
        }

    private:
        std::function<void()> painted_;
    };
};

} // namespace

TEST_F(PendingWindowTest, LooksForAPendingRegistrationWheneverTheWindowComesBack) {
    comeBack();
    EXPECT_FALSE(panel().isVisible());
    beginRegistration();
    comeBack();
    EXPECT_TRUE(panel().isVisible());
    VTTokenStore::clearEphemeralCode();
    comeBack();
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(PendingWindowTest, DoesNotLookWhileARequestIsUnderWay) {
    controller_->setWorking(true);
    beginRegistration();
    comeBack();
    EXPECT_FALSE(panel().isVisible());
    controller_->setWorking(false);
    EXPECT_TRUE(runUntil([this] { return panel().isVisible(); }));
}

TEST_F(PendingWindowTest, LooksOnceTheListingOfANewProcessIsThere) {
    beginRegistration();
    controller_->awakeFromNib();
    EXPECT_FALSE(panel().isVisible());
    EXPECT_TRUE(runUntil([this] { return panel().isVisible(); }));
    EXPECT_FALSE(controller_->working());
}

TEST_F(PendingWindowTest, GrowsForThePanelAndShrinksAgain) {
    comeBack();
    const QSize before = window_.size();
    showPending();
    EXPECT_TRUE(runUntil([&] { return window_.height() > before.height(); }));
    EXPECT_EQ(window_.width(), before.width());
    VTTokenStore::clearEphemeralCode();
    comeBack();
    EXPECT_TRUE(runUntil([&] { return window_.size() == before; }));
}

TEST_F(PendingWindowTest, StaysOnTheScreenWhenItGrows) {
    const QRect screen = window_.screen()->availableGeometry();
    comeBack();
    window_.move(100, screen.bottom() - window_.height() - 10);
    const int before = window_.height();
    showPending();
    EXPECT_TRUE(runUntil([&] { return window_.height() > before; }));
    EXPECT_LE(window_.frameGeometry().bottom(), screen.bottom());
}

TEST_F(PendingWindowTest, OffersNothingWhileARequestIsUnderWay) {
    showPending();
    field().setText(address);
    field().setFocus();
    controller_->setWorking(true);
    EXPECT_FALSE(field().isEnabled());
    EXPECT_FALSE(continueButton().isEnabled());
    // Not "Cancel", where the next key would end the application.
    EXPECT_EQ(window_.focusWidget(), controller_->serverPopUp());
    controller_->setWorking(false);
    EXPECT_TRUE(continueButton().isEnabled());
    EXPECT_EQ(window_.focusWidget(), &field());
}

TEST_F(PendingWindowTest, LeavesTheKeyboardInTheFieldWhenTheAddressIsTaken) {
    EventRecorder events;
    showPending();
    field().setText(address);
    continueButton().setFocus();
    continueButton().click();
    EXPECT_EQ(events.urls.size(), 1U);
    EXPECT_EQ(window_.focusWidget(), &field());
}

TEST_F(PendingWindowTest, SaysWhatWasDoneWhereItSaysWhatItWaitsFor) {
    showPending();
    EXPECT_FALSE(status().isVisible());
    auto& panelItself = findIn<PendingSignIn>(window_, "pendingSignIn");
    Q_EMIT panelItself.feedback("The link was copied.");
    EXPECT_TRUE(status().isVisible());
    EXPECT_EQ(status().text(), "The link was copied.");
    EXPECT_EQ(status().accessibleName(), "The link was copied.");
    EXPECT_FALSE(progressBar().isVisible());
    controller_->setWorking(true);
    EXPECT_EQ(status().text(), "Getting the list of servers…");
    EXPECT_TRUE(progressBar().isVisible());
    controller_->setWorking(false);
    EXPECT_FALSE(status().isVisible());
}

TEST_F(PendingWindowTest, LeadsTheKeyboardThroughTheControlsInTheirOrder) {
    platform::Workspace::sharedWorkspace().openURL(*URL::URLWithString(page));
    ASSERT_TRUE(browserOpened(1));
    showPending();
    ASSERT_TRUE(runUntil([this] { return useApplication().isVisible(); }));
    field().setText(address);
    controller_->serverPopUp()->setFocus();
    std::vector<QWidget*> order;
    for (int count = 0; count < 8; ++count) {
        order.push_back(window_.focusWidget());
        press(*window_.focusWidget(), Qt::Key_Tab);
    }
    EXPECT_THAT(order, ElementsAre(controller_->serverPopUp(), &openAgain(), &copyLink(), &field(),
                                   &continueButton(), &useApplication(), &button("cancelButton"),
                                   controller_->serverPopUp()));
}

TEST_F(PendingWindowTest, TellsScreenReadersWhatEachControlIs) {
    for (QWidget* const control : std::initializer_list<QWidget*>{
             &openAgain(), &copyLink(), &field(), &continueButton(), &useApplication()}) {
        const QAccessibleInterface* const accessible =
            QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(accessible, nullptr);
        EXPECT_NE(accessible->text(QAccessible::Name), "") << qPrintable(control->objectName());
        EXPECT_NE(accessible->text(QAccessible::Description), "")
            << qPrintable(control->objectName());
    }
    EXPECT_EQ(findIn<QLabel>(window_, "callbackLabel").buddy(), &field());
}
