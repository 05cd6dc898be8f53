#pragma once

#include <filesystem>
#include <vector>

namespace platform {

/// Where settings stand, the most important folder first: the user's own, then those for all users
/// (XDG Base Directory Specification). A process without HOME has its user's home folder all the
/// same.
std::vector<std::filesystem::path> configurationFolders();

} // namespace platform
