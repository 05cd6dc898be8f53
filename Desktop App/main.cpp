#include "Platform/Application.h"
#include "Platform/Confinement.h"
#include "Platform/Log.h"
#include "Platform/ProcessMemory.h"
#include "Platform/StandardStreams.h"
#include "Platform/URLSession.h"
#include "VTAPI.h"
#include "VTTokenStore.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <semaphore>
#include <string>

namespace {

constexpr std::int32_t success = 0;
constexpr std::int32_t notRegistered = 1;
constexpr std::int32_t serviceFailed = 2;

/// Writes the lines to standard output; false, with errno set, when not all of it could be written.
bool putLines(const std::string& method, const std::string& url, const std::string& account) {
    for (const std::string& line : {method, url, account}) {
        if (std::puts(line.c_str()) == EOF)
            return false;
    }
    return std::fflush(stdout) == 0;
}

/// Asks where the file is to be uploaded, prints the target, and returns the exit status.
int generateUploadURL(const std::string& filename) {
    platform::URLSession::prepare(); // while the keyring answers
    std::optional<platform::Data> token;
    std::optional<std::string> server;
    std::optional<std::string> account;
    if (!VTTokenStore::getToken(token, server, account) || !token || !server)
        return notRegistered;

    std::int32_t completionStatus = success;
    std::binary_semaphore completed(0);
    const VTAPI api = VTAPI::APIWithServer(*server);
    api.obtainUploadTargetUsingToken(
        *token, filename,
        [&](const std::optional<std::string>& method, const std::optional<std::string>& url,
            const std::optional<platform::Error>& error) {
            if (error) {
                platform::NSLog("%@", {error->description()});
                completionStatus = serviceFailed;
            } else if (!putLines(*method, *url, account.value_or(""))) {
                platform::NSLog("The upload target could not be written to standard output: %@",
                                {std::strerror(errno)});
                completionStatus = serviceFailed;
            }
            completed.release();
        });
    token.reset(); // nobody needs it while the answer is waited for
    completed.acquire();
    return completionStatus;
}

} // namespace

int main(int argc, char* argv[]) {
    platform::protectProcessMemory();
    platform::prepareStandardStreams();
    const bool isCommand = argc >= 3 && std::strcmp(argv[1], "--generate-upload-url") == 0;
    platform::confineProcess(isCommand ? platform::ProcessUse::command
                                       : platform::ProcessUse::window);
    if (isCommand)
        // All is written. To take the libraries down in order would only keep the caller waiting.
        std::_Exit(generateUploadURL(argv[2]));
    return platform::NSApplicationMain(argc, argv);
}
