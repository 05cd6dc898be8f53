#pragma once

#include <string>
#include <vector>

namespace standins {

/// What was logged since the last call.
std::vector<std::string> takeLogLines();

} // namespace standins
