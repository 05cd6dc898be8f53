#include "LocalizedText.h"

#include "Platform/Bundle.h"

#include <QVariant>
#include <QWidget>

namespace {

/// Looks up a text property of the widget, if it has it.
void localizeProperty(QWidget& widget, const char* name) {
    const QVariant text = widget.property(name);
    if (text.isValid())
        widget.setProperty(name, localized(text.toString()));
}

} // namespace

QString localized(const QString& key) {
    // The empty text is no key: its translation is the catalogue's header.
    if (key.isEmpty())
        return key;
    return QString::fromStdString(
        platform::Bundle::mainBundle().localizedStringForKey(key.toStdString(), "", std::nullopt));
}

void localizeTexts(QWidget& widget) {
    QList<QWidget*> widgets = widget.findChildren<QWidget*>();
    widgets.append(&widget);
    for (QWidget* const each : widgets) {
        for (const char* const property :
             {"text", "windowTitle", "placeholderText", "accessibleName", "accessibleDescription"})
            localizeProperty(*each, property);
    }
}
