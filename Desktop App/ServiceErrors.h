#pragma once

#include "Platform/Error.h"

/// The service errors that an operation of VTAPI ends with, whatever was answered: see there. Their
/// descriptions are localised. Any thread.

platform::Error serviceError(const std::string& key);
platform::Error serviceError(const std::string& key, platform::Error underlyingError);

platform::Error uploadIncomplete();
platform::Error unexpected();

/// The token exchange's own, whose text has no full stop.
platform::Error unexpectedInExchange();

/// The server could not be reached.
platform::Error contactError(platform::Error underlyingError);

/// The same, because no URL can be formed from the server's text.
platform::Error noURLError();
