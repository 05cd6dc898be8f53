#include "Platform/Alert.h"

#include "Platform/Bundle.h"
#include "Platform/WindowOrdering.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QWindow>
#include <utility>

namespace platform {

namespace {

constexpr const char* sheetName = "sheet";

/// What fits on a small screen together with the buttons.
constexpr qsizetype longestText = 1000;
constexpr int mostLines = 20;

qsizetype endOfLines(const QString& text, int count) {
    qsizetype end = -1;
    do
        end = text.indexOf('\n', end + 1);
    while (end >= 0 && --count > 0);
    return end < 0 ? text.size() : end;
}

/// The text, cut where it would push the buttons off the screen: it may come from a server.
QString shown(const std::string& text) {
    const QString whole = QString::fromUtf8(text);
    const qsizetype end = qMin(endOfLines(whole, mostLines), longestText);
    return end < whole.size() ? whole.left(end) + QChar(0x2026) : whole;
}

/// A title that is not a key to press: an ampersand is part of the text.
QString buttonText(const std::string& title) {
    return QString::fromUtf8(title).replace('&', "&&");
}

QMessageBox::Icon iconFor(AlertStyle style) {
    switch (style) {
    case AlertStyle::Informational:
        return QMessageBox::Information;
    case AlertStyle::Critical:
        return QMessageBox::Critical;
    case AlertStyle::Warning:
        break;
    }
    return QMessageBox::Warning;
}

/// Texts as they are: markup in them is text too.
void setTexts(QMessageBox& box, const std::string& message, const std::string& informative) {
    box.setTextFormat(Qt::PlainText);
    box.setText(shown(message));
    box.setInformativeText(shown(informative));
    for (QLabel* const label : box.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
    box.setAccessibleName(box.text());
    box.setAccessibleDescription(box.informativeText());
}

void addButtons(QMessageBox& box, std::vector<std::string> titles) {
    if (titles.empty())
        titles.push_back(Bundle::mainBundle().localizedStringForKey("OK", "", std::nullopt));
    // The one role that keeps the order in which buttons are added on every desktop.
    QPushButton* last = nullptr;
    for (const std::string& title : titles) {
        last = box.addButton(buttonText(title), QMessageBox::ActionRole);
        if (box.buttons().size() == 1)
            box.setDefaultButton(last);
    }
    box.setEscapeButton(last);
}

ModalResponse responseOf(const QMessageBox& box) {
    const QList<QAbstractButton*> buttons = box.buttons();
    const qsizetype clicked = buttons.indexOf(box.clickedButton());
    return AlertFirstButtonReturn +
           static_cast<ModalResponse>(clicked < 0 ? buttons.size() - 1 : clicked);
}

/// The window that an alert of the whole application belongs to on the screen.
QWindow* frontWindow() {
    for (const QWidget* const widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->windowType() == Qt::Window)
            return widget->windowHandle();
    }
    return nullptr;
}

/// Opens the sheet that is next in the window's order, unless one is open.
void openNextSheet(QWidget* window) {
    const auto sheets = window->findChildren<QMessageBox*>(sheetName, Qt::FindDirectChildrenOnly);
    if (sheets.isEmpty() || sheets.first()->isVisible())
        return;
    if (!window->isVisible())
        makeKeyAndOrderFront(window);
    sheets.first()->open();
}

} // namespace

Alert Alert::alertWithError(const Error& error) {
    Alert alert;
    alert.setMessageText(error.localizedDescription());
    return alert;
}

ModalResponse Alert::runModal() const {
    QMessageBox box;
    fill(box);
    box.winId(); // makes the window, which can then be placed
    box.windowHandle()->setTransientParent(frontWindow());
    box.exec();
    return responseOf(box);
}

void Alert::beginSheetModalForWindow(
    QWidget* window, const std::function<void(ModalResponse)>& completionHandler) const {
    if (window == nullptr)
        return;
    auto* const sheet = new QMessageBox(window);
    sheet->setObjectName(sheetName);
    fill(*sheet);
    sheet->setWindowFlag(Qt::Sheet);
    QObject::connect(sheet, &QDialog::finished, window, [=] {
        sheet->setObjectName({});
        sheet->deleteLater();
        // Later, because the handler may take away the window and the sheet with it.
        QMetaObject::invokeMethod(
            window,
            [=, response = responseOf(*sheet)] {
                openNextSheet(window);
                if (completionHandler)
                    completionHandler(response);
            },
            Qt::QueuedConnection);
    });
    openNextSheet(window);
}

void Alert::fill(QMessageBox& box) const {
    box.setWindowTitle(QGuiApplication::applicationDisplayName());
    box.setIcon(iconFor(style_));
    setTexts(box, messageText_, informativeText_);
    addButtons(box, buttons_);
}

} // namespace platform
