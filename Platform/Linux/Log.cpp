#include "Platform/Log.h"

#include <syslog.h>
#include <unictype.h>
#include <unistd.h>
#include <unistr.h>

#include <array>
#include <cstdint>
#include <cstdio>

namespace platform {

namespace {

constexpr const char* programName = "ardentra-registration";
constexpr std::string_view placeholder = "%@";

std::string fill(std::string_view format, std::initializer_list<std::string> arguments) {
    std::string text;
    for (const std::string& argument : arguments) {
        const std::size_t at = format.find(placeholder);
        if (at == std::string_view::npos)
            break;
        text.append(format.substr(0, at)).append(argument);
        format.remove_prefix(at + placeholder.size());
    }
    return text.append(format);
}

bool endsALine(ucs4_t character) {
    constexpr ucs4_t lineSeparator = 0x2028;
    constexpr ucs4_t paragraphSeparator = 0x2029;
    return character == lineSeparator || character == paragraphSeparator ||
           uc_is_general_category(character, UC_CONTROL);
}

std::string escapedByte(char byte) {
    std::array<char, 5> text{};
    static_cast<void>(
        std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned char>(byte)));
    return text.data();
}

std::string escape(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        ucs4_t character = 0;
        const int valid =
            u8_mbtoucr(&character, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        const std::size_t length = valid > 0 ? static_cast<std::size_t>(valid) : 1;
        if (valid > 0 && !endsALine(character)) {
            line.append(text.substr(0, length));
        } else if (text.front() == '\n') {
            line += "\\n";
        } else {
            for (const char byte : text.substr(0, length))
                line += escapedByte(byte);
        }
        text.remove_prefix(length);
    }
    return line;
}

void writeToSystemLog(const std::string& line) {
    static const bool opened = (openlog(programName, LOG_PID, LOG_USER), true);
    if (opened)
        syslog(LOG_NOTICE, "%s", line.c_str());
}

void writeToStandardError(const std::string& line) {
    const std::string text = std::string(programName) + ": " + line + '\n';
    // One write, so that lines of several threads or processes do not mix.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

std::string logLine(std::string_view format, std::initializer_list<std::string> arguments) {
    return escape(fill(format, arguments));
}

void NSLog(std::string_view format, std::initializer_list<std::string> arguments) {
    const std::string line = logLine(format, arguments);
    writeToSystemLog(line);
    writeToStandardError(line);
}

} // namespace platform
