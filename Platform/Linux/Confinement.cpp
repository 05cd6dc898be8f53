#include "Platform/Confinement.h"

#include "Platform/Linux/FileAccess.h"
#include "Platform/Linux/Launcher.h"
#include "Platform/Linux/NeededFiles.h"
#include "Platform/Linux/ProxySettings.h"
#include "Platform/Linux/SystemCallFilter.h"
#include "Platform/Log.h"

#include <sys/prctl.h>

namespace platform {

namespace {

#ifdef VT_UNCONFINED
constexpr bool mayBeConfined = false;
#else
constexpr bool mayBeConfined = true;
#endif

/// The command starts a program only to ask for proxies.
bool needsLauncher(ProcessUse use) {
    return use == ProcessUse::window || proxySettingsInForce() != ProxySettings::none;
}

} // namespace

void confineProcess(ProcessUse use) {
    if (!mayBeConfined)
        return;
    useLauncher(needsLauncher(use) ? startLauncher() : noLauncher);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const bool isConfinedToFiles = confineFileAccess(neededFiles(use));
    const bool isFiltered = filterSystemCalls();
    if (use == ProcessUse::command)
        return;
    if (!isConfinedToFiles)
        NSLog("This kernel cannot confine the application to the files that it needs: it has no "
              "Landlock.");
    if (!isFiltered)
        NSLog("This kernel cannot confine the application to the system calls that it needs.");
}

} // namespace platform
