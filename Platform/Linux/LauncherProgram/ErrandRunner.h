#pragma once

#include "Errand.h"

/// Does the errand and says on the socket what comes of it, as LauncherMessages.h has it; a program
/// that is waited for is killed, with those it has started, as soon as the other end is closed.
/// Blocks until the errand is done.
void run(const Errand& errand, int replies);
