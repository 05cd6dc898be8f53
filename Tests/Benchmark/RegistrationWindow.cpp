// The registration window, until it is painted: all that the executable does to get there.

#include "Platform/Application.h"
#include "Platform/Confinement.h"

int main(int argc, char** argv) {
    platform::confineProcess(platform::ProcessUse::window);
    return platform::NSApplicationMain(argc, argv);
}
