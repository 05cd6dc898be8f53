#pragma once

#include <map>
#include <string>
#include <vector>

namespace standins {

/// What the stand-ins know of the program's bundle.
struct MainBundle {
    std::map<std::string, std::string> information;
    std::map<std::string, std::int32_t> numbers; ///< more information, which is no text

    /// The texts of the user's language, by table and key.
    std::map<std::string, std::map<std::string, std::string>> texts;

    std::vector<std::string> localizations;

    /// In the order in which the user prefers them.
    std::vector<std::string> preferredLocalizations;
};

MainBundle& mainBundle();

} // namespace standins
