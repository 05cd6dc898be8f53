#pragma once

#include "ChildProcess.h"

#include <string>
#include <vector>

/// A keyring program as tests start it, on the session bus, in the home folder and with the display
/// of the test's process. Which one it is, the environment variable VT_KEYRING says:
/// "gnome-keyring" (also without it), "keepassxc" or "kwallet".
class KeyringProgram {
public:
    /// What a keyring is unlocked with.
    static constexpr const char* password = "a password";

    /// The one under test. Throws std::runtime_error when there is none of that name.
    static const KeyringProgram& underTest();

    KeyringProgram() = default;
    KeyringProgram(const KeyringProgram&) = delete;
    KeyringProgram& operator=(const KeyringProgram&) = delete;
    virtual ~KeyringProgram() = default;

    /// How to start it with the default keyring, which is made where there is none, or with what
    /// there is. Writes the settings that it will find.
    virtual Program unlocked() const = 0;
    virtual Program locked() const = 0;

    /// For one that cannot be unlocked as it starts: called until the default keyring is unlocked.
    virtual void unlock() const {}

    /// Called before it is ended: for one that would lose its latest changes.
    virtual void save() const {}

    /// What finds the window that asks for the password: options of "xdotool search".
    virtual std::vector<std::string> promptWindow() const = 0;
};
