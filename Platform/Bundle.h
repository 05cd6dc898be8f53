#pragma once

#include <optional>
#include <string>

namespace platform {

/// The program's resources.
class Bundle {
public:
    static const Bundle& mainBundle();

    /// The translation of the key into the user's language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG).
    /// Without one, the value or, where that is empty, the key itself. The table is absent for the
    /// program's own texts. Always UTF-8. May be called on any thread; changes no locale of the
    /// process.
    std::string localizedStringForKey(const std::string& key, const std::string& value,
                                      const std::optional<std::string>& table) const;

    /// What the program says about itself: "CFBundleIdentifier", "CFBundleName", "CFBundleVersion"
    /// (the version of the build) and "NSHumanReadableCopyright". Absent for any other key.
    std::optional<std::string> infoDictionaryValue(const std::string& key) const;

private:
    Bundle();
    std::string tableDirectory_;
};

} // namespace platform
