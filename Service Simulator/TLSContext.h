#pragma once

#include "Answer.h"
#include "Authority.h"
#include "CertificateBuilder.h"
#include "OpenSSLHandle.h"

#include <openssl/ssl.h>

#include <array>
#include <atomic>
#include <string>
#include <vector>

namespace simulator {

/// The server's side of TLS 1.2 and 1.3, which decides at each handshake which certificate to show.
/// Sessions are never resumed: a resumed one would show no certificate. Any thread may use it.
class TLSContext {
public:
    /// Throws std::runtime_error when a certificate cannot be made.
    TLSContext(const Authority& authority, std::vector<std::string> hostNames);

    /// Shows this certificate from the next handshake on.
    void present(Certificate certificate) { presented_ = certificate; }

    /// Owned by this object.
    SSL_CTX* get() const { return context_.get(); }

private:
    struct Leaf {
        CertificateHandle certificate;
        KeyHandle key;
    };

    static int chooseCertificate(SSL* session, void* self);
    void keep(Certificate certificate, const Identity& identity);

    std::array<Leaf, 5> leaves_; // by Certificate
    std::atomic<Certificate> presented_ = Certificate::Good;
    Handle<SSL_CTX, SSL_CTX_free> context_;
};

} // namespace simulator
