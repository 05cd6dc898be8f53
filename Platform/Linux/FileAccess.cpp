#include "Platform/Linux/FileAccess.h"

#include "Platform/Linux/Descriptor.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <array>
#include <cstdint>

namespace platform {

namespace {

// What came after the oldest kernel headers that this is compiled with.
constexpr std::uint64_t truncateFile = 1ULL << 14;
constexpr std::uint64_t controlDevice = 1ULL << 15;
constexpr std::uint64_t bindTCP = 1ULL << 0;
constexpr std::uint64_t scopeSignals = 1ULL << 1;

struct RulesetAttributes {
    std::uint64_t handledFiles;
    std::uint64_t handledNetwork;
    std::uint64_t scoped;
};

/// What the versions of the interface, from the first one on, have added.
constexpr std::array<RulesetAttributes, 6> additions = {{
    {LANDLOCK_ACCESS_FS_REFER - 1, 0, 0}, // all that come before it
    {LANDLOCK_ACCESS_FS_REFER, 0, 0},
    {truncateFile, 0, 0},
    {0, bindTCP, 0},
    {controlDevice, 0, 0},
    {0, 0, scopeSignals},
}};

constexpr std::uint64_t reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t writing = reading | LANDLOCK_ACCESS_FS_WRITE_FILE | truncateFile |
                                  LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                  LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR;
constexpr std::uint64_t ofFiles =
    LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | truncateFile;

RulesetAttributes attributesOfVersion(long version) {
    RulesetAttributes attributes{};
    for (const RulesetAttributes& addition : additions) {
        if (version-- <= 0)
            break;
        attributes.handledFiles |= addition.handledFiles;
        attributes.handledNetwork |= addition.handledNetwork;
        attributes.scoped |= addition.scoped;
    }
    return attributes;
}

void allow(int ruleset, const std::string& path, std::uint64_t rights) {
    const Descriptor file(open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat status {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0)
        return;
    if (!S_ISDIR(status.st_mode))
        rights &= ofFiles;
    const landlock_path_beneath_attr rule{rights, file.number()};
    syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

} // namespace

bool confineFileAccess(const FileAccess& access) {
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    const RulesetAttributes attributes = attributesOfVersion(version);
    const Descriptor ruleset(
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    if (version <= 0 || !ruleset.isOpen())
        return false;
    for (const std::string& path : access.readable)
        allow(ruleset.number(), path, reading);
    for (const std::string& path : access.writable)
        allow(ruleset.number(), path, writing & attributes.handledFiles);
    return syscall(SYS_landlock_restrict_self, ruleset.number(), 0) == 0;
}

} // namespace platform
