#include "Platform/URLSchemeHandler.h"

#include "Command.h"

#include <cstdlib>
#include <sstream>
#include <utility>

namespace platform {

namespace {

/// What xdg-mime says when it has not found what it was asked for.
constexpr int operationFailed = 4;

constexpr const char* thisApplication = "com.norvale.tessor.desktop";

std::string typeOf(const std::string& scheme) {
    return "x-scheme-handler/" + scheme;
}

std::string firstWordOf(const std::string& text) {
    std::istringstream words(text);
    std::string word;
    words >> word;
    return word;
}

URLSchemeHandler handlerFrom(const LaunchResult& result) {
    const int exitStatus = result.exitStatus.value_or(EXIT_FAILURE);
    const std::string handler = firstWordOf(result.output);
    if (exitStatus == EXIT_SUCCESS && !handler.empty())
        return handler == thisApplication ? URLSchemeHandler::ThisApplication
                                          : URLSchemeHandler::AnotherApplication;
    return exitStatus == EXIT_SUCCESS || exitStatus == operationFailed
               ? URLSchemeHandler::NoApplication
               : URLSchemeHandler::Unknown;
}

/// Asks for one scheme after the other.
void ask(std::vector<std::string> schemes, URLSchemeHandler handlerSoFar,
         URLSchemeHandlerAnswer answer) {
    if (schemes.empty()) {
        answer(handlerSoFar);
        return;
    }
    const std::string type = typeOf(schemes.back());
    schemes.pop_back();
    runCommand(
        {"xdg-mime", "query", "default", type},
        [=, schemes = std::move(schemes), answer = std::move(answer)](const LaunchResult& result) {
            const URLSchemeHandler handler = handlerFrom(result);
            const bool decides = handler == URLSchemeHandler::AnotherApplication ||
                                 handler == URLSchemeHandler::Unknown;
            ask(decides ? std::vector<std::string>() : schemes,
                handler == URLSchemeHandler::ThisApplication ? handlerSoFar : handler, answer);
        });
}

} // namespace

void getHandlerForURLSchemes(const std::vector<std::string>& schemes,
                             URLSchemeHandlerAnswer completionHandler) {
    ask(schemes, URLSchemeHandler::ThisApplication, std::move(completionHandler));
}

void setThisApplicationAsHandlerForURLSchemes(const std::vector<std::string>& schemes,
                                              const URLSchemeHandlerAnswer& completionHandler) {
    std::vector<std::string> command = {"xdg-mime", "default", thisApplication};
    for (const std::string& scheme : schemes)
        command.push_back(typeOf(scheme));
    runCommand(std::move(command),
               [=](const LaunchResult&) { getHandlerForURLSchemes(schemes, completionHandler); });
}

} // namespace platform
