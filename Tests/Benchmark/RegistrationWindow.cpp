// The registration window, until it is painted: all that the executable does to get there.

#include "Platform/Application.h"

int main(int argc, char** argv) {
    return platform::NSApplicationMain(argc, argv);
}
