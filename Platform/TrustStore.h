#pragma once

#include <optional>
#include <string>

namespace platform {

/// Where the certificates stand that a server's certificate is checked against.
struct TrustStore {
    /// A file of certificates in PEM.
    std::optional<std::string> file;

    /// Folders of certificates under hashed names, joined by ":".
    std::optional<std::string> directory;

    /// The system's trust store, or the one that SSL_CERT_FILE and SSL_CERT_DIR name. Each variable
    /// takes the place of the system's own file or folder, as OpenSSL has it. Of the system's two
    /// forms only one is used: the hashed folder where there is one, because a bundle has to be
    /// read whole for every connection.
    static TrustStore system();
};

} // namespace platform
