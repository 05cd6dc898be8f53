// The server that a user types, a listing names or a record holds: no text makes a request go to
// another place on the server, or anywhere but over https.

#include "Fuzz.h"
#include "VTAPI.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string server = textOf(data, size);
    const auto url = VTAPI::URLWithServer(server, "/api/desktop/v2/token", {{"code", server}});
    if (!url)
        return 0;
    const auto components = platform::URLComponents::componentsWithURL(*url);
    require(components.scheme() == "https");
    require(components.host().has_value() && !components.host()->empty());
    require(components.path() == "/api/desktop/v2/token");
    require(components.queryItems()->size() == 1);
    require(components.queryItems()->front() == platform::URLQueryItem{"code", server});
    const std::string authority = url->absoluteString().substr(sizeof "https://" - 1);
    require(authority.find('@') > authority.find('/'));
    return 0;
}
