#include "Authority.h"

#include "CertificateBuilder.h"
#include "OpenSSLHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <system_error>

namespace simulator {

namespace {

constexpr auto day = std::chrono::hours(24);
constexpr const char* certificateFile = "authority.pem";
constexpr const char* keyFile = "authority.key";

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return text;
}

[[noreturn]] void throwCannotWrite(const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + path.string());
}

void writeFile(const std::filesystem::path& path, const std::string& text, mode_t mode) {
    // A new file, so that a key is never readable under the mode of an earlier one.
    std::filesystem::remove(path);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0) {
        throwCannotWrite(path);
    }
    const ssize_t written = write(file, text.data(), text.size());
    if (close(file) != 0 || written != static_cast<ssize_t>(text.size())) {
        throwCannotWrite(path);
    }
}

/// The name under which OpenSSL looks for the certificate in a folder of trusted ones.
std::string hashedName(const std::string& certificate) {
    const CertificateHandle parsed = certificateFromPEM(certificate);
    std::ostringstream name;
    name << std::hex << std::setfill('0') << std::setw(8) << X509_subject_name_hash(parsed.get())
         << ".0";
    return name.str();
}

} // namespace

Authority Authority::make() {
    const auto now = std::chrono::system_clock::now();
    CertificateBuilder builder;
    builder.setValidity(now - day, now + 3650 * day);
    builder.setSubject("Ardentra Registration Test Authority");
    builder.addExtension(NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    builder.addExtension(NID_key_usage, "critical,keyCertSign,cRLSign");
    return Authority(builder.selfSigned());
}

Identity Authority::issue(const ServerCertificate& wanted) const {
    CertificateBuilder builder;
    builder.setValidity(wanted.validFrom, wanted.validUntil);
    builder.setSubject("Ardentra Registration Simulator");
    builder.addExtension(NID_basic_constraints, "critical,CA:FALSE");
    builder.addExtension(NID_key_usage, "critical,digitalSignature");
    builder.addExtension(NID_ext_key_usage, "serverAuth");
    builder.addHostNames(wanted.hostNames);
    return builder.signedBy(identity_);
}

bool Authority::isSavedIn(const std::filesystem::path& directory) {
    return std::filesystem::exists(directory / certificateFile) &&
           std::filesystem::exists(directory / keyFile);
}

Authority Authority::load(const std::filesystem::path& directory) {
    Identity identity{readFile(directory / certificateFile), readFile(directory / keyFile)};
    const CertificateHandle certificate = certificateFromPEM(identity.certificate);
    const KeyHandle key = keyFromPEM(identity.key);
    require(X509_check_private_key(certificate.get(), key.get()) == 1,
            "the authority's key does not belong to its certificate");
    return Authority(std::move(identity));
}

void Authority::save(const std::filesystem::path& directory) const {
    std::filesystem::create_directories(directory);
    writeFile(directory / keyFile, identity_.key, S_IRUSR | S_IWUSR);
    writeFile(directory / certificateFile, identity_.certificate,
              S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    const std::filesystem::path link = directory / hashedName(identity_.certificate);
    std::filesystem::remove(link);
    std::filesystem::create_symlink(certificateFile, link);
}

} // namespace simulator
