#pragma once

namespace platform {

/// To be called first in main. Keeps what this process has in its memory out of core files and,
/// where the system knows the right, from the user's other processes. Processes that this one
/// starts are not concerned.
void protectProcessMemory();

/// Wipes what calls that have returned may have left behind on this thread's stack: 32 KiB below
/// the caller's frame. Libraries put pieces of what they encrypt there.
void wipeUnusedStack();

} // namespace platform
