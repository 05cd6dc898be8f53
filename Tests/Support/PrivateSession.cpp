#include "PrivateSession.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

/// Calls a method on the session bus; the answer as text, or absent when there is none.
std::optional<std::string> callMethod(const std::string& destination, const std::string& path,
                                      const std::string& method,
                                      const std::vector<std::string>& arguments) {
    Program program{
        {"dbus-send", "--session", "--print-reply", "--dest=" + destination, path, method}};
    program.arguments.insert(program.arguments.end(), arguments.begin(), arguments.end());
    const ProgramResult result = runProgram(program);
    return result.exitStatus == 0 ? std::optional(result.standardOutput) : std::nullopt;
}

bool hasOwner(const std::string& name) {
    return callMethod("org.freedesktop.DBus", "/org/freedesktop/DBus",
                      "org.freedesktop.DBus.NameHasOwner", {"string:" + name})
        .value_or("")
        .ends_with("boolean true\n");
}

bool isUnlocked(const std::string& collection) {
    return callMethod("org.freedesktop.secrets", collection, "org.freedesktop.DBus.Properties.Get",
                      {"string:org.freedesktop.Secret.Collection", "string:Locked"})
        .value_or("")
        .ends_with("boolean false\n");
}

} // namespace

PrivateSession::PrivateSession(const Services& services) {
    enterFolder();
    writeConfiguration(services);
    startBus();
}

PrivateSession::PrivateSession(Keyring keyring, const Services& services)
    : PrivateSession(services) {
    startKeyring(keyring);
}

void PrivateSession::enterFolder() {
    constexpr std::array<std::array<const char*, 2>, 6> folders{{{"HOME", "home"},
                                                                 {"XDG_RUNTIME_DIR", "run"},
                                                                 {"XDG_CONFIG_HOME", "config"},
                                                                 {"XDG_DATA_HOME", "data"},
                                                                 {"XDG_CACHE_HOME", "cache"},
                                                                 {"XDG_STATE_HOME", "state"}}};
    for (const auto& [variable, name] : folders) {
        const auto path = folder() / name;
        std::filesystem::create_directory(path);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        variables_.emplace_back(variable, path.string());
    }
    variables_.emplace_back("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder() / "bus").string());
}

void PrivateSession::writeConfiguration(const Services& services) const {
    std::filesystem::create_directory(folder() / "services");
    for (const auto& [name, command] : services)
        std::ofstream(folder() / "services" / (name + ".service"))
            << "[D-BUS Service]\nName=" << name << "\nExec=" << command << '\n';
    std::ofstream(folder() / "bus.conf")
        << "<busconfig><type>session</type><listen>unix:path=" << (folder() / "bus").string()
        << "</listen><auth>EXTERNAL</auth><servicedir>" << (folder() / "services").string()
        << "</servicedir><policy context='default'><allow send_destination='*' eavesdrop='true'/>"
           "<allow eavesdrop='true'/><allow own='*'/></policy>"
           // As the bus of a real session has it.
           "<limit name='max_replies_per_connection'>50000</limit></busconfig>\n";
}

void PrivateSession::startBusAnew() {
    bus_->kill();
    startBus();
}

void PrivateSession::startBus() {
    bus_.emplace(Program{{"dbus-daemon", "--nofork", "--print-address",
                          "--config-file=" + (folder() / "bus.conf").string()}});
    if (!waitUntil(
            [this] { return bus_->standardOutput().ends_with('\n') || !bus_->isRunning(); }) ||
        !bus_->isRunning())
        throw std::runtime_error("No session bus: " + bus_->standardError());
}

void PrivateSession::startKeyring(Keyring keyring) {
    // GNOME Keyring aborts now and then when it is asked for a property, as it is here, while
    // another client leaves.
    constexpr int mostTries = 3;
    for (int tries = 1; !tryToStartKeyring(keyring); ++tries) {
        if (tries == mostTries)
            throw std::runtime_error("No keyring: " + keyring_->standardError());
    }
}

bool PrivateSession::tryToStartKeyring(Keyring keyring) {
    endKeyring();
    const KeyringProgram& program = KeyringProgram::underTest();
    keyring_.emplace(keyring == Keyring::unlocked ? program.unlocked() : program.locked());
    const auto isReady = [&] {
        if (!hasOwner("org.freedesktop.secrets"))
            return false;
        if (keyring == Keyring::unlocked)
            program.unlock();
        return keyring == Keyring::locked || isUnlocked(defaultCollection);
    };
    return waitUntil([&] { return isReady() || !keyring_->isRunning(); }) && keyring_->isRunning();
}

void PrivateSession::endKeyring() {
    if (keyring_) {
        if (keyring_->isRunning() && hasOwner("org.freedesktop.secrets"))
            KeyringProgram::underTest().save();
        keyring_->sendSignal(SIGTERM);
        keyring_->wait();
        keyring_.reset();
    }
    // The name of a keyring that was killed may be its own for a moment longer.
    waitUntil([] { return !hasOwner("org.freedesktop.secrets"); });
}

void PrivateSession::lockKeyring() {
    runProgram({{"secret-tool", "lock", "--collection=login"}});
    if (isUnlocked(defaultCollection))
        throw std::runtime_error("The keyring was not locked");
}
