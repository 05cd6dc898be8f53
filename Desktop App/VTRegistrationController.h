#pragma once

#include "Platform/Error.h"
#include "Platform/KeyValueObserving.h"
#include "Platform/URL.h"
#include "ServerMenu.h"
#include "VTAPI.h"

#include <QComboBox>
#include <QPointer>
#include <QPushButton>
#include <QWidget>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The controller of the registration window: it lists the registration servers in the window's
/// pop-up, tells which server is chosen, and starts the sign-in at that server.
///
/// Its operations belong to the main thread; the accessors of its properties are atomic. Every
/// write of a property through its setter is announced to the observers of the property's name.
///
/// The interface owns window, pop-up and buttons. Where one of them is gone its property is null,
/// and what would address it does nothing. Made by the interface, held in a std::shared_ptr.
class VTRegistrationController : public platform::KeyValueObserving,
                                 public std::enable_shared_from_this<VTRegistrationController> {
public:
    using Servers = std::vector<VTAPI::ServerEntry>;
    using Item = ServerMenu::Item;

    /// To be called once, when the interface is loaded and its outlets are connected: starts
    /// fetching the server listing and returns at once. The controller lives until the answer has
    /// filled the pop-up. A failure and an empty listing are logged and shown on the window; in
    /// both cases the pop-up still offers "Custom...".
    void awakeFromNib();

    /// Rebuilds the pop-up's menu from servers(): the item "Select...", which is chosen then, an
    /// item for each server (its title the server's code, its represented object and tool tip the
    /// server's address), the item "Custom...", with a separator behind the first and before the
    /// last. Announces no change of the selection.
    void updateServerListingMenu();

    /// The action of both provider buttons: asks the chosen server for the URL at which the user
    /// signs in with the sender's provider, and returns at once. The answer's code is stored with
    /// the server that was asked, its URL opened in the browser, and the window put away. A failure
    /// is logged and shown on the window. Any other sender does nothing.
    ///
    /// The chosen server is not looked at, nor whether a request is under way already: the
    /// interface offers the buttons only when a sign-in makes sense.
    void ok(const QObject* sender);

    /// The action of the cancel button: ends the application, whatever is under way.
    void cancel(const QObject* sender);

    // Derived values, worked out anew on each call.

    /// The chosen server: the address of the chosen item or, for "Custom...", the custom text just
    /// as it is. Absent when no server is chosen or no custom text was ever written.
    std::optional<std::string> server() const;

    /// Whether an item is chosen that stands for a server, "Custom..." among them.
    bool isServerSelected() const;

    /// Whether the item "Custom..." is chosen.
    bool isCustom() const;

    /// The keys whose changes announce a change of the derived value, too.
    static std::set<std::string> keyPathsForValuesAffectingServer();
    static std::set<std::string> keyPathsForValuesAffectingIsServerSelected();
    static std::set<std::string> keyPathsForValuesAffectingIsCustom();

    // Properties.

    /// Whether a request to a server is under way.
    bool working() const { return working_; }
    void setWorking(bool working);

    /// The listing that came last; absent before the answer and after a failure.
    std::optional<Servers> servers() const;
    void setServers(std::optional<Servers> servers);

    QComboBox* serverPopUp() const;
    void setServerPopUp(QComboBox* serverPopUp);

    /// The item "Select..."; one that is there already when the menu is rebuilt is used as it is.
    Item selectMenuItem() const;
    void setSelectMenuItem(Item selectMenuItem);

    /// The item "Custom..."; likewise.
    Item customMenuItem() const;
    void setCustomMenuItem(Item customMenuItem);

    /// The text of the field for a custom server, as typed.
    std::optional<std::string> customServerText() const;
    void setCustomServerText(std::optional<std::string> customServerText);

    QPushButton* googleButton() const;
    void setGoogleButton(QPushButton* googleButton);

    QPushButton* microsoftButton() const;
    void setMicrosoftButton(QPushButton* microsoftButton);

    /// Written by the interface whenever the user has chosen an item of the pop-up.
    std::int64_t selectedServerIndex() const { return selectedServerIndex_; }
    void setSelectedServerIndex(std::int64_t selectedServerIndex);

    /// The registration window.
    QWidget* window() const;
    void setWindow(QWidget* window);

protected:
    std::map<std::string, std::set<std::string>>
    keyPathsForValuesAffectingDerivedValues() const override;

private:
    void finishListing(std::optional<Servers> listing, const std::optional<platform::Error>& error);
    void showListingFailure(const platform::Error& error) const;
    void showEmptyListing() const;
    Item selectedItem() const;

    template <typename Value>
    Value read(const Value& property) const;
    template <typename Value>
    void write(Value& property, Value value, const std::string& announcedAs);

    std::atomic<bool> working_ = false;
    std::atomic<std::int64_t> selectedServerIndex_ = 0;

    mutable std::mutex mutex_; // guards the properties below, each for itself
    std::optional<Servers> servers_;
    QPointer<QComboBox> serverPopUp_;
    Item selectMenuItem_;
    Item customMenuItem_;
    std::optional<std::string> customServerText_;
    QPointer<QPushButton> googleButton_;
    QPointer<QPushButton> microsoftButton_;
    QPointer<QWidget> window_;
};
