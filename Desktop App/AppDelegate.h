#pragma once

#include "Platform/AppleEventManager.h"
#include "Platform/Application.h"
#include "Platform/AtomicReference.h"
#include "Platform/URL.h"
#include "VTRegistrationController.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

/// The application's delegate: shows the registration window, receives the callback URL that the
/// browser opens after sign-in, and completes the registration with it.
///
/// Everything is called on the main thread. Made by the interface, which sets the window controller
/// before launching finishes.
class AppDelegate : public platform::ApplicationDelegate {
public:
    AppDelegate() = default;
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;
    ~AppDelegate() override;

    /// Shows the registration window, or ends the application when didHandleURL() is true.
    void applicationDidFinishLaunching() override;

    /// Registers for get-URL events, until this object goes.
    void applicationWillFinishLaunching() override;

    /// Completes the pending registration with the callback URL that is the event's direct object.
    /// Returns when the token exchange with the server that issued the ephemeral code has been
    /// started; token and user information come in later and are stored, the user is told, and the
    /// application ends. When the exchange fails, which is logged and shown on the window, the
    /// registration stays pending. The code may be absent: the exchange judges that.
    ///
    /// Without a pending registration the URL is not looked at: an alert asks whether to start
    /// again or to quit, and the call returns once that has been answered.
    void handleAppleEvent(const platform::AppleEvent& event,
                          platform::AppleEvent& withReplyEvent) const;

    /// The code that a completed sign-in hands over: the value of the first query item "code" of a
    /// URL of one of the application's schemes and its host. Absent, with a line in the log that
    /// says why, when the URL is none such; an empty value is a code. A second code is logged and
    /// ignored.
    std::optional<std::string>
    codeFromCompletedOAuthRequestURL(const std::optional<platform::URL>& url) const;

    /// Does nothing.
    void applicationWillTerminate() override {}

    /// Brings the registration window back, in front and with the keyboard, whatever is going on.
    void applicationDidBecomeActive() override;

    /// An action of the user interface. Does nothing.
    void openURL(const void*) {}

    /// For the user interface to show. Absent where the program has no such information.
    std::optional<std::string> copyrightString() const;
    std::optional<std::string> versionString() const;

    std::shared_ptr<VTRegistrationController> windowController() const {
        return windowController_.load();
    }
    void setWindowController(std::shared_ptr<VTRegistrationController> windowController) {
        windowController_.store(std::move(windowController));
    }

    /// Whether a URL was dealt with before launching had finished; false unless someone sets it.
    bool didHandleURL() const { return didHandleURL_; }
    void setDidHandleURL(bool didHandleURL) { didHandleURL_ = didHandleURL; }

private:
    platform::AtomicReference<VTRegistrationController> windowController_;
    std::atomic<bool> didHandleURL_ = false;
    bool isRegisteredForEvents_ = false;
};
