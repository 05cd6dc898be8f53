#include "Platform/Log.h"

#include <syslog.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr const char* programName = "ardentra-registration";

/// As much of the line as the system log takes, which takes nothing of one that is too long for it.
std::string cutForSystemLog(const std::string& line) {
    constexpr std::size_t longestLine = 32768;
    if (line.size() <= longestLine)
        return line;
    std::size_t end = longestLine;
    const auto isInsideACharacter = [&] {
        return (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80U;
    };
    while (end > 0 && isInsideACharacter())
        --end;
    return line.substr(0, end) + "...";
}

void writeToSystemLog(const std::string& line) {
    static const bool opened = (openlog(programName, LOG_PID, LOG_USER), true);
    if (opened)
        syslog(LOG_NOTICE, "%s", cutForSystemLog(line).c_str());
}

void writeToStandardError(const std::string& line) {
    const std::string text = std::string(programName) + ": " + line + '\n';
    // One write, so that lines of several threads or processes do not mix.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

void NSLog(std::string_view format, std::initializer_list<std::string> arguments) {
    const std::string line = logLine(format, arguments);
    writeToSystemLog(line);
    writeToStandardError(line);
}

} // namespace platform
