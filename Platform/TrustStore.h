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

    /// The other form of the same store, in PEM, to be asked as well before a certificate is
    /// refused: a folder may hold a part only.
    std::optional<std::string> otherFile;

    /// The system's trust store, in the places that Debian's and Fedora's tools for administrators
    /// (update-ca-certificates, update-ca-trust) write to, or the one that SSL_CERT_FILE and
    /// SSL_CERT_DIR name. Each variable takes the place of the system's own file or folder, as
    /// OpenSSL has it. Of the system's two forms the hashed folder comes first where there is one,
    /// because a bundle has to be read whole for every connection.
    static TrustStore system();
};

} // namespace platform
