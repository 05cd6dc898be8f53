#include "Bundle.h"

#include "Objects.h"

#include <algorithm>

struct StandInBundle : standins::Object {
    StandInBundle() : Object(standins::Type::Other) {}
};

namespace standins {

MainBundle& mainBundle() {
    static MainBundle bundle;
    return bundle;
}

namespace {

CFArrayRef makeArray(const std::vector<std::string>& texts) {
    auto array = std::make_unique<StandInArray>();
    for (const std::string& text : texts)
        array->values.push_back(makeString(text));
    return make(std::move(array));
}

const void* constantNumber(std::int32_t value) {
    static std::map<std::int32_t, const void*> numbers;
    const void*& number = numbers[value];
    if (number == nullptr)
        number = make(std::make_unique<StandInNumber>(value), true);
    return number;
}

void expectMainBundle(CFBundleRef bundle) {
    if (bundle != CFBundleGetMainBundle())
        complain("another bundle than the main bundle");
}

} // namespace

} // namespace standins

using namespace standins;

CFBundleRef CFBundleGetMainBundle() {
    static StandInBundle* const bundle = make(std::make_unique<StandInBundle>(), true);
    return bundle;
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key) {
    expectMainBundle(bundle);
    const std::string name = textOf(key);
    if (const auto text = mainBundle().information.find(name);
        text != mainBundle().information.end())
        return constantString(text->second);
    const auto number = mainBundle().numbers.find(name);
    return number == mainBundle().numbers.end() ? nullptr : constantNumber(number->second);
}

CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value,
                                        CFStringRef table) {
    expectMainBundle(bundle);
    const auto& texts = mainBundle().texts[table == nullptr ? "Localizable" : textOf(table)];
    const auto text = texts.find(textOf(key));
    if (text != texts.end())
        return makeString(text->second);
    CFRetain(value == nullptr ? key : value);
    return value == nullptr ? key : value;
}

CFArrayRef CFBundleCopyBundleLocalizations(CFBundleRef bundle) {
    expectMainBundle(bundle);
    return mainBundle().localizations.empty() ? nullptr : makeArray(mainBundle().localizations);
}

CFArrayRef CFBundleCopyPreferredLocalizationsFromArray(CFArrayRef localizations) {
    std::vector<std::string> preferred = mainBundle().preferredLocalizations;
    const auto* const known = objectOf<StandInArray>(localizations);
    std::erase_if(preferred, [&](const std::string& language) {
        return std::none_of(known->values.begin(), known->values.end(), [&](CFTypeRef one) {
            return textOf(static_cast<CFStringRef>(one)) == language;
        });
    });
    return makeArray(preferred);
}
