#include "Platform/Linux/ConfigurationFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <sstream>
#include <string>

namespace platform {

namespace {

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

std::filesystem::path homeFolder() {
    if (std::string home = environment("HOME"); !home.empty())
        return home;
    passwd user{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    const int error = getpwuid_r(getuid(), &user, texts.data(), texts.size(), &found);
    return error == 0 && found != nullptr ? found->pw_dir : "";
}

std::vector<std::filesystem::path> configurationFolders() {
    const std::string own = environment("XDG_CONFIG_HOME");
    std::vector<std::filesystem::path> folders = {own.empty() ? homeFolder() / ".config"
                                                              : std::filesystem::path(own)};
    std::string shared = environment("XDG_CONFIG_DIRS");
    if (shared.empty())
        shared = "/etc/xdg";
    std::istringstream list(shared);
    for (std::string folder; std::getline(list, folder, ':');)
        folders.emplace_back(folder);
    return folders;
}

} // namespace platform
