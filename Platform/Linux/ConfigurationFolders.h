#pragma once

#include <filesystem>
#include <vector>

namespace platform {

/// The user's home folder, also in a process without HOME.
std::filesystem::path homeFolder();

/// Where settings stand, the most important folder first: the user's own, then those for all users
/// (XDG Base Directory Specification).
std::vector<std::filesystem::path> configurationFolders();

} // namespace platform
