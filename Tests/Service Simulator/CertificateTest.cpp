#include "SimulatorTest.h"

#include <gmock/gmock.h>
#include <openssl/x509_vfy.h>

using simulator::Certificate;
using testing::HasSubstr;

namespace {

/// What a client that checks certificates says about one.
class Certificates : public SimulatorTest {
protected:
    Outcome get(Certificate certificate) {
        service.presentCertificate(certificate);
        return client.get(url("/"));
    }

    void expectRefusal(Certificate certificate, long verifyResult) {
        const Outcome outcome = get(certificate);
        EXPECT_EQ(outcome.code, CURLE_PEER_FAILED_VERIFICATION) << outcome.error;
        EXPECT_EQ(outcome.verifyResult, verifyResult) << outcome.error;
        EXPECT_TRUE(service.requests().empty());
    }
};

} // namespace

TEST_F(Certificates, AGoodOneIsTaken) {
    EXPECT_EQ(get(Certificate::Good).code, CURLE_OK);
}

TEST_F(Certificates, AGoodOneIsTakenForTheLoopbackAddressToo) {
    const Outcome outcome = client.get("https://127.0.0.1:" + std::to_string(service.port()) + "/");
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
}

TEST_F(Certificates, AnExpiredOneIsRefused) {
    expectRefusal(Certificate::Expired, X509_V_ERR_CERT_HAS_EXPIRED);
}

TEST_F(Certificates, OneThatIsNotYetValidIsRefused) {
    expectRefusal(Certificate::NotYetValid, X509_V_ERR_CERT_NOT_YET_VALID);
}

TEST_F(Certificates, OneFromAnUnknownAuthorityIsRefused) {
    const Outcome outcome = get(Certificate::UnknownAuthority);
    EXPECT_EQ(outcome.code, CURLE_PEER_FAILED_VERIFICATION) << outcome.error;
    EXPECT_EQ(outcome.verifyResult, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
}

TEST_F(Certificates, OneForAnotherHostIsRefusedForItsName) {
    const Outcome outcome = get(Certificate::WrongHost);
    EXPECT_EQ(outcome.code, CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_THAT(outcome.error, HasSubstr("no alternative certificate subject name matches"));
}

TEST_F(Certificates, TheChoiceHoldsForTheNextConnectionOnly) {
    EXPECT_EQ(get(Certificate::Good).code, CURLE_OK);
    EXPECT_EQ(get(Certificate::Expired).code, CURLE_OK) << "the connection is kept";
    Client another(authority);
    EXPECT_EQ(another.get(url("/")).code, CURLE_PEER_FAILED_VERIFICATION);
    service.presentCertificate(Certificate::Good);
    EXPECT_EQ(another.get(url("/")).code, CURLE_OK);
}

TEST_F(Certificates, AreForEveryHostNameThatIsWanted) {
    const simulator::Simulator named(authority, {.hostNames = {"first.invalid", "localhost"}});
    EXPECT_EQ(named.server(), "first.invalid:" + std::to_string(named.port()));
    const Outcome outcome = client.get("https://localhost:" + std::to_string(named.port()) + "/");
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
}
