#pragma once

#include "Answer.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// One line that says where the script is wrong and how.
class ScriptError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// An answer for one path.
struct ScriptedAnswer {
    std::string path;
    Answer answer;
    bool once = false; ///< for the next request only, instead of for every further one
};

/// What the simulator is to do other than a good service would.
struct Script {
    Certificate certificate = Certificate::Good;
    std::vector<ScriptedAnswer> answers;

    /// Reads a script from JSON (RFC 8259); its form is described in the README. Throws
    /// ScriptError.
    static Script parse(std::string_view json);
};

} // namespace simulator
