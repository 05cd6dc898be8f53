#include "Platform/Bundle.h"

#include "StandIns/Bundle.h"

#include <gtest/gtest.h>

using platform::Bundle;

namespace {

class MainBundle : public testing::Test {
protected:
    MainBundle() { bundle = {}; }

    static std::string lookUp(const std::string& key, const std::string& value = "",
                              const std::optional<std::string>& table = std::nullopt) {
        return Bundle::mainBundle().localizedStringForKey(key, value, table);
    }

    standins::MainBundle& bundle = standins::mainBundle();
};

} // namespace

TEST_F(MainBundle, YieldsTheTranslationOfAKey) {
    bundle.texts["Localizable"]["Server is not responding"] =
        "Der Server antwortet nicht – gr\xc3\xbcn";
    EXPECT_EQ(lookUp("Server is not responding"), "Der Server antwortet nicht – gr\xc3\xbcn");
    EXPECT_EQ(lookUp("Server is not responding", "Other"),
              "Der Server antwortet nicht – gr\xc3\xbcn");
}

TEST_F(MainBundle, YieldsTheKeyOrTheValueWithoutATranslation) {
    EXPECT_EQ(lookUp("Quit"), "Quit");
    EXPECT_EQ(lookUp("Quit", "Other"), "Other");
    EXPECT_EQ(lookUp("not UTF-8: \xff"), "not UTF-8: \xff");
}

TEST_F(MainBundle, LooksInTheTableThatIsNamed) {
    bundle.texts["Another"]["Quit"] = "Beenden";
    EXPECT_EQ(lookUp("Quit"), "Quit");
    EXPECT_EQ(lookUp("Quit", "", "Another"), "Beenden");
}

TEST_F(MainBundle, HasTheTextsOfTheInformationDictionary) {
    bundle.information["CFBundleVersion"] = "8.114.511.0";
    bundle.numbers["LSMinimumVersion"] = 14;
    EXPECT_EQ(Bundle::mainBundle().infoDictionaryValue("CFBundleVersion"), "8.114.511.0");
    EXPECT_EQ(Bundle::mainBundle().infoDictionaryValue("LSMinimumVersion"), std::nullopt);
    EXPECT_EQ(Bundle::mainBundle().infoDictionaryValue("Another"), std::nullopt);
    EXPECT_EQ(Bundle::mainBundle().infoDictionaryValue("\xff"), std::nullopt);
}

TEST_F(MainBundle, NamesTheLanguageOfTheTranslation) {
    EXPECT_EQ(Bundle::mainBundle().preferredLocalization(), std::nullopt);
    bundle.localizations = {"de", "en", "pt-BR"};
    EXPECT_EQ(Bundle::mainBundle().preferredLocalization(), std::nullopt);
    bundle.preferredLocalizations = {"fr", "pt-BR", "en"};
    EXPECT_EQ(Bundle::mainBundle().preferredLocalization(), "pt-BR");
    bundle.preferredLocalizations = {"en", "de"};
    EXPECT_EQ(Bundle::mainBundle().preferredLocalization(), std::nullopt);
}
