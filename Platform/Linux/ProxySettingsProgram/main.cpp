// proxy-settings gnome|kde URL: writes the proxies that the desktop's settings name for the URL to
// standard output, most preferred first, one a line, as the desktop writes them. A line without any
// text is the last.

#include "DesktopResolver.h"
#include "KDESettings.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

int main(int argc, char* argv[]) {
    constexpr int argumentsNeeded = 3;
    if (argc != argumentsNeeded)
        return EXIT_FAILURE;
    // Services that are started on the way must not hold the reader up.
    fcntl(STDOUT_FILENO, F_SETFD, FD_CLOEXEC);
    const bool isKDE = std::string_view(argv[1]) == "kde";
    const auto proxies = isKDE ? proxiesOfKDE(argv[2]) : proxiesOfGNOME(argv[2]);
    for (const std::string& proxy : proxies)
        std::puts(proxy.c_str());
    std::puts("");
    const bool written = std::fflush(stdout) == 0;
    // The desktop's libraries have threads that do not end.
    _exit(written ? EXIT_SUCCESS : EXIT_FAILURE);
}
