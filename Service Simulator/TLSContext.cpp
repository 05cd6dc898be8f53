#include "TLSContext.h"

namespace simulator {

namespace {

constexpr auto day = std::chrono::hours(24);

std::vector<std::string> withLoopbackAddresses(std::vector<std::string> hostNames) {
    hostNames.insert(hostNames.end(), {"127.0.0.1", "::1"});
    return hostNames;
}

} // namespace

TLSContext::TLSContext(const Authority& authority, std::vector<std::string> hostNames)
    : context_(SSL_CTX_new(TLS_server_method())) {
    require(context_ != nullptr, "cannot set TLS up");
    SSL_CTX_set_min_proto_version(context_.get(), TLS1_2_VERSION);
    SSL_CTX_set_options(context_.get(), SSL_OP_NO_TICKET);
    SSL_CTX_set_num_tickets(context_.get(), 0);
    SSL_CTX_set_session_cache_mode(context_.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_cert_cb(context_.get(), &TLSContext::chooseCertificate, this);

    const auto now = std::chrono::system_clock::now();
    const auto names = withLoopbackAddresses(std::move(hostNames));
    const ServerCertificate good{names, now - day, now + 365 * day};
    keep(Certificate::Good, authority.issue(good));
    keep(Certificate::Expired, authority.issue({names, now - 30 * day, now - day}));
    keep(Certificate::NotYetValid, authority.issue({names, now + day, now + 30 * day}));
    keep(Certificate::WrongHost,
         authority.issue({{"elsewhere.invalid"}, good.validFrom, good.validUntil}));
    keep(Certificate::UnknownAuthority, Authority::make().issue(good));
}

void TLSContext::keep(Certificate certificate, const Identity& identity) {
    leaves_.at(static_cast<std::size_t>(certificate)) = {certificateFromPEM(identity.certificate),
                                                         keyFromPEM(identity.key)};
}

int TLSContext::chooseCertificate(SSL* session, void* self) {
    const auto& context = *static_cast<const TLSContext*>(self);
    const Leaf& leaf = context.leaves_.at(static_cast<std::size_t>(context.presented_.load()));
    const bool chosen = SSL_use_certificate(session, leaf.certificate.get()) == 1 &&
                        SSL_use_PrivateKey(session, leaf.key.get()) == 1;
    return chosen ? 1 : 0;
}

} // namespace simulator
