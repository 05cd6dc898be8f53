#include "MainInterface.h"

#include "AppDelegate.h"
#include "Platform/Application.h"
#include "Support/UserLanguage.h"
#include "Support/WaitUntil.h"
#include "WindowTest.h"

#include <gmock/gmock.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QTimer>
#include <memory>
#include <optional>
#include <set>
#include <utility>

using simulator::Answer;
using testing::ElementsAre;
using testing::IsSupersetOf;

namespace {

constexpr const char* registrationServer = "registration.ardentra.example";

/// Types a key where the keyboard is.
void press(QWidget& window, int key, const QString& text = {}) {
    QWidget* const receiver = window.focusWidget() != nullptr ? window.focusWidget() : &window;
    for (const QEvent::Type type :
         {QEvent::ShortcutOverride, QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, text);
        QApplication::sendEvent(receiver, &event);
    }
}

/// The texts of a window that a user reads or has read out.
std::vector<std::string> readableTexts(const QWidget& window) {
    std::vector<std::string> texts = {window.windowTitle().toStdString()};
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        for (const char* const property :
             {"text", "placeholderText", "accessibleName", "accessibleDescription"}) {
            const std::string text = widget->property(property).toString().toStdString();
            if (!text.empty())
                texts.push_back(text);
        }
    }
    return texts;
}

class MainInterfaceTest : public WindowTest {
protected:
    MainInterfaceTest() { open(); }

    void open() {
        controller_ = std::make_shared<VTRegistrationController>();
        window_ =
            std::make_unique<RegistrationWindow>(controller_, "8.114.511.0", "Copyright Somebody");
        window_->show();
        window_->activateWindow();
    }

    void fetchListing() {
        simulator_.setServers({{"First", registrationServer}});
        controller_->awakeFromNib();
        ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    }

    /// Moves the choice in the pop-up to the item at that index, by keyboard.
    void choose(int index) {
        popUp().setFocus();
        press(*window_, Qt::Key_Home);
        for (int tries = 0; popUp().currentIndex() != index && tries < popUp().count(); ++tries)
            press(*window_, Qt::Key_Down);
        ASSERT_EQ(popUp().currentIndex(), index);
    }

    void chooseCustom() { choose(popUp().count() - 1); }

    template <typename Widget>
    Widget& find(const char* name) {
        auto* const widget = window_->findChild<Widget*>(name);
        if (widget == nullptr)
            throw std::runtime_error(name);
        return *widget;
    }

    QComboBox& popUp() { return find<QComboBox>("serverPopUp"); }
    QLineEdit& field() { return find<QLineEdit>("customServerField"); }
    QPushButton& google() { return find<QPushButton>("googleButton"); }
    QPushButton& microsoft() { return find<QPushButton>("microsoftButton"); }
    QPushButton& cancel() { return find<QPushButton>("cancelButton"); }
    QWidget& progress() { return find<QWidget>("progress"); }
    std::string status() { return find<QLabel>("statusLabel").text().toStdString(); }

    bool offersSignIn() {
        EXPECT_EQ(google().isEnabled(), microsoft().isEnabled());
        return google().isEnabled();
    }

    std::vector<QRect> places() {
        std::vector<QRect> places = {window_->geometry()};
        for (const QWidget* const widget : window_->findChildren<QWidget*>())
            places.push_back(widget->geometry());
        return places;
    }

    /// Whether the application ends, and well, when this is done in it.
    static bool ends(const std::function<void()>& action) {
        QObject context;
        QTimer::singleShot(0, &context, action);
        QTimer::singleShot(patience, &context, [] { QCoreApplication::exit(1); });
        return QApplication::exec() == 0;
    }

    std::shared_ptr<VTRegistrationController> controller_;
    std::unique_ptr<RegistrationWindow> window_;
};

TEST_F(MainInterfaceTest, MakesDelegateControllerAndWindow) {
    window_.reset();
    const std::unique_ptr<platform::MainInterface> interface = platform::loadMainInterface();
    auto& delegate = dynamic_cast<AppDelegate&>(interface->delegate());
    controller_ = delegate.windowController();
    ASSERT_TRUE(controller_);
    QWidget* const window = controller_->window();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(window->windowTitle(), "Ardentra Registration");
    EXPECT_TRUE(window->isAncestorOf(controller_->serverPopUp()));
    EXPECT_TRUE(window->isAncestorOf(controller_->googleButton()));
    EXPECT_TRUE(window->isAncestorOf(controller_->microsoftButton()));
    EXPECT_THAT(readableTexts(*window), IsSupersetOf({"Version " + *delegate.versionString(),
                                                      *delegate.copyrightString()}));
    EXPECT_TRUE(controller_->working());
    EXPECT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_EQ(requestsTo(listingPath).size(), 1U);
}

