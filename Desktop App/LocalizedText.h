#pragma once

#include <QString>

class QWidget;

/// The text in the user's language; the empty text stays empty.
QString localized(const QString& key);

/// Puts all texts of the widget and of what is in it, as the interface file has them, into the
/// user's language.
void localizeTexts(QWidget& widget);
