#include "Platform/Linux/ProxySettings.h"

#include "Platform/Linux/ConfigurationFolders.h"
#include "Platform/Linux/Launcher.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace platform {

namespace {

namespace fs = std::filesystem;

// Where databases and defaults of an administrator or a distributor stand.
constexpr std::array administratorFolders = {"/etc/dconf/db", "/etc/glib-2.0/settings"};
constexpr std::array schemaFolders = {"/usr/share/glib-2.0/schemas",
                                      "/usr/local/share/glib-2.0/schemas"};

bool isSet(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

/// Empty when there is none.
std::string contentsOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool mentionsProxies(const fs::path& file) {
    return contentsOf(file).find("proxy") != std::string::npos;
}

bool anyFileMentionsProxies(const fs::path& folder, std::string_view extension) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.native().ends_with(extension) && entry->is_regular_file(error) &&
            mentionsProxies(path))
            return true;
    }
    return false;
}

bool gnomeMayNameAProxy() {
    // Settings from elsewhere, which only the desktop's own libraries find.
    if (isSet("DCONF_PROFILE") || isSet("GSETTINGS_BACKEND"))
        return true;
    const fs::path own = configurationFolders().front();
    return mentionsProxies(own / "dconf/user") ||
           mentionsProxies(own / "glib-2.0/settings/keyfile") ||
           std::ranges::any_of(
               administratorFolders,
               [](const char* folder) { return anyFileMentionsProxies(folder, ""); }) ||
           std::ranges::any_of(schemaFolders, [](const char* folder) {
               return anyFileMentionsProxies(folder, ".gschema.override");
           });
}

/// Whether the file says "ProxyType=" and anything but "0", which means none.
bool namesAKDEProxy(const fs::path& file) {
    constexpr std::string_view key = "ProxyType";
    const std::string contents = contentsOf(file);
    for (std::size_t at = 0; (at = contents.find(key, at)) != std::string::npos;) {
        at = contents.find_first_of("=\n", at);
        const std::size_t value = contents.find_first_not_of("= \t", at);
        if (value != std::string::npos && contents[value] >= '1' && contents[value] <= '4')
            return true;
    }
    return false;
}

bool kdeNamesAProxy() {
    return std::ranges::any_of(configurationFolders(), [](const fs::path& folder) {
        return namesAKDEProxy(folder / "kioslaverc");
    });
}

} // namespace

ProxySettings proxySettingsInForce() {
    const char* const value = std::getenv("XDG_CURRENT_DESKTOP");
    const std::string desktop = value != nullptr ? value : "";
    const bool isKDE = desktop.find("KDE") != std::string::npos;
    // KDE makes the file anew at each change, which a confined process does not see: the launcher's
    // program does.
    if (isKDE && launcherInUse() >= 0)
        return ProxySettings::kde;
    if ((isKDE || desktop.empty()) && kdeNamesAProxy())
        return ProxySettings::kde;
    if (!isKDE && gnomeMayNameAProxy())
        return ProxySettings::gnome;
    return ProxySettings::none;
}

} // namespace platform
