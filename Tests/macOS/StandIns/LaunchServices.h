#pragma once

#include <map>
#include <string>

namespace standins {

/// Which application opens URLs of a scheme.
struct SchemeHandlers {
    std::map<std::string, std::string> identifiers; ///< by scheme
    bool canBeChanged = true;                       ///< not so for an application in the sandbox
};

SchemeHandlers& schemeHandlers();

} // namespace standins
