#include "Platform/Linux/WindowModule.h"

#include "Platform/Application.h"
#include "Platform/Linux/Launcher.h"

int runWindowedApplication(int argc, char** argv, int launcher) {
    platform::useLauncher(launcher);
    return platform::NSApplicationMain(argc, argv);
}
