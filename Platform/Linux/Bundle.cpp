#include "Platform/Bundle.h"

#include "InfoDictionary.h"

#include <libintl.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <memory>
#include <mutex>
#include <sstream>
#include <string_view>

namespace platform {

namespace {

constexpr const char* defaultTable = "ardentra-registration";

struct FreeLocale {
    void operator()(locale_t locale) const { freelocale(locale); }
};
using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale>;

/// The user's language for the calling thread alone, for as long as this lives.
class UserLanguage {
public:
    UserLanguage()
        : locale_(newlocale(LC_MESSAGES_MASK | LC_CTYPE_MASK, "", nullptr)),
          previous_(uselocale(locale_.get())) {}
    UserLanguage(const UserLanguage&) = delete;
    UserLanguage& operator=(const UserLanguage&) = delete;
    ~UserLanguage() { uselocale(previous_); }

private:
    Locale locale_;
    locale_t previous_;
};

/// share/locale beside the folder of the executable, as it is installed and as it is built.
std::string findTableDirectory() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return (executable.parent_path().parent_path() / "share" / "locale").string();
}

std::optional<std::string> translationOf(const std::string& key, const std::string& table) {
    static std::mutex bindings;
    static const std::string tableDirectory = findTableDirectory();
    const std::lock_guard lock(bindings);
    bindtextdomain(table.c_str(), tableDirectory.c_str());
    bind_textdomain_codeset(table.c_str(), "UTF-8");

    const UserLanguage language;
    const char* const translation = dgettext(table.c_str(), key.c_str());
    return translation == key.c_str() ? std::nullopt : std::optional<std::string>(translation);
}

} // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle;
    return bundle;
}

std::string Bundle::localizedStringForKey(const std::string& key, const std::string& value,
                                          const std::optional<std::string>& table) const {
    auto translation = translationOf(key, table.value_or(defaultTable));
    if (translation)
        return *std::move(translation);
    return value.empty() ? key : value;
}

std::optional<std::string> Bundle::preferredLocalization() const {
    // The empty key's translation describes the whole: a line for each thing it says.
    std::istringstream description(translationOf("", defaultTable).value_or(""));
    constexpr std::string_view name = "Language: ";
    for (std::string line; std::getline(description, line);) {
        if (line.starts_with(name))
            return line.substr(name.size());
    }
    return std::nullopt;
}

std::optional<std::string> Bundle::infoDictionaryValue(const std::string& key) const {
    const auto* const found =
        std::find_if(infoDictionary.begin(), infoDictionary.end(),
                     [&key](const auto& entry) { return entry.first == key; });
    return found == infoDictionary.end() ? std::nullopt : std::optional<std::string>(found->second);
}

} // namespace platform