TEST_F(MainInterfaceTest, EndsWhileTheListingIsUnderWay) {
    std::unique_ptr<platform::MainInterface> interface = platform::loadMainInterface();
    controller_ = dynamic_cast<AppDelegate&>(interface->delegate()).windowController();
    interface.reset();
    EXPECT_EQ(controller_->window(), nullptr);
    EXPECT_TRUE(runUntil([this] { return !controller_->working(); }));
}

TEST_F(MainInterfaceTest, ShowsThePlaceholderBeforeAndAfterTheListing) {
    EXPECT_EQ(popUp().currentIndex(), -1);
    EXPECT_EQ(popUp().placeholderText(), "Select...");
    fetchListing();
    EXPECT_EQ(popUp().currentText(), "Select...");
}

TEST_F(MainInterfaceTest, WritesTheChoiceOfTheUserToTheController) {
    fetchListing();
    choose(2);
    EXPECT_EQ(controller_->selectedServerIndex(), 2);
    EXPECT_EQ(controller_->server(), registrationServer);
    choose(0);
    EXPECT_EQ(controller_->selectedServerIndex(), 0);
}

TEST_F(MainInterfaceTest, OffersSignInForAChosenServerOnly) {
    EXPECT_FALSE(offersSignIn());
    fetchListing();
    EXPECT_FALSE(offersSignIn());
    choose(2);
    EXPECT_TRUE(offersSignIn());
    controller_->setWorking(true);
    EXPECT_FALSE(offersSignIn());
    controller_->setWorking(false);
    EXPECT_TRUE(offersSignIn());
    choose(0);
    EXPECT_FALSE(offersSignIn());
}

TEST_F(MainInterfaceTest, ShowsTheFieldForACustomServerOnly) {
    fetchListing();
    EXPECT_FALSE(field().isVisible());
    chooseCustom();
    EXPECT_TRUE(field().isVisible());
    choose(2);
    EXPECT_FALSE(field().isVisible());
}

TEST_F(MainInterfaceTest, OffersSignInForACustomServerThatIsNotBlank) {
    fetchListing();
    chooseCustom();
    EXPECT_FALSE(offersSignIn());
    field().setText("  \t");
    EXPECT_FALSE(offersSignIn());
    field().setText(" host.example ");
    EXPECT_TRUE(offersSignIn());
    EXPECT_EQ(controller_->server(), " host.example ");
    field().clear();
    EXPECT_FALSE(offersSignIn());
    EXPECT_EQ(controller_->server(), "");
}

TEST_F(MainInterfaceTest, SaysWhatItIsWaitingFor) {
    EXPECT_FALSE(progress().isVisible());
    controller_->awakeFromNib();
    EXPECT_TRUE(progress().isVisible());
    EXPECT_EQ(status(), "Getting the list of servers…");
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_FALSE(progress().isVisible());

    choose(2);
    Answer failure;
    failure.body = R"({"data":{}})";
    simulator_.answerOnce(loginPath, failure);
    google().click();
    EXPECT_TRUE(progress().isVisible());
    EXPECT_EQ(status(), "Contacting the server…");
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    dismissSheet();

    controller_->setWorking(true);
    EXPECT_EQ(status(), "Completing the registration…");
}

TEST_F(MainInterfaceTest, MovesNothingWhenTheProgressAppears) {
    fetchListing();
    ASSERT_TRUE(runUntil([this] { return window_->size() == window_->sizeHint(); }));
    const std::vector<QRect> before = places();
    for (int count = 0; count < 2; ++count) {
        controller_->setWorking(true);
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        EXPECT_EQ(places(), before);
    }
}

TEST_F(MainInterfaceTest, GrowsForTheCustomServerAndShrinksAgain) {
    fetchListing();
    const QSize before = window_->size();
    chooseCustom();
    EXPECT_TRUE(runUntil([&] { return window_->height() > before.height(); }));
    EXPECT_EQ(window_->width(), before.width());
    choose(0);
    EXPECT_TRUE(runUntil([&] { return window_->size() == before; }));
}

TEST_F(MainInterfaceTest, IsNoWiderForALongName) {
    const QSize before = window_->size();
    simulator_.setServers({{std::string(5000, 'W'), std::string(5000, 'x')}});
    controller_->awakeFromNib();
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    choose(2);
    QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    EXPECT_EQ(window_->sizeHint(), before);
    popUp().showPopup();
    EXPECT_LE(popUp().view()->window()->width(), window_->width());
}

TEST_F(MainInterfaceTest, SignsInWithTheProviderOfTheButton) {
    fetchListing();
    choose(2);
    microsoft().click();
    EXPECT_TRUE(runUntil([this] { return !window_->isVisible(); }));
    ASSERT_EQ(requestsTo(loginPath).size(), 1U);
    EXPECT_THAT(requestsTo(loginPath)[0], testing::HasSubstr("provider=microsoft&"));
    EXPECT_TRUE(browserOpened(1));
}

