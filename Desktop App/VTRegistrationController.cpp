#include "VTRegistrationController.h"

#include "Platform/Alert.h"
#include "Platform/Application.h"
#include "Platform/Bundle.h"
#include "Platform/Dispatch.h"
#include "Platform/Log.h"
#include "Platform/WindowOrdering.h"
#include "Platform/Workspace.h"
#include "VTTokenStore.h"

#include <utility>

using platform::Alert;
using platform::Error;
using platform::NSLog;
using platform::URL;

namespace {

constexpr const char* directoryServer = VT_DIRECTORY_SERVER;

std::string localized(const std::string& key) {
    return platform::Bundle::mainBundle().localizedStringForKey(key, "", std::nullopt);
}

std::shared_ptr<const MenuItem> itemForServer(const VTAPI::ServerEntry& entry) {
    const auto valueOf = [&entry](const char* key) {
        const auto found = entry.find(key);
        return found == entry.end() ? std::nullopt : std::optional(found->second);
    };
    const std::optional<std::string> address = valueOf(VTAPIRegistrationServerAddressKey);
    return std::make_shared<MenuItem>(
        MenuItem{.title = valueOf(VTAPIRegistrationServerCodeKey).value_or(""),
                 .representedObject = address,
                 .toolTip = address});
}

void showSheet(const Alert& alert, QWidget* onWindow, std::function<void()> whenDismissed) {
    if (onWindow == nullptr)
        return;
    alert.beginSheetModalForWindow(
        onWindow, [dismissed = std::move(whenDismissed)](platform::ModalResponse) { dismissed(); });
}

void logDismissal() {
    NSLog("Dialog dismissed");
}

/// The answer to a request for a login URL, on its way from the service's thread to the main one.
struct LoginAnswer {
    VTAPI api;
    std::optional<std::string> code;
    std::optional<URL> url;
    std::optional<Error> error;
};

void finishLogin(const std::weak_ptr<VTRegistrationController>& controller,
                 const LoginAnswer& answer) {
    if (const auto present = controller.lock())
        present->setWorking(false);
    if (answer.error) {
        NSLog("An error occurred while obtaining the login URL: %@", {answer.error->description()});
        if (const auto present = controller.lock())
            showSheet(Alert::alertWithError(*answer.error), present->window(), [] {});
        return;
    }
    VTTokenStore::setEphemeralCode(*answer.code, answer.api.server());
    platform::Workspace::sharedWorkspace().openURL(*answer.url);
    if (const auto present = controller.lock())
        platform::orderOut(present->window());
}

} // namespace

void VTRegistrationController::awakeFromNib() {
    setWorking(true);
    VTAPI::APIWithServer(directoryServer)
        .obtainServerListingWithCompletionHandler(
            [controller = shared_from_this()](std::optional<Servers> listing,
                                              std::optional<Error> error) {
                platform::dispatchToMain(
                    [controller, listing = std::move(listing), error = std::move(error)]() mutable {
                        controller->finishListing(std::move(listing), error);
                    });
            });
}

void VTRegistrationController::finishListing(std::optional<Servers> listing,
                                             const std::optional<Error>& error) {
    if (error)
        showListingFailure(*error);
    else if (!listing || listing->empty())
        showEmptyListing();
    setServers(std::move(listing));
    updateServerListingMenu();
    setWorking(false);
}

void VTRegistrationController::showListingFailure(const Error& error) const {
    NSLog("An error occurred while obtaining the server listing: %@", {error.description()});
    showSheet(Alert::alertWithError(error), window(), logDismissal);
}

void VTRegistrationController::showEmptyListing() const {
    NSLog("The server responded with an empty listing");
    Alert alert;
    alert.setMessageText(localized("Registration is unavailable"));
    alert.setInformativeText(
        localized("Registration could not be completed at this time, please try again."));
    alert.addButtonWithTitle(localized("Cancel"));
    showSheet(alert, window(), logDismissal);
}

void VTRegistrationController::updateServerListingMenu() {
    QComboBox* const popUp = serverPopUp();
    if (popUp == nullptr)
        return;
    if (!selectMenuItem())
        setSelectMenuItem(std::make_shared<MenuItem>(MenuItem{.title = localized("Select...")}));
    if (!customMenuItem())
        setCustomMenuItem(std::make_shared<MenuItem>(MenuItem{.title = localized("Custom...")}));

    std::vector<Item> items = {selectMenuItem(), MenuItem::separatorItem()};
    for (const VTAPI::ServerEntry& entry : servers().value_or(Servers()))
        items.push_back(itemForServer(entry));
    items.push_back(MenuItem::separatorItem());
    items.push_back(customMenuItem());
    ServerMenu::menuOf(*popUp).setItems(std::move(items));
    // A pop-up with a placeholder text chooses nothing on its own.
    popUp->setCurrentIndex(0);
}

