#pragma once

#include "Simulator.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The command line cannot be used. One line that says why.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct CommandLine {
    simulator::Simulator::Options options;
    std::optional<std::filesystem::path> authority;
    std::optional<std::filesystem::path> authorityToMake;
    std::optional<std::filesystem::path> script;
    std::vector<std::string> tokens;
    std::vector<std::pair<std::string, std::string>> servers;
    bool wantsHelp = false;
};

/// Throws UsageError.
CommandLine parseCommandLine(int count, char** arguments);

extern const std::string_view helpText;
