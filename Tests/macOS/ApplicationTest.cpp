// The windowed application's life, on the toolkit's display without a screen: the event by which
// the toolkit hands over what the system opens the application with is posted to it.

#include "Platform/Application.h"

#include "Platform/AppleEventManager.h"
#include "Support/SetVariable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QFileOpenEvent>
#include <QTimer>
#include <algorithm>
#include <csignal>
#include <functional>
#include <string>
#include <vector>

using namespace platform;
using testing::ElementsAre;

namespace {

void postURL(const QString& url) {
    QCoreApplication::postEvent(qApp, new QFileOpenEvent(QUrl(url)));
}

/// Notes what it is told, and does what the test wants then.
class Delegate : public ApplicationDelegate {
public:
    std::vector<std::string> notes;
    std::function<void()> onLaunch = [] {};
    std::function<void(const std::string&)> onURL = [](const std::string&) {};

    void applicationWillFinishLaunching() override {
        notes.emplace_back("will finish launching");
        AppleEventManager::sharedAppleEventManager().setEventHandler(
            [this](const AppleEvent& event, AppleEvent&) {
                const std::string url =
                    event.paramDescriptorForKeyword(keyDirectObject)->stringValue();
                notes.push_back(url);
                onURL(url);
            },
            kInternetEventClass, kAEGetURL);
    }

    void applicationDidFinishLaunching() override {
        notes.emplace_back("did finish launching");
        onLaunch();
    }

    void applicationDidBecomeActive() override { notes.emplace_back("did become active"); }
    void applicationWillTerminate() override { notes.emplace_back("will terminate"); }
};

Delegate* current = nullptr;
std::function<void()> onLoad;

class Interface : public MainInterface {
public:
    ApplicationDelegate& delegate() override { return *current; }
};

class ApplicationLife : public testing::Test {
protected:
    ApplicationLife() {
        current = &delegate;
        onLoad = [] {};
    }
    void TearDown() override {
        AppleEventManager::sharedAppleEventManager().removeEventHandlerForEventClass(
            kInternetEventClass, kAEGetURL);
    }

    int run() {
        std::string name = "Tests";
        std::vector<char*> arguments{name.data(), nullptr};
        return NSApplicationMain(1, arguments.data());
    }

    Delegate delegate;

private:
    SetVariable platform_{"QT_QPA_PLATFORM", "offscreen"};
};

} // namespace

std::unique_ptr<MainInterface> platform::loadMainInterface() {
    onLoad();
    return std::make_unique<Interface>();
}

TEST_F(ApplicationLife, GoesFromLaunchingToTermination) {
    delegate.onLaunch = [] { Application::terminate(); };
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(delegate.notes,
                ElementsAre("will finish launching", "did finish launching", "will terminate"));
}

TEST_F(ApplicationLife, KeepsTheURLThatItIsStartedWithUntilItHasLaunched) {
    onLoad = [] { postURL("zantiq://desktop_registration/path?code=a%20b&x#f"); };
    delegate.onURL = [](const std::string&) { Application::terminate(); };
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(delegate.notes,
                ElementsAre("will finish launching", "did finish launching",
                            "zantiq://desktop_registration/path?code=a%20b&x#f", "will terminate"));
}

TEST_F(ApplicationLife, HandlesOneURLAfterTheOther) {
    delegate.onLaunch = [] {
        postURL("veltora:first");
        postURL("veltora:second");
    };
    delegate.onURL = [this](const std::string& url) {
        if (url == "veltora:second")
            Application::terminate();
        // The first one's handler shows an alert, say, and meanwhile the second one comes.
        QCoreApplication::processEvents();
        delegate.notes.push_back(url + " is handled");
    };
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(delegate.notes,
                ElementsAre("will finish launching", "did finish launching", "veltora:first",
                            "veltora:first is handled", "veltora:second", "will terminate",
                            "veltora:second is handled"));
}

TEST_F(ApplicationLife, DeliversAURLOfItsOwnLikeOneOfTheSystems) {
    bool delivered = false;
    bool deliveredAtTheEnd = true;
    delegate.onLaunch = [&] {
        QTimer::singleShot(0, qApp, [&] {
            delivered = Application::deliverURL("Veltora://Desktop_Registration?code=%zz");
            Application::terminate();
            deliveredAtTheEnd = Application::deliverURL("veltora:late");
        });
    };
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(delivered);
    EXPECT_FALSE(deliveredAtTheEnd);
    EXPECT_THAT(delegate.notes,
                ElementsAre("will finish launching", "did finish launching",
                            "Veltora://Desktop_Registration?code=%zz", "will terminate"));
}

TEST_F(ApplicationLife, SaysThatNothingTookAURL) {
    EXPECT_FALSE(Application::deliverURL("veltora:early"));
    bool delivered = true;
    delegate.onLaunch = [&] {
        AppleEventManager::sharedAppleEventManager().removeEventHandlerForEventClass(
            kInternetEventClass, kAEGetURL);
        QTimer::singleShot(0, qApp, [&] {
            delivered = Application::deliverURL("veltora:url");
            Application::terminate();
        });
    };
    EXPECT_EQ(run(), 0);
    EXPECT_FALSE(delivered);
}

TEST_F(ApplicationLife, EndsWhenASignalAsksForIt) {
    delegate.onLaunch = [] { EXPECT_EQ(std::raise(SIGTERM), 0); };
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(delegate.notes.back(), "will terminate");
}

TEST_F(ApplicationLife, TellsTheDelegateThatItBecameActive) {
    delegate.onLaunch = [] {
        QTimer::singleShot(0, qApp, [] {
            emit qGuiApp->applicationStateChanged(Qt::ApplicationActive);
            emit qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
            Application::terminate();
        });
    };
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(std::count(delegate.notes.begin(), delegate.notes.end(), "did become active"), 1);
}
