#include "Display.h"

#include "Platform/Log.h"

#include <QByteArray>
#include <QMessageLogContext>
#include <QString>
#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace platform {

namespace {

bool isSet(const char* variable) {
    return !qEnvironmentVariableIsEmpty(variable);
}

bool namesPlatform(int argc, char** argv) {
    return isSet("QT_QPA_PLATFORM") ||
           std::any_of(argv, argv + argc, [](std::string_view argument) {
               return argument == "-platform" || argument == "--platform";
           });
}

/// Warnings are dropped: the toolkit has many that mean nothing to anyone but its own developers.
void report(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg)
        NSLog("The window system reported: %@", {message.toStdString()});
    if (type != QtFatalMsg)
        return;
    // The toolkit would go on to abort(), which is a crash to the desktop.
    NSLog("The display could not be opened: %@", {message.toStdString()});
    std::_Exit(EXIT_FAILURE);
}

} // namespace

bool namesDisplay(int argc, char** argv) {
    if (isSet("WAYLAND_DISPLAY") || isSet("DISPLAY") || namesPlatform(argc, argv))
        return true;
    NSLog("There is no display to show the registration window on: neither WAYLAND_DISPLAY nor "
          "DISPLAY is set.");
    return false;
}

void reportDisplayFailures() {
    qInstallMessageHandler(report);
}

} // namespace platform
