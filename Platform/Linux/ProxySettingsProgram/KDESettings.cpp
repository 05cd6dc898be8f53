#include "KDESettings.h"

#include "DesktopResolver.h"
#include "Platform/Linux/ConfigurationFolders.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string_view>

namespace {

constexpr std::string_view locked = "[$i]";

std::string trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

class Settings {
public:
    Settings() {
        auto folders = platform::configurationFolders();
        std::ranges::reverse(folders);
        for (const auto& folder : folders)
            read(folder / "kioslaverc");
    }

    std::string value(const std::string& key) const {
        const auto found = values_.find(key);
        return found != values_.end() ? found->second : "";
    }

private:
    void read(const std::filesystem::path& path) {
        std::ifstream file(path);
        std::set<std::string> lockedHere;
        bool inGroup = false;
        bool groupIsLocked = false;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with('[')) {
                inGroup = line.starts_with("[Proxy Settings]");
                groupIsLocked = inGroup && line.find(locked) != std::string::npos;
            } else if (const std::size_t sign = line.find('=');
                       inGroup && sign != std::string::npos) {
                take(line.substr(0, sign), trimmed(line.substr(sign + 1)), groupIsLocked,
                     lockedHere);
            }
        }
        locked_.merge(lockedHere);
    }

    void take(const std::string& keyWithOptions, std::string value, bool groupIsLocked,
              std::set<std::string>& lockedHere) {
        const std::string key = trimmed(keyWithOptions.substr(0, keyWithOptions.find('[')));
        if (locked_.contains(key))
            return;
        if (groupIsLocked || keyWithOptions.find(locked) != std::string::npos)
            lockedHere.insert(key);
        values_[key] = std::move(value);
    }

    std::map<std::string, std::string> values_;
    std::set<std::string> locked_;
};

/// A proxy's port stands behind a blank there, and its scheme may be missing.
std::string asURL(std::string proxy, const std::string& scheme) {
    std::ranges::replace(proxy, ' ', ':');
    return proxy.find("://") == std::string::npos ? scheme + "://" + proxy : proxy;
}

std::vector<std::string> split(std::string list) {
    std::ranges::replace(list, ',', ' ');
    std::vector<std::string> entries;
    for (std::size_t at = 0; (at = list.find_first_not_of(' ', at)) != std::string::npos;) {
        const std::size_t end = std::min(list.find(' ', at), list.size());
        entries.push_back(list.substr(at, end - at));
        at = end;
    }
    return entries;
}

bool isLocalName(const std::string& url) {
    const std::size_t host = url.find("://") + 3;
    return url.substr(host, url.find('/', host) - host).find_first_of(".[") == std::string::npos;
}

std::vector<std::string> manualProxies(const std::string& https, const std::string& socks) {
    std::vector<std::string> proxies;
    if (!https.empty())
        proxies.push_back(asURL(https, "http"));
    if (!socks.empty())
        proxies.push_back(asURL(socks, "socks"));
    if (proxies.empty())
        proxies.emplace_back("direct://");
    return proxies;
}

bool isExcludedByName(const std::vector<std::string>& list, const std::string& url) {
    const bool excludesLocalNames = std::ranges::find(list, "<local>") != list.end();
    return (excludesLocalNames && isLocalName(url)) || isExcluded(list, url);
}

std::string variable(const std::string& name) {
    const char* const value = name.empty() ? nullptr : std::getenv(name.c_str());
    return value != nullptr ? value : "";
}

} // namespace

std::vector<std::string> proxiesOfKDE(const std::string& url) {
    const Settings settings;
    const std::string type = settings.value("ProxyType");
    if (type == "2")
        return proxiesOfScript(settings.value("Proxy Config Script"), url);
    if (type == "3")
        return proxiesOfScript("", url);

    std::string https = settings.value("httpsProxy");
    std::string socks = settings.value("socksProxy");
    std::string exceptions = settings.value("NoProxyFor");
    bool exceptionsAreReversed = settings.value("ReversedException") == "true";
    if (type == "4") {
        // The settings hold names of environment variables.
        https = variable(https);
        socks = variable(socks);
        exceptions = variable(exceptions);
        exceptionsAreReversed = false;
    } else if (type != "1") {
        return {"direct://"};
    }
    if (isExcludedByName(split(exceptions), url) != exceptionsAreReversed)
        return {"direct://"};
    return manualProxies(https, socks);
}
