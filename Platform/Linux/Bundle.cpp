#include "Platform/Bundle.h"

#include "InfoDictionary.h"

#include <libintl.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <memory>
#include <mutex>

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

} // namespace

Bundle::Bundle() : tableDirectory_(findTableDirectory()) {}

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle;
    return bundle;
}

std::string Bundle::localizedStringForKey(const std::string& key, const std::string& value,
                                          const std::optional<std::string>& table) const {
    static std::mutex bindings;
    const std::string domain = table.value_or(defaultTable);
    const std::lock_guard lock(bindings);
    bindtextdomain(domain.c_str(), tableDirectory_.c_str());
    bind_textdomain_codeset(domain.c_str(), "UTF-8");

    const UserLanguage language;
    const char* const translation = dgettext(domain.c_str(), key.c_str());
    if (translation != key.c_str())
        return translation;
    return value.empty() ? key : value;
}

std::optional<std::string> Bundle::infoDictionaryValue(const std::string& key) const {
    const auto* const found =
        std::find_if(infoDictionary.begin(), infoDictionary.end(),
                     [&key](const auto& entry) { return entry.first == key; });
    return found == infoDictionary.end() ? std::nullopt : std::optional<std::string>(found->second);
}

} // namespace platform
