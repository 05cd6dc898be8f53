#include "CertificateBuilder.h"

#include <arpa/inet.h>
#include <openssl/bn.h>
#include <openssl/pem.h>

#include <array>
#include <string_view>

namespace simulator {

namespace {

using BioHandle = Handle<BIO, BIO_free_all>;
using NumberHandle = Handle<BIGNUM, BN_free>;
using ExtensionHandle = Handle<X509_EXTENSION, X509_EXTENSION_free>;
using NamesHandle = Handle<GENERAL_NAMES, GENERAL_NAMES_free>;

BioHandle readerOf(const std::string& text) {
    return BioHandle(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

std::string contentOf(const BioHandle& bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

std::string toPEM(const X509* certificate) {
    const BioHandle bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(bio.get(), certificate) == 1, "cannot write a certificate");
    return contentOf(bio);
}

std::string toPEM(const EVP_PKEY* key) {
    const BioHandle bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PKCS8PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) ==
                1,
            "cannot write a key");
    return contentOf(bio);
}

void setRandomSerialNumber(X509* certificate) {
    // RFC 5280 allows 20 octets and asks for a positive number.
    const NumberHandle number(BN_new());
    require(BN_rand(number.get(), 127, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1,
            "cannot make a serial number");
    require(BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "cannot set the serial number");
}

bool isAddress(const std::string& name) {
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return inet_pton(AF_INET, name.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, name.c_str(), address.data()) == 1;
}

} // namespace

CertificateHandle certificateFromPEM(const std::string& text) {
    CertificateHandle certificate(
        PEM_read_bio_X509(readerOf(text).get(), nullptr, nullptr, nullptr));
    require(certificate != nullptr, "cannot read a certificate");
    return certificate;
}

KeyHandle keyFromPEM(const std::string& text) {
    KeyHandle key(PEM_read_bio_PrivateKey(readerOf(text).get(), nullptr, nullptr, nullptr));
    require(key != nullptr, "cannot read a key");
    return key;
}

CertificateBuilder::CertificateBuilder() : key_(EVP_EC_gen("P-256")), certificate_(X509_new()) {
    require(key_ != nullptr && certificate_ != nullptr, "cannot make a key");
    require(X509_set_version(certificate_.get(), X509_VERSION_3) == 1 &&
                X509_set_pubkey(certificate_.get(), key_.get()) == 1,
            "cannot make a certificate");
    setRandomSerialNumber(certificate_.get());
}

void CertificateBuilder::setValidity(std::chrono::system_clock::time_point from,
                                     std::chrono::system_clock::time_point until) {
    require(ASN1_TIME_set(X509_getm_notBefore(certificate_.get()),
                          std::chrono::system_clock::to_time_t(from)) != nullptr &&
                ASN1_TIME_set(X509_getm_notAfter(certificate_.get()),
                              std::chrono::system_clock::to_time_t(until)) != nullptr,
            "cannot set the certificate's validity");
}

void CertificateBuilder::setSubject(const std::string& commonName) {
    X509_NAME* const name = X509_get_subject_name(certificate_.get());
    require(X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(commonName.data()),
                                       static_cast<int>(commonName.size()), -1, 0) == 1,
            "cannot set the certificate's subject");
}

void CertificateBuilder::addExtension(int identifier, const std::string& value) {
    const ExtensionHandle extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, identifier, value.c_str()));
    require(extension != nullptr && X509_add_ext(certificate_.get(), extension.get(), -1) == 1,
            "cannot add an extension to the certificate");
}

void CertificateBuilder::addHostNames(const std::vector<std::string>& hostNames) {
    const NamesHandle names(sk_GENERAL_NAME_new_null());
    for (const std::string& hostName : hostNames) {
        GENERAL_NAME* const name =
            a2i_GENERAL_NAME(nullptr, nullptr, nullptr, isAddress(hostName) ? GEN_IPADD : GEN_DNS,
                             hostName.c_str(), 0);
        require(name != nullptr, "cannot use the host name in a certificate");
        sk_GENERAL_NAME_push(names.get(), name);
    }
    require(X509_add1_ext_i2d(certificate_.get(), NID_subject_alt_name, names.get(), 0,
                              X509V3_ADD_DEFAULT) == 1,
            "cannot add the host names to the certificate");
}

Identity CertificateBuilder::selfSigned() {
    return sign(certificate_.get(), key_.get());
}

Identity CertificateBuilder::signedBy(const Identity& issuer) {
    const CertificateHandle certificate = certificateFromPEM(issuer.certificate);
    const KeyHandle key = keyFromPEM(issuer.key);
    return sign(certificate.get(), key.get());
}

Identity CertificateBuilder::sign(X509* issuer, EVP_PKEY* issuerKey) {
    require(X509_set_issuer_name(certificate_.get(), X509_get_subject_name(issuer)) == 1,
            "cannot set the certificate's issuer");
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate_.get(), nullptr, nullptr, 0);
    for (const auto& [identifier, value] :
         {std::pair{NID_subject_key_identifier, "hash"},
          std::pair{NID_authority_key_identifier, "keyid:always"}}) {
        const ExtensionHandle extension(X509V3_EXT_conf_nid(nullptr, &context, identifier, value));
        require(extension != nullptr && X509_add_ext(certificate_.get(), extension.get(), -1) == 1,
                "cannot add a key identifier to the certificate");
    }
    require(X509_sign(certificate_.get(), issuerKey, EVP_sha256()) > 0,
            "cannot sign the certificate");
    return {toPEM(certificate_.get()), toPEM(key_.get())};
}

} // namespace simulator
