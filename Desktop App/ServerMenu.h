#pragma once

#include <QAbstractListModel>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QComboBox;

/// An item of a pop-up's menu. It has an identity: two items that say the same are two items.
struct MenuItem {
    std::string title;
    std::optional<std::string> representedObject = {};
    std::optional<std::string> toolTip = {};
    bool isSeparator = false;

    static std::shared_ptr<const MenuItem> separatorItem();
};

/// The menu of a pop-up, on the main thread. It shares its items with whoever else holds them, and
/// lets them go with the pop-up.
///
/// Titles and tool tips come from a server that may send anything. They are shown as plain text on
/// one line, at most 256 characters of it; the items themselves stay as they are.
class ServerMenu : public QAbstractListModel {
public:
    using Item = std::shared_ptr<const MenuItem>;

    /// The pop-up's menu. A pop-up that has none yet gets one, in the place of what it showed.
    static ServerMenu& menuOf(QComboBox& popUp);

    /// The item that the pop-up shows as chosen; null when there is none.
    static Item selectedItem(const QComboBox& popUp);

    void removeAllItems() { setItems({}); }

    /// Puts these items in the place of those that are there, all in one step.
    void setItems(std::vector<Item> items);

    const std::vector<Item>& items() const { return items_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    explicit ServerMenu(QObject* parent) : QAbstractListModel(parent) {}

    std::vector<Item> items_;
};
