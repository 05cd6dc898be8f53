#pragma once

#include "ChildProcess.h"
#include "SetVariable.h"

#include <optional>
#include <string>

/// An X display of a test's own with nobody in front of it but the test: what is started while it
/// lives shows its windows there. Throws std::runtime_error when the display does not come up.
class VirtualDisplay {
public:
    VirtualDisplay();

    /// Whether a window of that class is to be seen.
    bool showsWindow(const std::string& windowClass) const;

    /// Types into the window that has the keyboard: characters, and keys by their X names.
    void typeText(const std::string& text) const;
    void pressKey(const std::string& key) const;

private:
    ChildProcess server_;
    std::optional<SetVariable> display_;
    SetVariable accessibility_;
};
