#pragma once

#include "Support/LogCapture.h"

/// What is logged from now on, a line for each call.
using LogUnderTest = LogCapture;
