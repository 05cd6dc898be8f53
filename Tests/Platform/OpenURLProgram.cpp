// Opens the URLs that are its arguments, says of each whether that was begun, and runs on until it
// is ended: what the tests of the workspace look at from outside.

#include "Platform/Workspace.h"

#include <QCoreApplication>
#include <iostream>

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    for (const QString& argument : QCoreApplication::arguments().mid(1)) {
        const auto url = platform::URL::URLWithString(argument.toStdString());
        const bool began = url && platform::Workspace::sharedWorkspace().openURL(*url);
        std::cout << (began ? "began" : "did not begin") << std::endl;
    }
    return QCoreApplication::exec();
}
