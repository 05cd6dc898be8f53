#include "VirtualDisplay.h"

#include <stdexcept>

VirtualDisplay::VirtualDisplay()
    // Without "-noreset" the server starts over whenever its last client leaves, and turns away
    // whoever comes meanwhile.
    : server_({{"Xvfb", "-noreset", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0",
                "800x600x24"}}),
      accessibility_("NO_AT_BRIDGE", "1") {
    if (!waitUntil(
            [this] { return server_.standardOutput().ends_with('\n') || !server_.isRunning(); }) ||
        !server_.isRunning())
        throw std::runtime_error("No display: " + server_.standardError());
    const std::string line = server_.standardOutput();
    display_.emplace("DISPLAY", ":" + line.substr(0, line.find('\n')));
}

bool VirtualDisplay::showsWindow(const std::vector<std::string>& options) const {
    Program search{{"xdotool", "search", "--onlyvisible"}};
    search.arguments.insert(search.arguments.end(), options.begin(), options.end());
    return !runProgram(search).standardOutput.empty();
}

void VirtualDisplay::typeText(const std::string& text) const {
    runProgram({{"xdotool", "type", "--delay", "1", text}});
}

void VirtualDisplay::pressKey(const std::string& key) const {
    runProgram({{"xdotool", "key", key}});
}
