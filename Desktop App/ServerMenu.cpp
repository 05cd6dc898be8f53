#include "ServerMenu.h"

#include <QComboBox>
#include <QString>
#include <QTextDocument>
#include <algorithm>
#include <string_view>
#include <utility>

namespace {

constexpr qsizetype longestText = 256;

/// Whether the character orders what stands around it: it could make one name look like another.
bool changesDirection(QChar character) {
    switch (character.direction()) {
    case QChar::DirLRE:
    case QChar::DirRLE:
    case QChar::DirLRO:
    case QChar::DirRLO:
    case QChar::DirPDF:
    case QChar::DirLRI:
    case QChar::DirRLI:
    case QChar::DirFSI:
    case QChar::DirPDI:
        return true;
    default:
        return false;
    }
}

bool isHarmless(QChar character) {
    const QChar::Category category = character.category();
    return category != QChar::Other_Control && category != QChar::Separator_Line &&
           category != QChar::Separator_Paragraph && !changesDirection(character);
}

/// The text as it is shown: one line, of bounded length, in the order in which it was written.
QString displayText(std::string_view text) {
    // Four bytes are the longest encoding of a character.
    QString shown = QString::fromUtf8(
        text.data(), std::min(static_cast<qsizetype>(text.size()), 4 * (longestText + 1)));
    if (shown.size() > longestText) {
        shown.truncate(longestText - 1);
        if (shown.back().isHighSurrogate())
            shown.chop(1);
        shown.append(QChar(0x2026)); // horizontal ellipsis
    }
    for (QChar& character : shown) {
        if (!isHarmless(character))
            character = QChar::ReplacementCharacter;
    }
    return shown;
}

/// A tool tip that looks like markup would be read as markup.
QString displayToolTip(std::string_view text) {
    const QString shown = displayText(text);
    return Qt::mightBeRichText(shown) ? "<span>" + shown.toHtmlEscaped() + "</span>" : shown;
}

} // namespace

std::shared_ptr<const MenuItem> MenuItem::separatorItem() {
    return std::make_shared<MenuItem>(MenuItem{.title = {}, .isSeparator = true});
}

ServerMenu& ServerMenu::menuOf(QComboBox& popUp) {
    auto* menu = dynamic_cast<ServerMenu*>(popUp.model());
    if (menu == nullptr) {
        menu = new ServerMenu(&popUp);
        popUp.setModel(menu);
    }
    return *menu;
}

ServerMenu::Item ServerMenu::selectedItem(const QComboBox& popUp) {
    const auto* const menu = dynamic_cast<const ServerMenu*>(popUp.model());
    const int row = popUp.currentIndex();
    if (menu == nullptr || row < 0)
        return nullptr;
    return menu->items_.at(static_cast<std::size_t>(row));
}

void ServerMenu::setItems(std::vector<Item> items) {
    beginResetModel();
    items_ = std::move(items);
    endResetModel();
}

int ServerMenu::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant ServerMenu::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const MenuItem& item = *items_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return item.isSeparator ? QVariant() : displayText(item.title);
    case Qt::ToolTipRole:
        return item.toolTip ? displayToolTip(*item.toolTip) : QVariant();
    case Qt::AccessibleDescriptionRole:
        // By this the pop-up knows a separator.
        return item.isSeparator ? QVariant(QStringLiteral("separator")) : QVariant();
    default:
        return {};
    }
}

Qt::ItemFlags ServerMenu::flags(const QModelIndex& index) const {
    const bool isItem = checkIndex(index, CheckIndexOption::IndexIsValid) &&
                        !items_[static_cast<std::size_t>(index.row())]->isSeparator;
    return isItem ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren
                  : Qt::ItemFlags(Qt::NoItemFlags);
}
