#include "Platform/Linux/WindowModule.h"

#include "Platform/Application.h"

int runWindowedApplication(int argc, char** argv) {
    return platform::NSApplicationMain(argc, argv);
}
