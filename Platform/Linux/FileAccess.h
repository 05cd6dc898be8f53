#pragma once

#include <string>
#include <vector>

namespace platform {

/// Paths of files, and of folders with all that is in them. One that does not exist is passed over;
/// a symbolic link stands for what it leads to.
struct FileAccess {
    std::vector<std::string> readable;
    std::vector<std::string> writable; ///< and readable
};

/// From now on the calling thread, and those that it starts, may open these files only, whatever
/// its user may; run no file as a program; bind no TCP socket; and signal no process but its own
/// (Landlock; what a kernel does not know of this yet stays as it was). Files that are open stay
/// so. False, and nothing is changed, when the kernel knows none of it. Needs no privileges, but
/// that the thread can gain none (PR_SET_NO_NEW_PRIVS).
bool confineFileAccess(const FileAccess& access);

} // namespace platform
