#pragma once

#include <optional>
#include <string>

namespace platform {

/// The program's resources.
class Bundle {
public:
    static const Bundle& mainBundle();

    /// The translation of the key into the user's language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG; on
    /// macOS the system's settings). Without one, the value or, where that is empty, the key
    /// itself. The table is absent for the program's own texts. Always UTF-8. May be called on any
    /// thread; changes no locale of the process.
    std::string localizedStringForKey(const std::string& key, const std::string& value,
                                      const std::optional<std::string>& table) const;

    /// The language of the translation from which the user's texts come, as the translation itself
    /// names it ("de", "pt_BR"). Absent where there is none and the keys themselves are shown. May
    /// be called on any thread.
    std::optional<std::string> preferredLocalization() const;

    /// What the program says about itself: "CFBundleIdentifier", "CFBundleName", "CFBundleVersion"
    /// (the version of the build) and "NSHumanReadableCopyright". Absent for a key that it does not
    /// know.
    std::optional<std::string> infoDictionaryValue(const std::string& key) const;

private:
    Bundle() = default;
};

} // namespace platform
