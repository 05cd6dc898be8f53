#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

/// Runs a command of the shell; false when it fails.
inline bool runs(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

/// What a command of the shell prints, without the end of the last line.
inline std::string outputOf(const std::string& command) {
    struct Close {
        void operator()(std::FILE* file) const { pclose(file); }
    };
    const std::unique_ptr<std::FILE, Close> output(popen(command.c_str(), "r"));
    std::string text;
    for (int character = 0; output && (character = std::getc(output.get())) != EOF;)
        text += static_cast<char>(character);
    if (text.ends_with('\n'))
        text.pop_back();
    return text;
}
