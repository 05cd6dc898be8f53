#include "Platform/Data.h"
#include "Platform/Log.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace platform {

namespace {

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

bool endsALine(std::string_view character) {
    constexpr std::string_view lineSeparator = "\u2028";
    constexpr std::string_view paragraphSeparator = "\u2029";
    return character == lineSeparator || character == paragraphSeparator ||
           holdsControlCharacter(character);
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
        const std::size_t valid = lengthOfFirstCharacter(text);
        const std::size_t length = std::max<std::size_t>(valid, 1);
        const std::string_view character = text.substr(0, length);
        if (valid > 0 && !endsALine(character)) {
            line.append(character);
        } else if (text.front() == '\n') {
            line += "\\n";
        } else {
            for (const char byte : character)
                line += escapedByte(byte);
        }
        text.remove_prefix(length);
    }
    return line;
}

} // namespace

std::string logLine(std::string_view format, std::initializer_list<std::string> arguments) {
    return escape(fill(format, arguments));
}

} // namespace platform
