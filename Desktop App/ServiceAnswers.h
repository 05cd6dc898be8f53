#pragma once

#include "VTAPI.h"

/// What becomes of the service's answers. Each function calls its handler exactly once before it
/// returns, with what the operation of VTAPI hands on: see there. Any thread.

/// An answer's body, or the error of the transfer that brought none.
void judgeAnswer(const VTAPI::JSONHandler& handler, const std::optional<platform::Data>& body,
                 std::optional<platform::Error> transportError);

void judgeUploadTarget(const VTAPI::UploadTargetHandler& handler, const platform::JSONValue& json);
void judgeServerListing(const VTAPI::ServerListingHandler& handler,
                        const platform::JSONValue& json);
void judgeLoginURL(const VTAPI::LoginURLHandler& handler, const platform::JSONValue& json);
void judgeToken(const VTAPI::TokenHandler& handler, const platform::JSONValue& json);
void judgeUserInfo(const VTAPI::UserInfoHandler& handler, const platform::JSONValue& json);
