#include "Platform/URLSchemeHandler.h"

#include "Command.h"

#include <cstdlib>
#include <utility>

namespace platform {

namespace {

/// What xdg-mime says when it has not found what it was asked for.
constexpr int operationFailed = 4;

constexpr const char* thisApplication = "com.norvale.tessor.desktop";

QString typeOf(const std::string& scheme) {
    return "x-scheme-handler/" + QString::fromStdString(scheme);
}

void run(const QStringList& arguments, std::function<void(const CommandResult&)> whenEnded) {
    runCommand("xdg-mime", arguments, std::move(whenEnded));
}

URLSchemeHandler handlerFrom(const CommandResult& result) {
    const int exitStatus = result.exitStatus.value_or(EXIT_FAILURE);
    if (exitStatus == EXIT_SUCCESS && !result.output.isEmpty())
        return result.output == thisApplication ? URLSchemeHandler::ThisApplication
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
    const QString type = typeOf(schemes.back());
    schemes.pop_back();
    run({"query", "default", type},
        [=, schemes = std::move(schemes), answer = std::move(answer)](const CommandResult& result) {
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
    QStringList arguments = {"default", thisApplication};
    for (const std::string& scheme : schemes)
        arguments.append(typeOf(scheme));
    run(arguments,
        [=](const CommandResult&) { getHandlerForURLSchemes(schemes, completionHandler); });
}

} // namespace platform
