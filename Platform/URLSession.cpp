#include "Platform/URLSession.h"

#include "Platform/Dispatch.h"
#include "Platform/ProcessMemory.h"
#include "Platform/Transfer.h"

#include <utility>

namespace platform {

namespace {

/// The request, with its credentials, is gone when the answer is there.
TransferResult perform(const URLSessionConfiguration& configuration, URLRequest&& request,
                       const std::stop_token& ending) {
    const URLRequest sent = std::move(request);
    TransferResult result = Transfer(configuration, sent).run(ending);
    wipeUnusedStack();
    return result;
}

} // namespace

void URLSession::prepare() {
    dispatchToBackground([](const std::stop_token&) { Transfer::prepareLibrary(); });
}

URLSession URLSession::sessionWithConfiguration(URLSessionConfiguration configuration) {
    return URLSession(configuration);
}

URLSessionDataTask
URLSession::dataTaskWithRequest(URLRequest request,
                                URLSessionDataTask::CompletionHandler completionHandler) const {
    return {configuration_, std::move(request), std::move(completionHandler)};
}

URLSessionDataTask::URLSessionDataTask(URLSessionConfiguration configuration, URLRequest request,
                                       CompletionHandler handler)
    : configuration_(configuration), request_(std::move(request)), handler_(std::move(handler)) {}

void URLSessionDataTask::resume() {
    Transfer::prepareLibrary();
    dispatchToBackground([configuration = configuration_, request = std::move(request_),
                          handler = std::move(handler_)](const std::stop_token& ending) mutable {
        TransferResult result = perform(configuration, std::move(request), ending);
        if (ending.stop_requested())
            return;
        handler(std::move(result.body), std::move(result.error));
    });
}

} // namespace platform
