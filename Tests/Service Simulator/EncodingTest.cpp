#include "SimulatorTest.h"

using simulator::BodyEncoding;

namespace {

/// The forms of a body.
class Encodings : public SimulatorTest {
protected:
    Outcome get(BodyEncoding encoding, const std::string& body, bool decodes = true) {
        service.answer("/x", {.body = body, .encoding = encoding});
        return client.perform({.url = url("/x"), .mostBytes = 134217728, .decodes = decodes});
    }
};

} // namespace

TEST_F(Encodings, AChunkedBodyArrivesWhole) {
    const std::string body(5000, 'x');
    const Outcome outcome = get(BodyEncoding::Chunked, body);
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.header("Transfer-Encoding"), "chunked");
    EXPECT_EQ(outcome.header("Content-Length"), std::nullopt);
    EXPECT_EQ(outcome.body, body);
    EXPECT_EQ(get(BodyEncoding::Chunked, "").body, "");
}

TEST_F(Encodings, ACompressedBodyArrivesWhole) {
    const std::string body(5000, 'x');
    const Outcome outcome = get(BodyEncoding::Gzip, body);
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.header("Content-Encoding"), "gzip");
    EXPECT_EQ(outcome.body, body);
    EXPECT_LT(get(BodyEncoding::Gzip, body, false).body.size(), 100U);
}

TEST_F(Encodings, ACompressionBombIsSmallUntilItIsInflated) {
    EXPECT_LT(get(BodyEncoding::CompressionBomb, "{}", false).body.size(), 70'000U);
    const Outcome outcome = get(BodyEncoding::CompressionBomb, "{}");
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.body.size(), 2U + 64U * 1024U * 1024U);
    EXPECT_EQ(outcome.body.substr(0, 4), "{}  ");
}

TEST_F(Encodings, TheTypeInTheHeadersGoesBeforeTheUsualOne) {
    service.answer("/x",
                   {.headers = {{"content-type", "text/html"}, {"X-More", "1"}}, .body = "x"});
    const Outcome outcome = client.get(url("/x"));
    EXPECT_EQ(outcome.header("Content-Type"), "text/html");
    EXPECT_EQ(outcome.header("X-More"), "1");
}

TEST_F(Encodings, AnAnswerWithoutContentHasNoType) {
    service.answer("/x", {.status = 204});
    const Outcome outcome = client.get(url("/x"));
    EXPECT_EQ(outcome.code, CURLE_OK) << outcome.error;
    EXPECT_EQ(outcome.status, 204);
    EXPECT_EQ(outcome.header("Content-Type"), std::nullopt);
}

TEST_F(Encodings, ABodyIsCompressedOnDemandOnly) {
    const Outcome outcome = get(BodyEncoding::Identity, std::string(5000, 'x'));
    EXPECT_EQ(outcome.header("Content-Encoding"), std::nullopt);
    EXPECT_EQ(outcome.header("Content-Length"), "5000");
}

TEST_F(Encodings, ABodyIsWholeAlsoWhenARangeIsAskedFor) {
    service.answer("/x", {.body = "0123456789"});
    const Outcome outcome = client.perform({.url = url("/x"), .headers = {"Range: bytes=0-1"}});
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.body, "0123456789");
}
