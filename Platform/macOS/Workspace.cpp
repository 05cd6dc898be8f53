#include "Platform/Log.h"
#include "Platform/WebPage.h"

#include <QDesktopServices>
#include <QUrl>

namespace platform {

bool openWebPage(const URL& url) {
    if (QDesktopServices::openUrl(
            QUrl::fromEncoded(QByteArray::fromStdString(url.absoluteString()))))
        return true;
    NSLog("There is no program to open %@ with.", {url.absoluteString()});
    return false;
}

} // namespace platform
