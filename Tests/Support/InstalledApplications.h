#pragma once

#include "ChildProcess.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// The applications of a session's user: desktop entries in XDG_DATA_HOME and the choice among them
/// in XDG_CONFIG_HOME. What stands there goes with this object.
class InstalledApplications {
public:
    InstalledApplications() { std::filesystem::create_directories(entries()); }
    InstalledApplications(const InstalledApplications&) = delete;
    InstalledApplications& operator=(const InstalledApplications&) = delete;
    ~InstalledApplications() {
        std::filesystem::remove_all(entries());
        std::filesystem::remove(list());
    }

    /// Installs an application that can open URLs of these schemes.
    void install(const std::string& identifier, const std::vector<std::string>& schemes) const {
        std::ofstream entry(entries() / (identifier + ".desktop"));
        entry << "[Desktop Entry]\nType=Application\nName=A program\nExec=true %u\nMimeType=";
        for (const std::string& scheme : schemes)
            entry << "x-scheme-handler/" << scheme << ';';
        entry << '\n';
        entry.close();
        runProgram({{"update-desktop-database", entries().string()}});
    }

    /// Makes it the user's choice for these schemes.
    void choose(const std::string& identifier, const std::vector<std::string>& schemes) const {
        std::ofstream choices(list(), std::ios::app);
        choices << "[Default Applications]\n";
        for (const std::string& scheme : schemes)
            choices << "x-scheme-handler/" << scheme << '=' << identifier << ".desktop\n";
    }

private:
    static std::filesystem::path entries() {
        return std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "applications";
    }
    static std::filesystem::path list() {
        return std::filesystem::path(std::getenv("XDG_CONFIG_HOME")) / "mimeapps.list";
    }
};
