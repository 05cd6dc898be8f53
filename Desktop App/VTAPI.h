#pragma once

#include "Platform/Data.h"
#include "Platform/Error.h"
#include "Platform/JSONSerialization.h"
#include "Platform/URL.h"
#include "Platform/URLRequest.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The domain of every service error.
inline constexpr const char* VTAPIErrorDomain = "com.norvale.tessor.api";

/// The code of every service error.
inline constexpr long VTAPIErrorCode = 4097;

/// The keys of a server entry: the name to show for the server, and the server itself.
inline constexpr const char* VTAPIRegistrationServerCodeKey = "code";
inline constexpr const char* VTAPIRegistrationServerAddressKey = "address";

/// The client of the registration service's HTTPS interface, bound to one server for its life.
///
/// Every operation that talks to the server starts its request and returns at once; its completion
/// handler is called later, exactly once, on a background thread. A request keeps alive only its
/// handler, so the client may go as soon as the call has returned. Nothing can be cancelled.
///
/// Every failure reaches the handler as a service error: domain VTAPIErrorDomain, code
/// VTAPIErrorCode, a localised description to show to the user and, for a transport failure or an
/// answer that is not JSON, the underlying error. The HTTP status of an answer is never looked at.
class VTAPI {
public:
    /// Takes (JSON, nothing) or (nothing, service error).
    using JSONHandler = std::function<void(std::optional<platform::JSONValue> json,
                                           std::optional<platform::Error> error)>;

    /// Takes (method, URL, nothing) or (nothing, nothing, service error).
    using UploadTargetHandler =
        std::function<void(std::optional<std::string> method, std::optional<std::string> url,
                           std::optional<platform::Error> error)>;

    /// A map with exactly the two keys above.
    using ServerEntry = std::map<std::string, std::string>;

    /// Takes (entries in the answer's order, nothing) or (nothing, service error).
    using ServerListingHandler = std::function<void(std::optional<std::vector<ServerEntry>> listing,
                                                    std::optional<platform::Error> error)>;

    /// Takes (ephemeral code, login URL, nothing) or (nothing, nothing, service error).
    using LoginURLHandler =
        std::function<void(std::optional<std::string> code, std::optional<platform::URL> url,
                           std::optional<platform::Error> error)>;

    /// Takes (registration token, nothing) or (nothing, service error).
    using TokenHandler =
        std::function<void(std::optional<std::string> token, std::optional<platform::Error> error)>;

    /// Takes (user information, nothing) or (nothing, service error).
    using UserInfoHandler = std::function<void(std::optional<platform::JSONValue> userInfo,
                                               std::optional<platform::Error> error)>;

    /// A client bound to the server: a host name, optionally with ":" and a decimal port. The text
    /// is not checked here; a request to a server from which no URL can be formed ends like one
    /// that the server cannot be reached for.
    static VTAPI APIWithServer(const std::string& server);

    /// The same with an empty query: the URL ends in "?".
    static std::optional<platform::URL> URLWithServer(const std::string& server,
                                                      const std::string& path);

    /// "https", the server's host and port, the path and the query, percent-encoded where needed.
    /// Names and values are given unencoded. Absent when no URL can be formed from the server.
    static std::optional<platform::URL>
    URLWithServer(const std::string& server, const std::string& path,
                  const std::map<std::string, std::string>& query);

    const std::string& server() const { return server_; }
    const std::string& versionHeaderValue() const { return versionHeaderValue_; }

    /// Sends a request with that method, the version header and no body.
    void performHTTPMethod(const std::string& method, const std::optional<platform::URL>& toURL,
                           JSONHandler returningJSONWithHandler) const;

    /// Sends a prepared request, which must carry the version header itself, and judges the answer.
    void performURLRequest(platform::URLRequest request,
                           JSONHandler returningJSONWithHandler) const;

    /// Asks where a print file is to be uploaded. The token is the registration token's UTF-8 text,
    /// the file name UTF-8 too; with a token that cannot stand in a header or a file name that is
    /// not UTF-8 nothing is sent and the operation fails.
    void obtainUploadTargetUsingToken(const platform::Data& token, const std::string& forFilename,
                                      UploadTargetHandler completionHandler) const;

    /// Asks the directory server for the registration servers. An entry whose address is not a
    /// string is left out; no entries at all are a success.
    void obtainServerListingWithCompletionHandler(ServerListingHandler handler) const;

    /// Asks for the URL at which the user signs in with the provider ("google" or "microsoft"), and
    /// for the ephemeral code that belongs to it. Without a provider nothing is sent.
    void requestLoginURLDataForProvider(const std::optional<std::string>& provider,
                                        LoginURLHandler completionHandler) const;

    /// Exchanges the ephemeral code and the callback code for a registration token. When one of
    /// them is absent nothing is sent and the operation fails.
    void attemptTokenExchangeWithCode1(const std::optional<std::string>& code1,
                                       const std::optional<std::string>& code2,
                                       TokenHandler completionHandler) const;

    /// Asks for the signed-in user's information, a JSON object. The token is the registration
    /// token's UTF-8 text; with one that cannot stand in a header nothing is sent.
    void obtainUserInfoUsingToken(const platform::Data& token,
                                  UserInfoHandler withCompletionHandler) const;

private:
    explicit VTAPI(std::string server);

    void performAuthorized(const std::string& method, const std::string& path,
                           const platform::Data& token, platform::Data body,
                           platform::Error (*badTokenError)(), JSONHandler handler) const;

    std::string server_;
    std::string versionHeaderValue_;
};
