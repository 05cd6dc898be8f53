#pragma once

/// The windowed half of the program is a module that NSApplicationMain loads: this is its one
/// entry, which does what NSApplicationMain promises, with the launcher that is in use
/// (Launcher.h).
extern "C" {
using WindowModuleEntry = int(int argc, char** argv, int launcher);
[[gnu::visibility("default")]] int runWindowedApplication(int argc, char** argv, int launcher);
}

inline constexpr const char* windowModuleEntryName = "runWindowedApplication";
