#include "Platform/Confinement.h"

namespace platform {

// The bundle's entitlements confine it before it starts.
void confineProcess(ProcessUse) {}

} // namespace platform
