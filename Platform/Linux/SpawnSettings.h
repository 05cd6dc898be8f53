#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>

namespace platform {

/// How posix_spawn starts a process that is to have nothing of this one: null for its standard
/// streams, a session of its own, no signal blocked or ignored.
class SpawnSettings {
public:
    SpawnSettings() {
        posix_spawn_file_actions_init(&actions);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                                  POSIX_SPAWN_SETSID);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }

    /// Lets the process have a descriptor of ours, under a number of its own.
    void give(int ours, int its) { posix_spawn_file_actions_adddup2(&actions, ours, its); }

    /// Keeps all descriptors from that number on from the process. To be called last.
    void keepFrom(int number) { posix_spawn_file_actions_addclosefrom_np(&actions, number); }

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

} // namespace platform
