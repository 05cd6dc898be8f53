#pragma once

#include "Simulator.h"
#include "StoreOperation.h"
#include "Support/KeyringPrompts.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"

#include <functional>
#include <optional>

/// What an operation of the store takes place in: a session whose keyring holds what the operation
/// expects, the log, a service for the command, and whoever makes trouble.
class KeyringScene {
public:
    /// What is special about a scene.
    struct Form {
        bool hasPrompter = false; ///< and a display: the keyring can ask the user
        PrivateSession::Services services = {};
    };

    KeyringScene(const StoreOperation& operation, const Form& form);

    const StoreOperation& operation() const { return operation_; }
    PrivateSession& session() { return session_; }
    KeyringPrompts& prompts() { return prompts_.value(); }

    // What other programs do to the keyring.

    /// Stores one item more with the attributes of the operation's own, and more that are given.
    void store(const std::string& secret,
               const std::map<std::string, std::string>& more = {}) const;

    void storeCopy(const std::map<std::string, std::string>& more) const;

    /// On the operation's item.
    void setSecret(const std::string& secret) const;
    void deleteItem() const;

    /// On the default keyring.
    void deleteKeyring() const;
    void lockKeyring() { session_.lockKeyring(); }

    /// Ends the keyring, and waits until the bus knows.
    void killKeyring();

    /// Wakes the keyring that was stopped, and waits until it has done what it was asked for.
    void letKeyringGoOn();

    /// Performs the operation while something happens at the first call of a method.
    void performWhen(const std::string& method, const std::function<void()>& before,
                     const std::function<void()>& after, const std::function<void()>& perform);

    /// The lines in the log.
    std::string lines();

    /// Starts the keyring anew, with whatever it kept, and looks at the items of the operation's
    /// service.
    std::string keptItems();

private:
    std::map<std::string, std::string> attributes() const;
    std::string itemsOf(const std::string& creator) const;

    const StoreOperation& operation_;
    std::optional<KeyringPrompts> prompts_;
    PrivateSession session_;
    LogCapture log_;
    simulator::Simulator service_;
};
