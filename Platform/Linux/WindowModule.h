#pragma once

/// The windowed half of the program is a module that NSApplicationMain loads: this is its one
/// entry, which does what NSApplicationMain promises.
extern "C" {
using WindowModuleEntry = int(int argc, char** argv);
[[gnu::visibility("default")]] int runWindowedApplication(int argc, char** argv);
}

inline constexpr const char* windowModuleEntryName = "runWindowedApplication";
