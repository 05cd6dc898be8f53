#include "Platform/Bundle.h"

#include "CoreFoundationObject.h"

namespace platform {

namespace {

/// The language of the keys themselves.
constexpr const char* keyLanguage = "en";

} // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle;
    return bundle;
}

std::string Bundle::localizedStringForKey(const std::string& key, const std::string& value,
                                          const std::optional<std::string>& table) const {
    std::string otherwise = value.empty() ? key : value;
    const Owned<CFStringRef> systemKey = makeString(key);
    const Owned<CFStringRef> systemValue = makeString(otherwise);
    const Owned<CFStringRef> systemTable = table ? makeString(*table) : nullptr;
    if (!systemKey || !systemValue)
        return otherwise;
    // Without a table it is that of the program, "Localizable".
    const Owned<CFStringRef> text(CFBundleCopyLocalizedString(
        CFBundleGetMainBundle(), systemKey.get(), systemValue.get(), systemTable.get()));
    return textOf(text.get()).value_or(otherwise);
}

std::optional<std::string> Bundle::preferredLocalization() const {
    const Owned<CFArrayRef> all(CFBundleCopyBundleLocalizations(CFBundleGetMainBundle()));
    if (!all)
        return std::nullopt;
    const Owned<CFArrayRef> best(CFBundleCopyPreferredLocalizationsFromArray(all.get()));
    if (!best || CFArrayGetCount(best.get()) == 0)
        return std::nullopt;
    auto language = textOf(CFArrayGetValueAtIndex(best.get(), 0));
    return language == keyLanguage ? std::nullopt : language;
}

std::optional<std::string> Bundle::infoDictionaryValue(const std::string& key) const {
    const Owned<CFStringRef> systemKey = makeString(key);
    if (!systemKey)
        return std::nullopt;
    // What this yields stays the bundle's.
    return textOf(CFBundleGetValueForInfoDictionaryKey(CFBundleGetMainBundle(), systemKey.get()));
}

} // namespace platform
