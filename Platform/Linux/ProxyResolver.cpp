#include "Platform/ProxyResolver.h"

#include "Platform/DesktopProxies.h"
#include "Platform/Linux/Launcher.h"
#include "Platform/Linux/ProxySettings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <utility>

namespace platform {

namespace {

// What the desktop calls them, and what they are called here.
constexpr std::array<std::pair<std::string_view, std::string_view>, 7> schemes = {
    {{"direct://", "direct://"},
     {"http://", "http://"},
     {"https://", "https://"},
     {"socks://", "socks5h://"},
     {"socks5://", "socks5h://"},
     {"socks4a://", "socks4a://"},
     {"socks4://", "socks4://"}}};

std::optional<std::string> proxyFromDesktop(const std::string& text) {
    const auto* const known = std::ranges::find_if(
        schemes, [&](const auto& scheme) { return text.starts_with(scheme.first); });
    if (known == schemes.end())
        return std::nullopt;
    return std::string(known->second).append(text.substr(known->first.size()));
}

/// Each line is one proxy, and a line without any text is the last: without it something is
/// missing.
std::vector<std::string> proxiesIn(const std::string& output) {
    std::vector<std::string> proxies;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty())
            return proxies;
        if (auto proxy = proxyFromDesktop(line))
            proxies.push_back(std::move(*proxy));
    }
    return {};
}

} // namespace

// The desktop is asked by a program of its own: its libraries cost more than a whole request, their
// state and threads would stay with this process, and nothing but the end of a process ends a
// script that does not.
std::vector<std::string> proxiesOfDesktop(const URL& server, const std::stop_token& stop) {
    // Without a launcher, there were none to ask for when the process was confined.
    if (launcherInUse() == noLauncher)
        return {};
    const ProxySettings settings = proxySettingsInForce();
    if (settings == ProxySettings::none)
        return {};
    const LaunchResult result =
        runProgram({"proxy-settings", std::string(nameOf(settings)), server.absoluteString()},
                   proxyResolverTimeLimit, stop);
    return proxiesIn(result.output);
}

} // namespace platform
