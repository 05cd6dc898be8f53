#include "Platform/Bundle.h"

#include "Support/UserLanguage.h"

#include <gtest/gtest.h>

using platform::Bundle;

namespace {

constexpr const char* key = "Server is not responding";

std::string lookUp(const std::string& text, const std::string& value = "") {
    return Bundle::mainBundle().localizedStringForKey(text, value, std::nullopt);
}

} // namespace

TEST(Bundle, YieldsTheKeyWithoutATranslation) {
    const UserLanguage language("en");
    EXPECT_EQ(lookUp(key), key);
    EXPECT_EQ(lookUp("A text that nobody translated"), "A text that nobody translated");
}

TEST(Bundle, YieldsTheValueWithoutATranslationWhereThereIsOne) {
    EXPECT_EQ(lookUp("A text that nobody translated", "Other"), "Other");
}

TEST(Bundle, YieldsTheTranslationIntoTheUsersLanguage) {
    const UserLanguage language("de");
    EXPECT_EQ(lookUp(key), "Der Server antwortet nicht");
    EXPECT_EQ(lookUp("An error occurred while attempting to contact the server"),
              "Beim Kontaktieren des Servers ist ein Fehler aufgetreten");
}

TEST(Bundle, KnowsNoTranslationInAnotherTable) {
    const UserLanguage language("de");
    EXPECT_EQ(Bundle::mainBundle().localizedStringForKey(key, "", "another"), key);
}

TEST(Bundle, NamesTheLanguageOfTheTranslation) {
    for (const char* const wanted : {"pt_BR", "xx:pt_BR", "pt_BR.UTF-8:de"}) {
        const UserLanguage language(wanted);
        EXPECT_EQ(Bundle::mainBundle().preferredLocalization(), "pt_BR");
    }
}

TEST(Bundle, NamesNoLanguageWithoutATranslation) {
    const UserLanguage language("en");
    EXPECT_EQ(Bundle::mainBundle().preferredLocalization(), std::nullopt);
}
