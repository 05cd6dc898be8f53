#pragma once

#include "ChildProcess.h"
#include "SetVariable.h"

#include <optional>
#include <string>
#include <vector>

/// An X display of a test's own with nobody in front of it but the test: what is started while it
/// lives shows its windows there. Throws std::runtime_error when the display does not come up.
class VirtualDisplay {
public:
    VirtualDisplay();

    /// Whether such a window is to be seen: options of "xdotool search".
    bool showsWindow(const std::vector<std::string>& options) const;

    /// Types into the window that has the keyboard: characters, and keys by their X names.
    void typeText(const std::string& text) const;
    void pressKey(const std::string& key) const;

private:
    ChildProcess server_;
    std::optional<SetVariable> display_;
    SetVariable accessibility_;
};
