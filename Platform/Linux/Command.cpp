#include "Command.h"

#include "Platform/Dispatch.h"

#include <utility>

namespace platform {

void runCommand(std::vector<std::string> command,
                std::function<void(const LaunchResult&)> whenEnded) {
    dispatchToBackground([command = std::move(command), whenEnded = std::move(whenEnded),
                          limit = commandTimeLimit](const std::stop_token& ending) {
        const LaunchResult result = runProgram(command, limit, ending);
        dispatchToMain([=] { whenEnded(result); });
    });
}

} // namespace platform