TEST_F(MainInterfaceTest, ReturnsTheKeyboardToTheButtonAfterAFailure) {
    fetchListing();
    choose(2);
    Answer failure;
    failure.body = R"({"data":{}})";
    simulator_.answerOnce(loginPath, failure);
    microsoft().setFocus();
    press(*window_, Qt::Key_Return);
    EXPECT_TRUE(controller_->working());
    EXPECT_EQ(window_->focusWidget(), &popUp());
    ASSERT_TRUE(runUntil([this] { return !controller_->working(); }));
    EXPECT_EQ(window_->focusWidget(), &microsoft());
}

TEST_F(MainInterfaceTest, DoesNothingOnEnterInTheCustomField) {
    fetchListing();
    chooseCustom();
    field().setText(registrationServer);
    field().setFocus();
    const auto presses = std::make_shared<int>(0);
    for (QPushButton* const button : {&google(), &microsoft(), &cancel()})
        QObject::connect(button, &QPushButton::clicked, window_.get(), [=] { ++*presses; });
    press(*window_, Qt::Key_Return, "\r");
    press(*window_, Qt::Key_Enter, "\r");
    EXPECT_EQ(*presses, 0);
    EXPECT_FALSE(controller_->working());
    EXPECT_EQ(controller_->server(), registrationServer);
    EXPECT_TRUE(window_->isVisible());
}

TEST_F(MainInterfaceTest, EndsTheApplicationByTheCancelButton) {
    EXPECT_TRUE(ends([this] { cancel().click(); }));
}

TEST_F(MainInterfaceTest, EndsTheApplicationByEscape) {
    ASSERT_TRUE(runUntil([this] { return window_->isActiveWindow(); }));
    EXPECT_TRUE(ends([this] { press(*window_, Qt::Key_Escape); }));
}

TEST_F(MainInterfaceTest, EndsTheApplicationWhenTheWindowIsClosed) {
    EXPECT_TRUE(ends([this] { window_->close(); }));
}

TEST_F(MainInterfaceTest, LeadsTheKeyboardThroughTheControlsInTheirOrder) {
    fetchListing();
    chooseCustom();
    field().setText("host.example");
    popUp().setFocus();
    std::vector<QWidget*> order;
    for (int count = 0; count < 6; ++count) {
        order.push_back(window_->focusWidget());
        press(*window_, Qt::Key_Tab);
    }
    EXPECT_THAT(order,
                ElementsAre(&popUp(), &field(), &google(), &microsoft(), &cancel(), &popUp()));
}

TEST_F(MainInterfaceTest, TellsScreenReadersWhatEachControlIs) {
    fetchListing();
    chooseCustom();
    controller_->setWorking(true);
    for (QWidget* const control : std::initializer_list<QWidget*>{
             &popUp(), &field(), &google(), &microsoft(), &cancel(),
             &find<QProgressBar>("progressBar"), &find<QLabel>("statusLabel")}) {
        const QAccessibleInterface* const accessible =
            QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(accessible, nullptr);
        EXPECT_NE(accessible->text(QAccessible::Name), "") << qPrintable(control->objectName());
    }
    for (QWidget* const control :
         std::initializer_list<QWidget*>{&popUp(), &field(), &google(), &microsoft(), &cancel()}) {
        const QAccessibleInterface* const accessible =
            QAccessible::queryAccessibleInterface(control);
        EXPECT_NE(accessible->text(QAccessible::Description), "")
            << qPrintable(control->objectName());
    }
    EXPECT_EQ(find<QLabel>("serverLabel").buddy(), &popUp());
    EXPECT_EQ(find<QLabel>("customServerLabel").buddy(), &field());
}

TEST_F(MainInterfaceTest, IsAWindowToScreenReaders) {
    const QAccessibleInterface* const accessible =
        QAccessible::queryAccessibleInterface(window_.get());
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::Window);
    EXPECT_EQ(accessible->text(QAccessible::Name), "Ardentra Registration");
}

TEST_F(MainInterfaceTest, LeavesOutWhatItIsNotTold) {
    const RegistrationWindow window(controller_, std::nullopt, std::nullopt);
    EXPECT_TRUE(window.findChild<QLabel*>("versionLabel")->isHidden());
    EXPECT_TRUE(window.findChild<QLabel*>("copyrightLabel")->isHidden());
}

TEST_F(MainInterfaceTest, IsAllInTheUsersLanguage) {
    const std::vector<std::string> english = readableTexts(*window_);
    const UserLanguage language("de");
    open();
    const std::vector<std::string> german = readableTexts(*window_);
    ASSERT_EQ(german.size(), english.size());
    // The same in both languages.
    const std::set<std::string> alike = {"server.example.com", "printdriverregistration://…",
                                         "Version 8.114.511.0", "Copyright Somebody"};
    for (std::size_t index = 0; index < german.size(); ++index) {
        if (!alike.contains(english[index])) {
            EXPECT_NE(german[index], english[index]);
        }
    }
    EXPECT_EQ(window_->windowTitle(), "Ardentra-Registrierung");
}

} // namespace
