#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace platform {

/// Writes one line to the system log, and the same line to standard error behind the program's
/// name. Each "%@" of the format is replaced by the next argument; an argument is never read as a
/// format, and a "%@" without an argument stays as it is.
///
/// One call is one line: control characters, line separators and bytes that are not valid UTF-8
/// are escaped, whether they come from the format or from an argument. Of a line longer than 32 KiB
/// the system log gets the beginning, with "..." behind it.
///
/// May be called on any thread. A log that cannot be written is not reported.
void NSLog(std::string_view format, std::initializer_list<std::string> arguments = {});

/// The line that NSLog writes for these, without the program's name.
std::string logLine(std::string_view format, std::initializer_list<std::string> arguments);

} // namespace platform
