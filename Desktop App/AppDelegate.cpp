#include "AppDelegate.h"

#include "Platform/Alert.h"
#include "Platform/Bundle.h"
#include "Platform/Dispatch.h"
#include "Platform/Log.h"
#include "Platform/WindowOrdering.h"
#include "VTAPI.h"
#include "VTTokenStore.h"

#include <algorithm>
#include <array>
#include <utility>

using platform::Alert;
using platform::AlertStyle;
using platform::Application;
using platform::Error;
using platform::NSLog;
using platform::URLQueryItem;

namespace {

/// The handlers of the service keep the controller only weakly, and look at it on the main thread
/// alone: its last owner must be the interface, not a thread of the service.
using WeakController = std::weak_ptr<VTRegistrationController>;

std::string localized(const std::string& key) {
    return platform::Bundle::mainBundle().localizedStringForKey(key, "", std::nullopt);
}

void setWorking(const WeakController& controller, bool working) {
    if (const auto present = controller.lock())
        present->setWorking(working);
}

QWidget* windowOf(const WeakController& controller) {
    const auto present = controller.lock();
    return present ? present->window() : nullptr;
}

bool userWantsToQuit() {
    Alert alert;
    alert.setAlertStyle(AlertStyle::Critical);
    alert.setMessageText(localized("The registration process could not be completed"));
    alert.setInformativeText(
        localized("The registration process has been completed or has timed out."));
    alert.addButtonWithTitle(localized("Start again"));
    alert.addButtonWithTitle(localized("Quit"));
    return alert.runModal() == platform::AlertSecondButtonReturn;
}

void tellOfSuccess(QWidget* onWindow) {
    Alert alert;
    alert.setMessageText(localized("The registration process completed successfully"));
    alert.setInformativeText(localized("You can now submit your print jobs."));
    alert.setAlertStyle(AlertStyle::Informational);
    alert.addButtonWithTitle("OK");
    alert.beginSheetModalForWindow(onWindow,
                                   [](platform::ModalResponse) { Application::terminate(); });
}

void finish(const WeakController& controller, const platform::Data& token,
            const std::string& server, const std::optional<std::string>& account) {
    setWorking(controller, false);
    VTTokenStore::setToken(token, server, account);
    VTTokenStore::clearEphemeralCode();
    tellOfSuccess(windowOf(controller));
}

/// Absent, with a line in the log, when the service did not say who the user is: the registration
/// is good without that.
std::optional<std::string> accountFrom(const std::optional<platform::JSONValue>& userInfo,
                                       const std::optional<Error>& error) {
    if (error) {
        NSLog("The user's email address could not be determined: %@", {error->description()});
        return std::nullopt;
    }
    const auto email = userInfo ? userInfo->member("email") : std::nullopt;
    return email ? email->string() : std::nullopt;
}

void obtainUserInfo(const VTAPI& api, const platform::Data& token,
                    const WeakController& controller) {
    api.obtainUserInfoUsingToken(
        token, [token, controller, server = api.server()](const auto& userInfo, const auto& error) {
            platform::dispatchToMain([=, account = accountFrom(userInfo, error)] {
                finish(controller, token, server, account);
            });
        });
}

void continueAfterExchange(const VTAPI& api, const std::optional<std::string>& token,
                           const std::optional<Error>& error, const WeakController& controller) {
    if (!error) {
        obtainUserInfo(api, platform::encodeUTF8(*token), controller);
        return;
    }
    setWorking(controller, false);
    NSLog("An error occurred while attempting to obtain the token: %@", {error->description()});
    Alert::alertWithError(*error).beginSheetModalForWindow(windowOf(controller), nullptr);
}

bool isCallbackScheme(const std::optional<std::string>& scheme) {
    constexpr std::array<const char*, 3> schemes = {"zantiq", "veltora", "printdriverregistration"};
    return std::any_of(schemes.begin(), schemes.end(),
                       [&scheme](const char* accepted) { return scheme == accepted; });
}

/// The value of the first item named "code" that has one.
std::optional<std::string> firstCode(const std::vector<URLQueryItem>& items,
                                     const std::string& urlForLog) {
    std::optional<std::string> code;
    for (const URLQueryItem& item : items) {
        if (item.name != "code" || !item.value)
            continue;
        if (code) {
            NSLog("The supplied URL contains more than one code, only the first code will be used: "
                  "%@",
                  {urlForLog});
            break;
        }
        code = item.value;
    }
    return code;
}

} // namespace

AppDelegate::~AppDelegate() {
    if (isRegisteredForEvents_)
        platform::AppleEventManager::sharedAppleEventManager().removeEventHandlerForEventClass(
            platform::kInternetEventClass, platform::kAEGetURL);
}

void AppDelegate::applicationDidFinishLaunching() {
    if (didHandleURL())
        Application::terminate();
    else
        platform::makeKeyAndOrderFront(windowController()->window());
}

void AppDelegate::applicationWillFinishLaunching() {
    platform::AppleEventManager::sharedAppleEventManager().setEventHandler(
        [this](const platform::AppleEvent& event, platform::AppleEvent& reply) {
            handleAppleEvent(event, reply);
        },
        platform::kInternetEventClass, platform::kAEGetURL);
    isRegisteredForEvents_ = true;
}

void AppDelegate::handleAppleEvent(const platform::AppleEvent& event, platform::AppleEvent&) const {
    std::optional<std::string> ephemeralCode;
    std::optional<std::string> server;
    if (!VTTokenStore::getEphemeralCode(ephemeralCode, server)) {
        if (userWantsToQuit())
            Application::terminate();
        else
            platform::orderFront(windowController()->window());
        return;
    }
    const auto text = event.paramDescriptorForKeyword(platform::keyDirectObject);
    const auto url = text ? platform::URL::URLWithString(text->stringValue()) : std::nullopt;
    const std::optional<std::string> callbackCode = codeFromCompletedOAuthRequestURL(url);

    const std::shared_ptr<VTRegistrationController> controller = windowController();
    controller->setWorking(true);
    const VTAPI api = VTAPI::APIWithServer(server.value_or(""));
    api.attemptTokenExchangeWithCode1(
        ephemeralCode, callbackCode,
        [api, controller = WeakController(controller)](const auto& token, const auto& error) {
            platform::dispatchToMain([=] { continueAfterExchange(api, token, error, controller); });
        });
}

std::optional<std::string>
AppDelegate::codeFromCompletedOAuthRequestURL(const std::optional<platform::URL>& url) const {
    const auto components =
        url ? platform::URLComponents::componentsWithURL(*url) : platform::URLComponents();
    const std::string urlForLog = url ? url->absoluteString() : "(null)";
    if (!isCallbackScheme(components.scheme())) {
        NSLog("The supplied URL is not valid because the scheme is unknown: %@", {urlForLog});
        return std::nullopt;
    }
    if (components.host() != "desktop_registration") {
        NSLog("The supplied URL is not valid because it is missing a required component: %@",
              {urlForLog});
        return std::nullopt;
    }
    auto code = firstCode(components.queryItems().value_or(std::vector<URLQueryItem>()), urlForLog);
    if (!code)
        NSLog("The supplied URL did not contain a valid code: %@", {urlForLog});
    return code;
}

void AppDelegate::applicationDidBecomeActive() {
    platform::makeKeyAndOrderFront(windowController()->window());
}

std::optional<std::string> AppDelegate::copyrightString() const {
    return platform::Bundle::mainBundle().infoDictionaryValue("NSHumanReadableCopyright");
}

std::optional<std::string> AppDelegate::versionString() const {
    return platform::Bundle::mainBundle().infoDictionaryValue("CFBundleVersion");
}
