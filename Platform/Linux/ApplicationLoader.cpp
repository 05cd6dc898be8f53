#include "Platform/Application.h"
#include "Platform/Linux/Launcher.h"
#include "Platform/Linux/WindowModule.h"
#include "Platform/Log.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace platform {

namespace {

std::string modulePath() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return (executable.parent_path() / VT_WINDOW_MODULE).string();
}

} // namespace

// The windowed application and its toolkit are loaded here and nowhere else, so that they cost the
// upload-URL command nothing.
int NSApplicationMain(int argc, char** argv) {
    // All of its functions are found now: to find one at its first call puts registers on the
    // stack, with what is left of secrets in them.
    void* const module = dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entry = module != nullptr ? dlsym(module, windowModuleEntryName) : nullptr;
    if (entry == nullptr) {
        NSLog("The registration window could not be loaded: %@", {dlerror()});
        return EXIT_FAILURE;
    }
    return reinterpret_cast<WindowModuleEntry*>(entry)(argc, argv, launcherInUse());
}

} // namespace platform
