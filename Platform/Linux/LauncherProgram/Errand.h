#pragma once

#include <optional>
#include <string>
#include <vector>

/// What the launcher does on request.
struct Errand {
    /// The program, sought in PATH unless it is a path, and its arguments.
    std::vector<std::string> command;

    /// Whether it goes on by itself, or is waited for and killed when nobody waits any more.
    bool isDetached = false;
};

/// The errand for this command, or absent for whatever is not one of these:
///
///     xdg-open URL                                        detached; a web page only
///     xdg-mime query default TYPE                         the type of a callback's scheme only
///     xdg-mime default com.norvale.tessor.desktop TYPE…   likewise
///     proxy-settings gnome|kde URL                        the program beside the launcher
std::optional<Errand> errandFor(const std::vector<std::string>& command);
