#include "Errand.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

namespace {

using Words = std::vector<std::string>;

constexpr std::array<std::string_view, 3> callbackTypes = {
    "x-scheme-handler/zantiq", "x-scheme-handler/veltora",
    "x-scheme-handler/printdriverregistration"};

bool isWebPage(const std::string& url) {
    const bool hasScheme = std::ranges::any_of(
        std::array<std::string_view, 2>{"https://", "http://"}, [&](std::string_view scheme) {
            return strncasecmp(url.c_str(), scheme.data(), scheme.size()) == 0;
        });
    return hasScheme && std::ranges::all_of(url, [](char c) { return c > ' ' && c < 0x7F; });
}

bool isCallbackType(const std::string& type) {
    return std::ranges::find(callbackTypes, type) != callbackTypes.end();
}

bool opensWebPage(const Words& command) {
    return command.size() == 2 && command[0] == "xdg-open" && isWebPage(command[1]);
}

bool asksForHandler(const Words& command) {
    return command.size() == 4 && command[0] == "xdg-mime" && command[1] == "query" &&
           command[2] == "default" && isCallbackType(command[3]);
}

bool setsHandler(const Words& command) {
    constexpr std::ptrdiff_t firstType = 3;
    return command.size() > firstType && command[0] == "xdg-mime" && command[1] == "default" &&
           command[2] == "com.norvale.tessor.desktop" &&
           std::all_of(command.begin() + firstType, command.end(), isCallbackType);
}

bool asksForProxies(const Words& command) {
    return command.size() == 3 && command[0] == "proxy-settings" &&
           (command[1] == "gnome" || command[1] == "kde") && isWebPage(command[2]);
}

std::string besideLauncher(const std::string& program) {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return (executable.parent_path() / program).string();
}

} // namespace

std::optional<Errand> errandFor(const std::vector<std::string>& command) {
    if (opensWebPage(command))
        return Errand{command, true};
    if (asksForHandler(command) || setsHandler(command))
        return Errand{command};
    if (asksForProxies(command))
        return Errand{{besideLauncher(command[0]), command[1], command[2]}};
    return std::nullopt;
}
