#include "ServiceErrors.h"

#include "Platform/Bundle.h"
#include "Platform/URLSession.h"
#include "VTAPI.h"

#include <utility>

using platform::Error;

namespace {

std::string localized(const std::string& key) {
    return platform::Bundle::mainBundle().localizedStringForKey(key, "", std::nullopt);
}

} // namespace

Error serviceError(const std::string& key) {
    return {VTAPIErrorDomain, VTAPIErrorCode, localized(key)};
}

Error serviceError(const std::string& key, Error underlyingError) {
    return {VTAPIErrorDomain, VTAPIErrorCode, localized(key), std::move(underlyingError)};
}

Error uploadIncomplete() {
    return serviceError("The upload could not be completed.");
}

Error unexpected() {
    return serviceError("An unexpected error occured.");
}

Error unexpectedInExchange() {
    return serviceError("An unexpected error occured");
}

Error contactError(Error underlyingError) {
    return serviceError("An error occurred while attempting to contact the server",
                        std::move(underlyingError));
}

Error noURLError() {
    return contactError({platform::URLErrorDomain, platform::URLErrorBadURL,
                         "No URL can be formed from the server's name"});
}
