#pragma once

#include "Platform/Security.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct sd_bus;

namespace platform {

class Call;
class PendingCall;
class Reply;
struct Method;

/// How long the session bus and the keyring may take for one answer. Only tests change it.
// NOLINTNEXTLINE(cert-err58-cpp): a constant initialiser throws nothing
inline constinit std::chrono::microseconds secretServiceTimeLimit{10'000'000};

/// Whether the keyring may ask the user; where it would have to and may not, an operation ends with
/// errSecInteractionNotAllowed.
inline bool secretServiceMayAskUser = true;

/// A client of the user's keyring: the freedesktop Secret Service API, on a connection of its own
/// to the session bus. Secrets cross the bus as they are (session algorithm "plain"): whoever can
/// listen to the bus can ask the keyring itself.
///
/// Each operation waits for its answer, at most secretServiceTimeLimit, except where the user is
/// asked: a prompt is waited for until it is completed or the keyring or the bus goes away, and
/// a keyring that asks before it answers (it still answers other calls) for as long as it does. Not
/// for use on several threads at a time.
///
/// Statuses: errSecNotAvailable (no session bus), errSecServiceNotAvailable (nothing on the bus is
/// or can be started as a keyring), errSecIO (keyring or bus went away in the middle),
/// errSecUserCanceled (a prompt was dismissed), errSecInteractionNotAllowed (still locked),
/// errSecItemNotFound (operations on an item that is gone), errSecInternalComponent (any other
/// error of the keyring), kPOSIXErrorBase + ETIMEDOUT (no answer in time) or + any other errno.
class SecretService {
public:
    using Attributes = std::map<std::string, std::string>;
    using ObjectPath = std::string;

    struct Matches {
        std::vector<ObjectPath> unlocked;
        std::vector<ObjectPath> locked;
    };

    /// Connects to the session bus. On success the service is there; otherwise it stays null.
    static OSStatus connect(std::unique_ptr<SecretService>& service);

    /// The items of all collections that have these attributes, maybe among others.
    OSStatus search(const Attributes& attributes, Matches& matches);

    /// Unlocks an item or a collection, asking the user where that is needed.
    OSStatus unlock(const ObjectPath& object);

    OSStatus getSecret(const ObjectPath& item, std::string& secret);

    /// Replaces the item's secret in one step.
    OSStatus setSecret(const ObjectPath& item, const std::string& secret);

    OSStatus deleteItem(const ObjectPath& item);

    /// The unlocked collection that new items go to. It is created, asking the user, where the user
    /// has none, and unlocked, asking the user, where it is locked.
    OSStatus openDefaultCollection(ObjectPath& collection);

    /// Whether there is such a collection and it is unlocked. Asks nobody, and does not start a
    /// keyring that is not running.
    OSStatus isDefaultCollectionUnlocked(bool& unlocked);

    /// Creates the item, or replaces the one of the collection that has exactly these attributes.
    OSStatus createItem(const ObjectPath& collection, const std::string& label,
                        const Attributes& attributes, const std::string& secret);

private:
    struct CloseBus {
        void operator()(sd_bus* bus) const;
    };
    using Bus = std::unique_ptr<sd_bus, CloseBus>;

    explicit SecretService(Bus bus) : bus_(std::move(bus)) {}

    static OSStatus waitUntilReady(sd_bus* bus);
    Call newCall(const Method& method);
    Reply send(const Call& call);
    int waitFor(PendingCall& pending);
    bool isAskingUser();
    OSStatus openSession();
    OSStatus createDefaultCollection(ObjectPath& collection);
    OSStatus askUser(const ObjectPath& prompt, ObjectPath& result);

    Bus bus_;
    std::string owner_;  ///< the keyring's unique name on the bus, once it has answered
    ObjectPath session_; ///< empty until the first secret is sent or asked for
};

} // namespace platform
