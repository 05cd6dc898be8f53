#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace simulator {

/// A certificate (X.509) with its private key (PKCS #8), both in PEM.
struct Identity {
    std::string certificate;
    std::string key;
};

/// What a server certificate is to say.
struct ServerCertificate {
    std::vector<std::string> hostNames; ///< host names and IP addresses
    std::chrono::system_clock::time_point validFrom;
    std::chrono::system_clock::time_point validUntil;
};

/// A throw-away certificate authority: a key of the curve P-256 and its self-signed certificate,
/// valid for ten years. A value: copies issue in the name of the same authority.
///
/// Every operation throws std::runtime_error with one readable line when it fails.
class Authority {
public:
    /// A new authority, unlike any other.
    static Authority make();

    /// The authority that save() left in the folder.
    static Authority load(const std::filesystem::path& directory);

    /// Whether the folder holds an authority to load.
    static bool isSavedIn(const std::filesystem::path& directory);

    /// Writes "authority.pem" and "authority.key" (readable by the owner alone), replacing those of
    /// an earlier authority, and a link "<subject hash>.0" to the certificate, which makes the
    /// folder itself good as SSL_CERT_DIR. The folder is created when it is missing.
    void save(const std::filesystem::path& directory) const;

    /// The authority's own certificate in PEM: what a client has to trust.
    const std::string& certificate() const { return identity_.certificate; }

    /// A new key and a certificate for it, signed by this authority, for use by a TLS server.
    Identity issue(const ServerCertificate& wanted) const;

private:
    explicit Authority(Identity identity) : identity_(std::move(identity)) {}

    Identity identity_;
};

} // namespace simulator
