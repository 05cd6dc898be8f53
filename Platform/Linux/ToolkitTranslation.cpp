#include "ToolkitTranslation.h"

#include "Platform/Bundle.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace platform {

void translateToolkit(QCoreApplication& application) {
    // Not the language of the locale: menus in one language beside texts in another help nobody.
    const auto language = Bundle::mainBundle().preferredLocalization();
    if (!language)
        return;
    auto* const translator = new QTranslator(&application);
    if (translator->load("qtbase_" + QString::fromStdString(*language),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
}

} // namespace platform
