#pragma once

#include "Authority.h"
#include "OpenSSLHandle.h"

#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <chrono>
#include <string>
#include <vector>

namespace simulator {

using KeyHandle = Handle<EVP_PKEY, EVP_PKEY_free>;
using CertificateHandle = Handle<X509, X509_free>;

/// The first certificate, or the key, of a PEM text. Throws std::runtime_error when there is none.
CertificateHandle certificateFromPEM(const std::string& text);
KeyHandle keyFromPEM(const std::string& text);

/// Makes one certificate (RFC 5280) for a new key of the curve P-256. Every operation throws
/// std::runtime_error when OpenSSL refuses it.
class CertificateBuilder {
public:
    CertificateBuilder();

    void setValidity(std::chrono::system_clock::time_point from,
                     std::chrono::system_clock::time_point until);

    /// The common name; the subject holds nothing else.
    void setSubject(const std::string& commonName);

    /// An extension in the notation of OpenSSL's configuration files.
    void addExtension(int identifier, const std::string& value);

    /// The subject's alternative names: host names and IP addresses.
    void addHostNames(const std::vector<std::string>& hostNames);

    /// The certificate, signed with its own key or with that of the issuer.
    Identity selfSigned();
    Identity signedBy(const Identity& issuer);

private:
    Identity sign(X509* issuer, EVP_PKEY* issuerKey);

    KeyHandle key_;
    CertificateHandle certificate_;
};

} // namespace simulator
