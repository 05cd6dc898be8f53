#include "Platform/Bundle.h"

#include "Support/SetVariable.h"

#include <gtest/gtest.h>

using platform::Bundle;

namespace {

constexpr const char* key = "Server is not responding";

std::string lookUp(const std::string& text, const std::string& value = "") {
    return Bundle::mainBundle().localizedStringForKey(text, value, std::nullopt);
}

} // namespace

TEST(Bundle, YieldsTheKeyWithoutATranslation) {
    const SetVariable language("LANGUAGE", "en");
    EXPECT_EQ(lookUp(key), key);
    EXPECT_EQ(lookUp("A text that nobody translated"), "A text that nobody translated");
}

TEST(Bundle, YieldsTheValueWithoutATranslationWhereThereIsOne) {
    EXPECT_EQ(lookUp("A text that nobody translated", "Other"), "Other");
}

TEST(Bundle, YieldsTheTranslationIntoTheUsersLanguage) {
    const SetVariable language("LANGUAGE", "de");
    EXPECT_EQ(lookUp(key), "Der Server antwortet nicht");
    EXPECT_EQ(lookUp("An error occurred while attempting to contact the server"),
              "Beim Kontaktieren des Servers ist ein Fehler aufgetreten");
}

TEST(Bundle, KnowsNoTranslationInAnotherTable) {
    const SetVariable language("LANGUAGE", "de");
    EXPECT_EQ(Bundle::mainBundle().localizedStringForKey(key, "", "another"), key);
}
