#pragma once

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace platform {

/// Runs a program, given by its path and its arguments, to its end, and yields all that it has
/// written to its standard output. Absent when it could not be started, when it did not end within
/// the limit, or when it is asked to stop; it is killed then. Its standard input is empty, and what
/// it writes to standard error goes nowhere. Blocks; for any thread.
std::optional<std::string> outputOfProgram(const std::vector<std::string>& command,
                                           std::chrono::milliseconds limit,
                                           const std::stop_token& stop);

} // namespace platform