void VTRegistrationController::ok(const QObject* sender) {
    std::string provider;
    if (sender != nullptr && sender == googleButton())
        provider = "google";
    else if (sender != nullptr && sender == microsoftButton())
        provider = "microsoft";
    else
        return;
    const VTAPI api = VTAPI::APIWithServer(server().value_or(""));
    setWorking(true);
    api.requestLoginURLDataForProvider(
        provider,
        [controller = weak_from_this(), api](std::optional<std::string> code,
                                             std::optional<URL> url, std::optional<Error> error) {
            LoginAnswer answer{api, std::move(code), std::move(url), std::move(error)};
            platform::dispatchToMain(
                [controller, answer = std::move(answer)] { finishLogin(controller, answer); });
        });
}

void VTRegistrationController::cancel(const QObject*) {
    platform::Application::terminate();
}

std::optional<std::string> VTRegistrationController::server() const {
    if (isCustom())
        return customServerText();
    const Item selected = selectedItem();
    return selected ? selected->representedObject : std::nullopt;
}

bool VTRegistrationController::isServerSelected() const {
    const Item selected = selectedItem();
    return (selected && selected->representedObject) || isCustom();
}

bool VTRegistrationController::isCustom() const {
    const Item custom = customMenuItem();
    return custom && selectedItem() == custom;
}

std::set<std::string> VTRegistrationController::keyPathsForValuesAffectingServer() {
    return {"selectedServerIndex"};
}

std::set<std::string> VTRegistrationController::keyPathsForValuesAffectingIsServerSelected() {
    // Nothing announces the first of these; it stays without effect.
    return {"serverMenuItem", "selectedServerIndex"};
}

std::set<std::string> VTRegistrationController::keyPathsForValuesAffectingIsCustom() {
    return {"customMenuItem", "selectedServerIndex"};
}

std::map<std::string, std::set<std::string>>
VTRegistrationController::keyPathsForValuesAffectingDerivedValues() const {
    return {{"server", keyPathsForValuesAffectingServer()},
            {"isServerSelected", keyPathsForValuesAffectingIsServerSelected()},
            {"isCustom", keyPathsForValuesAffectingIsCustom()}};
}

ServerMenu::Item VTRegistrationController::selectedItem() const {
    const QComboBox* const popUp = serverPopUp();
    return popUp == nullptr ? nullptr : ServerMenu::selectedItem(*popUp);
}

template <typename Value>
Value VTRegistrationController::read(const Value& property) const {
    const std::lock_guard lock(mutex_);
    return property;
}

template <typename Value>
void VTRegistrationController::write(Value& property, Value value, const std::string& announcedAs) {
    {
        const std::lock_guard lock(mutex_);
        std::swap(property, value);
    }
    didChangeValueForKey(announcedAs);
}

void VTRegistrationController::setWorking(bool working) {
    working_ = working;
    didChangeValueForKey("working");
}

std::optional<VTRegistrationController::Servers> VTRegistrationController::servers() const {
    return read(servers_);
}

void VTRegistrationController::setServers(std::optional<Servers> servers) {
    write(servers_, std::move(servers), "servers");
}

QComboBox* VTRegistrationController::serverPopUp() const {
    return read(serverPopUp_);
}

void VTRegistrationController::setServerPopUp(QComboBox* serverPopUp) {
    write(serverPopUp_, QPointer(serverPopUp), "serverPopUp");
}

VTRegistrationController::Item VTRegistrationController::selectMenuItem() const {
    return read(selectMenuItem_);
}

void VTRegistrationController::setSelectMenuItem(Item selectMenuItem) {
    write(selectMenuItem_, std::move(selectMenuItem), "selectMenuItem");
}

VTRegistrationController::Item VTRegistrationController::customMenuItem() const {
    return read(customMenuItem_);
}

void VTRegistrationController::setCustomMenuItem(Item customMenuItem) {
    write(customMenuItem_, std::move(customMenuItem), "customMenuItem");
}

std::optional<std::string> VTRegistrationController::customServerText() const {
    return read(customServerText_);
}

void VTRegistrationController::setCustomServerText(std::optional<std::string> customServerText) {
    write(customServerText_, std::move(customServerText), "customServerText");
}

QPushButton* VTRegistrationController::googleButton() const {
    return read(googleButton_);
}

void VTRegistrationController::setGoogleButton(QPushButton* googleButton) {
    write(googleButton_, QPointer(googleButton), "googleButton");
}

QPushButton* VTRegistrationController::microsoftButton() const {
    return read(microsoftButton_);
}

void VTRegistrationController::setMicrosoftButton(QPushButton* microsoftButton) {
    write(microsoftButton_, QPointer(microsoftButton), "microsoftButton");
}

void VTRegistrationController::setSelectedServerIndex(std::int64_t selectedServerIndex) {
    selectedServerIndex_ = selectedServerIndex;
    didChangeValueForKey("selectedServerIndex");
}

QWidget* VTRegistrationController::window() const {
    return read(window_);
}

void VTRegistrationController::setWindow(QWidget* window) {
    write(window_, QPointer(window), "window");
}
