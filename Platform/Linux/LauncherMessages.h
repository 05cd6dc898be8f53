#pragma once

#include <cstddef>

namespace platform::launcher {

// Between a process and its launcher stands a socket of whole messages (SOCK_SEQPACKET). A request
// is one message: each word of the command with a zero byte behind it; and it brings a descriptor,
// the end of another such socket, for the replies. When that is closed, the request is over: a
// program that is waited for is killed. A reply begins with one of these:

inline constexpr char programStarted = 's';
inline constexpr char programWrote = 'w'; ///< followed by what it wrote
inline constexpr char programEnded = 'e'; ///< followed by its exit status, in one byte

/// The descriptor by which the launcher is asked.
inline constexpr int requestDescriptor = 3;

/// A request is refused that is longer.
inline constexpr std::size_t longestRequest = 128UL * 1024;

inline constexpr std::size_t longestReply = 4096;

} // namespace platform::launcher
