// The arguments of a call from the session bus, or of a second process: URLs, each ended by a NUL.

#include "AppDelegate.h"
#include "Fuzz.h"
#include "Platform/Linux/SessionBusService.h"
#include "Platform/URL.h"

#include <QCoreApplication>
#include <array>

namespace {

QCoreApplication& application() {
    static int argumentCount = 1;
    static std::string name = "open-call";
    static std::array<char*, 2> arguments = {name.data(), nullptr};
    static QCoreApplication application(argumentCount, arguments.data());
    return application;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    application();
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QStringList urls = QString::fromUtf8(bytes).split(QChar(0));
    qsizetype delivered = 0;
    platform::SessionBusService service;
    service.deliverTo({.activate = [](const QVariantMap&) {},
                       .open =
                           [&](const QString& text) {
                               require(text == urls.at(delivered++));
                               const auto url = platform::URL::URLWithString(text.toStdString());
                               AppDelegate().codeFromCompletedOAuthRequestURL(url);
                           }});
    for (const QString& url : urls)
        require(service.deliver(url));
    require(delivered == urls.size());
    return 0;
}
