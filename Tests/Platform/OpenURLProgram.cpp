// Opens the URL that is its argument, says whether that was begun, and runs on until it is ended:
// what the tests of the workspace look at from outside.

#include "Platform/Workspace.h"

#include <QCoreApplication>
#include <iostream>

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    const auto url = platform::URL::URLWithString(argc == 2 ? argv[1] : "");
    const bool began = url && platform::Workspace::sharedWorkspace().openURL(*url);
    std::cout << (began ? "began" : "did not begin") << std::endl;
    return QCoreApplication::exec();
}
