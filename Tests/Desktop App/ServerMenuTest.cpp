#include "ServerMenu.h"

#include "WindowTest.h"

#include <gmock/gmock.h>

#include <QComboBox>

namespace {

/// What a pop-up shows for an item with that title or tool tip.
std::string shown(const std::string& text, int role = Qt::DisplayRole) {
    QComboBox popUp;
    ServerMenu::menuOf(popUp).setItems(
        {std::make_shared<MenuItem>(MenuItem{.title = text, .toolTip = text})});
    return popUp.itemData(0, role).toString().toStdString();
}

} // namespace

TEST(ServerMenu, ShowsATitleAsItIs) {
    for (const char* const title : {"Ardentra Europe", "R&D", "<b>bold</b>", "Ünïcödé 東京", ""})
        EXPECT_EQ(shown(title), title);
}

TEST(ServerMenu, ShowsATitleOnOneLine) {
    EXPECT_EQ(shown("a\nb\r\tc\xe2\x80\xa8"
                    "d"),
              "a\uFFFDb\uFFFD\uFFFDc\uFFFDd");
}

TEST(ServerMenu, ShowsATitleInTheOrderInWhichItWasWritten) {
    EXPECT_EQ(shown("a\u202Eb\u202C\u2066c\u2069"), "a\uFFFDb\uFFFD\uFFFDc\uFFFD");
}

TEST(ServerMenu, ShowsTheStartOfAVeryLongTitle) {
    EXPECT_EQ(shown(std::string(256, 'W')), std::string(256, 'W'));
    EXPECT_EQ(shown(std::string(1'000'000, 'W')), std::string(255, 'W') + "…");
    std::string faces;
    for (int count = 0; count < 300; ++count)
        faces += "😀";
    EXPECT_EQ(shown(faces).size(), std::size_t{127} * 4 + std::string("…").size());
}

TEST(ServerMenu, ShowsAToolTipThatLooksLikeMarkupAsText) {
    EXPECT_EQ(shown("a.example:8443", Qt::ToolTipRole), "a.example:8443");
    EXPECT_EQ(shown("<img src=x>", Qt::ToolTipRole), "<span>&lt;img src=x&gt;</span>");
}

TEST(ServerMenu, KeepsTheItemsAsTheyAre) {
    QComboBox popUp;
    const auto item = std::make_shared<MenuItem>(MenuItem{.title = "a\nb"});
    ServerMenu::menuOf(popUp).setItems({item});
    EXPECT_EQ(ServerMenu::selectedItem(popUp), item);
    EXPECT_EQ(item->title, "a\nb");
}

TEST(ServerMenu, LetsNoSeparatorBeChosen) {
    QComboBox popUp;
    ServerMenu& menu = ServerMenu::menuOf(popUp);
    menu.setItems({MenuItem::separatorItem(), std::make_shared<MenuItem>(MenuItem{.title = "a"})});
    EXPECT_EQ(popUp.currentIndex(), 1);
    EXPECT_EQ(menu.flags(menu.index(0)), Qt::NoItemFlags);
    EXPECT_EQ(popUp.itemData(0, Qt::AccessibleDescriptionRole).toString(), "separator");
}

TEST(ServerMenu, TakesThePlaceOfAnotherMenuOnce) {
    QComboBox popUp;
    popUp.addItem("old");
    EXPECT_EQ(ServerMenu::selectedItem(popUp), nullptr);
    ServerMenu& menu = ServerMenu::menuOf(popUp);
    EXPECT_EQ(popUp.count(), 0);
    EXPECT_EQ(&ServerMenu::menuOf(popUp), &menu);
    EXPECT_EQ(ServerMenu::selectedItem(popUp), nullptr);
}
