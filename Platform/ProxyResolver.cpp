#include "Platform/ProxyResolver.h"

#include "Platform/DesktopProxies.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

namespace platform {

namespace {

bool environmentNamesAProxy() {
    constexpr std::array names = {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
    return std::ranges::any_of(names, [](const char* name) {
        const char* const value = std::getenv(name);
        return value != nullptr && *value != '\0';
    });
}

/// "https://HOST:PORT/" of the URL.
std::optional<URL> serverOf(const URL& url) {
    const std::string& text = url.absoluteString();
    const std::size_t begin = text.find("//") + 2;
    std::string authority = text.substr(begin, text.find_first_of("/?#", begin) - begin);
    authority.erase(0, authority.rfind('@') + 1);
    return URL::URLWithString("https://" + authority + '/');
}

} // namespace

std::vector<std::string> proxiesForURL(const URL& url, const std::stop_token& stop) {
    const auto server = serverOf(url);
    if (!server || environmentNamesAProxy())
        return {};
    return proxiesOfDesktop(*server, stop);
}

} // namespace platform
