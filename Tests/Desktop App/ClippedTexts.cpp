#include "ClippedTexts.h"

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QGlyphRun>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QTextLayout>

namespace {

/// What a line edit leaves free on either side of its text.
constexpr int fieldMargin = 2;

class Inspection {
public:
    std::vector<std::string> findings() && { return std::move(findings_); }

    void inspectPlace(const QWidget& widget);
    void inspectTexts(const QWidget& widget);

private:
    void report(const QWidget& widget, const QString& text, const char* finding);
    void inspectLabel(const QLabel& label);
    void inspectButton(const QPushButton& button);
    void inspectField(const QLineEdit& field);
    void inspectPopUp(const QComboBox& popUp);
    void inspectLine(const QWidget& widget, const QString& text, QSize space);
    void inspectCharacters(const QWidget& widget, const QString& text);

    std::vector<std::string> findings_;
};

void Inspection::report(const QWidget& widget, const QString& text, const char* finding) {
    findings_.push_back((widget.objectName() + " \"" + text + "\" " + finding).toStdString());
}

void Inspection::inspectPlace(const QWidget& widget) {
    if (!widget.parentWidget()->rect().contains(widget.geometry()))
        report(widget, {}, "reaches beyond what holds it");
    for (const QObject* const child : widget.parentWidget()->children()) {
        const auto* const other = qobject_cast<const QWidget*>(child);
        const bool isBeside =
            other != nullptr && other != &widget && other->isVisible() && !other->isWindow();
        if (isBeside && other->geometry().intersects(widget.geometry()))
            report(widget, other->objectName(), "is what it lies upon");
    }
}

void Inspection::inspectTexts(const QWidget& widget) {
    if (const auto* const label = qobject_cast<const QLabel*>(&widget))
        inspectLabel(*label);
    else if (const auto* const button = qobject_cast<const QPushButton*>(&widget))
        inspectButton(*button);
    else if (const auto* const field = qobject_cast<const QLineEdit*>(&widget))
        inspectField(*field);
    else if (const auto* const popUp = qobject_cast<const QComboBox*>(&widget))
        inspectPopUp(*popUp);
}

void Inspection::inspectLabel(const QLabel& label) {
    const int margin = label.margin();
    const QRect space = label.contentsRect().adjusted(margin, margin, -margin, -margin);
    const int flags = Qt::TextShowMnemonic | (label.wordWrap() ? Qt::TextWordWrap : 0);
    const QRect bounds(0, 0, space.width(), QWIDGETSIZE_MAX);
    const QSize needed = label.fontMetrics().boundingRect(bounds, flags, label.text()).size();
    if (needed.width() > space.width() || needed.height() > space.height())
        report(label, label.text(), "is cut off");
    inspectCharacters(label, label.text());
}

void Inspection::inspectButton(const QPushButton& button) {
    QStyleOptionButton option;
    option.initFrom(&button);
    const QRect space =
        button.style()->subElementRect(QStyle::SE_PushButtonContents, &option, &button);
    inspectLine(button, button.text(), space.size());
}

void Inspection::inspectField(const QLineEdit& field) {
    QStyleOptionFrame option;
    option.initFrom(&field);
    option.lineWidth = field.style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &field);
    const QRect space =
        field.style()
            ->subElementRect(QStyle::SE_LineEditContents, &option, &field)
            .marginsRemoved(field.textMargins() + QMargins(fieldMargin, 0, fieldMargin, 0));
    inspectLine(field, field.placeholderText(), space.size());
}

void Inspection::inspectPopUp(const QComboBox& popUp) {
    QStyleOptionComboBox option;
    option.initFrom(&popUp);
    const QRect space = popUp.style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                      QStyle::SC_ComboBoxEditField, &popUp);
    inspectLine(popUp, popUp.placeholderText(), space.size());
    for (int index = 0; index < popUp.count(); ++index)
        inspectLine(popUp, popUp.itemText(index), space.size());
}

void Inspection::inspectLine(const QWidget& widget, const QString& text, QSize space) {
    const QSize needed = widget.fontMetrics().size(Qt::TextShowMnemonic, text);
    if (needed.width() > space.width() || needed.height() > space.height())
        report(widget, text, "is cut off");
    inspectCharacters(widget, text);
}

void Inspection::inspectCharacters(const QWidget& widget, const QString& text) {
    QTextLayout layout(text, widget.font());
    layout.beginLayout();
    while (layout.createLine().isValid()) {
    }
    layout.endLayout();
    for (const QGlyphRun& run : layout.glyphRuns()) {
        // The glyph that a font draws for a character that it does not have.
        if (run.glyphIndexes().contains(0))
            report(widget, text, "has a character that no font has");
    }
}

} // namespace

std::vector<std::string> clippedTexts(const QWidget& window) {
    Inspection inspection;
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->window() != &window)
            continue;
        inspection.inspectPlace(*widget);
        inspection.inspectTexts(*widget);
    }
    return std::move(inspection).findings();
}
