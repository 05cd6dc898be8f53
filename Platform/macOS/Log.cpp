#include "Platform/Log.h"

#include "CoreFoundationObject.h"

extern "C" {
/// The system's own, of Foundation, whose header needs another language. Its format is an NSString,
/// which a CFString is as well, and so is what "%@" stands for.
void NSLog(CFStringRef format, ...);
}

namespace platform {

void NSLog(std::string_view format, std::initializer_list<std::string> arguments) {
    // The line is valid UTF-8 whatever the arguments are.
    const Owned<CFStringRef> line = makeString(logLine(format, arguments));
    const Owned<CFStringRef> placeholder = makeString("%@");
    ::NSLog(placeholder.get(), line.get());
}

} // namespace platform
