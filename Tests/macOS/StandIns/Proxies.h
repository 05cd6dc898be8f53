#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace standins {

/// One proxy of the settings, or of a script's answer. What is absent is left out.
struct Proxy {
    std::optional<std::string> type = {}; ///< what the constant's name ends in: "None", "HTTPS"
    std::optional<std::string> host = {};
    std::optional<std::int32_t> port = {};
    std::optional<std::string> user = {};
    std::optional<std::string> password = {};
    std::optional<std::string> script = {}; ///< its URL
};

struct ProxySettings {
    bool exist = true;
    std::vector<Proxy> proxies;

    /// What the script answers, after so many turns of the run loop; nothing when it fails.
    std::optional<std::vector<Proxy>> answer;
    int turnsUntilAnswer = 1;
    bool canStartScript = true;

    /// Called at every turn of the run loop.
    std::function<void()> onTurn = [] {};

    /// What was asked for: URLs of servers, then of scripts.
    std::vector<std::string> asked;
};

ProxySettings& proxySettings();

} // namespace standins
