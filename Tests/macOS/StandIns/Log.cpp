#include "Log.h"

#include "Objects.h"

#include <cstdarg>
#include <mutex>

namespace standins {

namespace {

struct Lines {
    std::mutex mutex;
    std::vector<std::string> lines;
};

Lines& logged() {
    static Lines lines;
    return lines;
}

} // namespace

std::vector<std::string> takeLogLines() {
    const std::lock_guard lock(logged().mutex);
    return std::exchange(logged().lines, {});
}

} // namespace standins

using namespace standins;

extern "C" {
// NOLINTNEXTLINE(cert-dcl50-cpp): the real one is like this.
void NSLog(CFStringRef format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string line = textOf(va_arg(arguments, CFStringRef));
    va_end(arguments);
    if (textOf(format) != "%@")
        complain("a line was logged as a format");
    const std::lock_guard lock(logged().mutex);
    logged().lines.push_back(line);
}
}
