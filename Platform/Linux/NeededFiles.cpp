#include "Platform/Linux/NeededFiles.h"

#include "Platform/Linux/ConfigurationFolders.h"

#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <sstream>

namespace platform {

namespace {

namespace fs = std::filesystem;

using Paths = std::vector<std::string>;

// Libraries, certificates, what names hosts; each where one distribution or another has it.
constexpr std::initializer_list<const char*> ofEveryProcess = {
    "/usr", "/lib", "/lib32", "/lib64", "/opt", "/nix/store", "/gnu/store", "/app", "/etc",
    "/var/lib/ca-certificates", "/run/systemd/resolve", "/run/NetworkManager", "/run/resolvconf",
    "/run/connman", "/run/netconfig",
    // Links to elsewhere, where they are any.
    "/etc/resolv.conf", "/etc/hosts", "/etc/nsswitch.conf", "/etc/localtime",
    "/sys/devices/system/cpu", "/proc/cpuinfo", "/proc/meminfo", "/proc/stat", "/proc/sys",
    "/dev/random", "/dev/urandom", "/dev/zero"};

// Fonts, themes and what else is shared between applications.
constexpr std::initializer_list<const char*> ofEveryWindow = {"/var/cache/fontconfig",
                                                              "/var/lib/dbus/machine-id",
                                                              "/var/lib/flatpak/exports/share",
                                                              "/var/lib/snapd/desktop",
                                                              "/run/host",
                                                              "/run/opengl-driver",
                                                              "/run/current-system/sw",
                                                              "/proc/filesystems"};

constexpr std::initializer_list<const char*> inHome = {
    ".ICEauthority", ".XCompose",     ".Xauthority", ".Xdefaults", ".fonts",
    ".fonts.conf",   ".fonts.conf.d", ".icons",      ".themes",    ".xkb"};
constexpr std::initializer_list<const char*> inData = {
    "color-schemes", "fonts", "flatpak/exports/share", "icons", "mime", "themes"};
constexpr std::initializer_list<const char*> inConfiguration = {
    "Kvantum",  "QtProject", "QtProject.conf",  "Trolltech.conf", "XCompose",
    "breezerc", "fcitx",     "fcitx5",          "fontconfig",     "gtk-3.0",
    "gtk-4.0",  "ibus",      "kcminputrc",      "kdeglobals",     "kwinrc",
    "lxqt",     "oxygenrc",  "plasma-localerc", "plasmarc",       "qt6ct",
    "xkb"};
// What names proxies, and may be asked for at any time.
constexpr std::initializer_list<const char*> proxySettings = {"dconf", "glib-2.0/settings",
                                                              "kioslaverc"};

// What the user or an administrator has put elsewhere: lists of folders, or a file.
constexpr std::initializer_list<const char*> variablesOfEveryProcess = {
    "SSL_CERT_FILE",   "SSL_CERT_DIR",    "OPENSSL_CONF",
    "OPENSSL_MODULES", "LD_LIBRARY_PATH", "LOCPATH"};
constexpr std::initializer_list<const char*> variablesOfEveryWindow = {
    "XAUTHORITY",
    "ICEAUTHORITY",
    "XDG_DATA_DIRS",
    "QT_PLUGIN_PATH",
    "QT_QPA_PLATFORM_PLUGIN_PATH",
    "FONTCONFIG_FILE",
    "FONTCONFIG_PATH",
    "FONTCONFIG_SYSROOT",
    "XCURSOR_PATH",
    "XKB_CONFIG_ROOT",
    "XLOCALEDIR",
    "XCOMPOSEFILE"};

fs::path folderNamedBy(const char* variable, const fs::path& otherwise) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0' ? fs::path(value) : otherwise;
}

/// Whether the user's home is in it: no list of fonts or themes is a reason to read that.
bool holdsHome(const std::string& path) {
    std::error_code error;
    const std::string home = fs::weakly_canonical(homeFolder(), error).string() + '/';
    const std::string folder = fs::weakly_canonical(path, error).string();
    return home.starts_with(folder.ends_with('/') ? folder : folder + '/');
}

void add(Paths& paths, std::initializer_list<const char*> more) {
    paths.insert(paths.end(), more.begin(), more.end());
}

void add(Paths& paths, const fs::path& folder, std::initializer_list<const char*> names) {
    for (const char* const name : names)
        paths.push_back((folder / name).string());
}

void addNamedBy(Paths& paths, std::initializer_list<const char*> variables) {
    for (const char* const variable : variables) {
        std::istringstream list(folderNamedBy(variable, {}).string());
        for (std::string path; std::getline(list, path, ':');) {
            if (path.starts_with('/') && !holdsHome(path))
                paths.push_back(path);
        }
    }
}

/// The rest of this program.
void addOwn(Paths& paths) {
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    paths.push_back((folder / VT_OWN_MODULES).string());
    paths.push_back((folder.parent_path() / "share/locale").string());
}

void addWindow(FileAccess& access) {
    const fs::path home = homeFolder();
    const fs::path data = folderNamedBy("XDG_DATA_HOME", home / ".local/share");
    add(access.readable, ofEveryWindow);
    add(access.readable, home, inHome);
    add(access.readable, data, inData);
    for (const fs::path& folder : configurationFolders())
        add(access.readable, folder, inConfiguration);
    addNamedBy(access.readable, variablesOfEveryWindow);

    // To be read only: other programs trust what stands there.
    access.readable.push_back(folderNamedBy("XDG_CACHE_HOME", home / ".cache") / "fontconfig");
    // The desktop's settings are read through a file there, which each reader makes.
    if (const fs::path folder = folderNamedBy("XDG_RUNTIME_DIR", {}); !folder.empty()) {
        std::error_code error;
        fs::create_directory(folder / "dconf", error);
        access.writable.push_back(folder / "dconf");
    }
}

} // namespace

FileAccess neededFiles(ProcessUse use) {
    FileAccess access;
    add(access.readable, ofEveryProcess);
    for (const fs::path& folder : configurationFolders())
        add(access.readable, folder, proxySettings);
    addNamedBy(access.readable, variablesOfEveryProcess);
    addOwn(access.readable);
    if (use == ProcessUse::window)
        addWindow(access);
    access.writable.emplace_back("/dev/null");
    return access;
}

} // namespace platform
