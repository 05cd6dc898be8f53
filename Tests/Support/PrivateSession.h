#pragma once

#include "ChildProcess.h"
#include "KeyringProgram.h"
#include "SetVariable.h"
#include "TemporaryFolder.h"

#include <list>
#include <map>
#include <optional>
#include <string>

/// A desktop session of a test's own: a home folder, a session bus and, when asked for, a real
/// keyring, that of the keyring program under test. The test's process and the programs it starts
/// are in the session as long as this lives; afterwards they are where they were. One at a time;
/// for the main thread, before others are started. Throws std::runtime_error when a service does
/// not come up.
class PrivateSession {
public:
    /// The names that the bus starts services for, each with the service's command line.
    using Services = std::map<std::string, std::string>;

    enum class Keyring {
        unlocked, ///< with a default keyring, whose password is keyringPassword
        locked    ///< with what an earlier keyring of this session left; at first there is none
    };

    static constexpr const char* keyringPassword = KeyringProgram::password;

    /// The object path of the default keyring.
    static constexpr const char* defaultCollection = "/org/freedesktop/secrets/collection/login";

    explicit PrivateSession(const Services& services = {});
    explicit PrivateSession(Keyring keyring, const Services& services = {});
    PrivateSession(const PrivateSession&) = delete;
    PrivateSession& operator=(const PrivateSession&) = delete;

    const std::filesystem::path& folder() const { return folder_.path(); }
    ChildProcess& bus() { return *bus_; }

    /// Kills the bus, if it runs, and starts it anew with the same address. What was connected to
    /// it is not any more.
    void startBusAnew();

    /// Starts the keyring, or ends it orderly and starts it anew. What it kept before is there
    /// again.
    void startKeyring(Keyring keyring);

    /// The keyring that was started last.
    ChildProcess& keyring() { return *keyring_; }

    /// Locks the default keyring.
    void lockKeyring();

private:
    void enterFolder();
    void startBus();
    bool tryToStartKeyring(Keyring keyring);
    void endKeyring();
    void writeConfiguration(const Services& services) const;

    TemporaryFolder folder_;
    std::list<SetVariable> variables_;
    std::optional<ChildProcess> bus_;
    std::optional<ChildProcess> keyring_;
};
