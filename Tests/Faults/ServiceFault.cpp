#include "ServiceFault.h"

#include "BrokenHTTPServer.h"
#include "BrokenServer.h"

using simulator::Answer;
using simulator::BodyEncoding;
using simulator::Certificate;
using simulator::Simulator;
using simulator::Wire;

namespace {

/// The way to the server is broken.
ServiceFault unreachable(const std::string& name, const std::string& server) {
    return {name, Told::noContact, [server](Simulator&, const Operation&) { return server; }};
}

/// The server is no TLS server, or no good one.
ServiceFault brokenHandshake(const std::string& name, const std::string& bytes) {
    const auto server = std::make_shared<BrokenServer>(bytes);
    return {name, Told::noContact,
            [server](Simulator&, const Operation&) { return server->address(); }};
}

ServiceFault certificate(const std::string& name, Certificate certificate) {
    return {name, Told::noContact, [certificate](Simulator& simulator, const Operation&) {
                simulator.presentCertificate(certificate);
                return simulator.server();
            }};
}

/// The answer, changed by the function.
ServiceFault answered(const std::string& name, Told told,
                      const std::function<void(Answer& answer)>& change) {
    return {name, told, [change](Simulator& simulator, const Operation& operation) {
                Answer answer;
                answer.body = operation.answer;
                change(answer);
                simulator.answer(operation.path, answer);
                return simulator.server();
            }};
}

ServiceFault wire(const std::string& name, Wire wire) {
    return answered(name, Told::noContact, [wire](Answer& answer) { answer.wire = wire; });
}

ServiceFault body(const std::string& name, Told told, const std::string& text) {
    return answered(name, told, [text](Answer& answer) { answer.body = text; });
}

ServiceFault status(int status, Told told, const std::string& text = "") {
    const std::string name =
        "status " + std::to_string(status) + (text.empty() ? "" : ", an error");
    return answered(name, told, [status, text](Answer& answer) {
        answer.status = status;
        if (!text.empty() || status == 204)
            answer.body = text;
    });
}

ServiceFault redirect(const std::string& name, const std::string& location) {
    return {name, Told::noContact, [location](Simulator& simulator, const Operation& operation) {
                Answer answer;
                answer.status = 307;
                answer.headers = {{"Location", location.empty() ? operation.path : location}};
                simulator.answer(operation.path, answer);
                return simulator.server();
            }};
}

/// The answer with this in place of the length of its body.
ServiceFault contentLength(const std::string& name, Told told,
                           const std::function<std::string(std::size_t bodySize)>& length) {
    return {name, told, [length](Simulator&, const Operation& operation) {
                static BrokenHTTPServer server;
                server.answerWith("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                                  "Content-Length: " +
                                  length(operation.answer.size()) + "\r\n\r\n" + operation.answer);
                return server.address();
            }};
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

/// A ServerHello of TLS 1.0.
std::string oldProtocol() {
    using namespace std::string_literals;
    return "\x16\x03\x01\x00\x2a\x02\x00\x00\x26\x03\x01"s + std::string(32, 'r') +
           "\x00\x00\x2f\x00"s;
}

constexpr std::size_t depth = 100'000;

} // namespace

const std::vector<ServiceFault>& ServiceFault::all() {
    static const std::vector<ServiceFault> faults = {
        unreachable("the name is not found", "nowhere.invalid"),
        unreachable("the connection is refused", "127.0.0.1:1"),
        unreachable("the network is unreachable", "192.0.2.1"),
        unreachable("no server at all", ""),
        certificate("unknown authority", Certificate::UnknownAuthority),
        certificate("expired certificate", Certificate::Expired),
        certificate("certificate not yet valid", Certificate::NotYetValid),
        certificate("certificate of another host", Certificate::WrongHost),
        brokenHandshake("TLS 1.0", oldProtocol()),
        brokenHandshake("no TLS", "HTTP/1.1 400 Bad Request\r\n\r\n"),
        brokenHandshake("the handshake is cut off", oldProtocol().substr(0, 20)),
        brokenHandshake("the connection is closed at once", ""),
        wire("reset before the answer", Wire::ResetBeforeAnswer),
        wire("reset in the headers", Wire::ResetInHeaders),
        wire("reset in the body", Wire::ResetInBody),
        wire("closed in the body", Wire::CloseInBody),
        wire("a chunk is cut off", Wire::TruncatedChunk),
        wire("the body has no end", Wire::Endless),
        contentLength("a length less than the body's", Told::notResponding,
                      [](std::size_t size) { return std::to_string(size - 1); }),
        contentLength("a length of nothing", Told::notResponding, [](std::size_t) { return "0"; }),
        contentLength("a length greater than the body's", Told::noContact,
                      [](std::size_t size) { return std::to_string(size + 1); }),
        contentLength("a length beyond every range", Told::nothing,
                      [](std::size_t) { return std::string(30, '9'); }),
        contentLength("a length below zero", Told::noContact, [](std::size_t) { return "-1"; }),
        contentLength("a length that is no number", Told::noContact,
                      [](std::size_t) { return "all"; }),
        answered("compression bomb", Told::noContact,
                 [](Answer& answer) { answer.encoding = BodyEncoding::CompressionBomb; }),
        answered("not compressed as it says", Told::noContact,
                 [](Answer& answer) {
                     answer.headers = {{"Content-Encoding", "gzip"}};
                 }),
        answered("slow, a byte at a time", Told::nothing,
                 [](Answer& answer) {
                     answer.wire = Wire::Drip;
                     answer.dripInterval = std::chrono::milliseconds(1);
                 }),
        redirect("a redirect to itself without end", ""),
        redirect("a redirect to plain http", "http://localhost/"),
        redirect("a redirect to a file", "file:///etc/hostname"),
        redirect("a redirect to nowhere", "https://nowhere.invalid/"),
        status(204, Told::notResponding),
        status(404, Told::nothing),
        status(404, Told::ownMessage, R"({"error":{"message":"no"}})"),
        status(500, Told::nothing),
        status(503, Told::ownMessage, R"({"error":{"message":"no"}})"),
        body("nothing", Told::notResponding, ""),
        body("a web page", Told::notResponding, "<!DOCTYPE html><title>Sign in</title>"),
        body("JSON that is cut off", Told::notResponding, R"({"data":{)"),
        body("JSON with something behind it", Told::notResponding, R"({"data":{}} x)"),
        body("text that is not UTF-8", Told::notResponding, "{\"data\":{\"code\":\"\xff\"}}"),
        body("a number beyond every range", Told::notResponding, R"({"data":{"n":1e999}})"),
        body("a string alone", Told::notResponding, R"("data")"),
        body("null", Told::notResponding, "null"),
        body("an empty object", Told::ownMessage, "{}"),
        body("an array", Told::ownMessage, "[]"),
        body("arrays 100,000 deep", Told::ownMessage, repeated("[", depth) + repeated("]", depth)),
        body("objects 100,000 deep", Told::ownMessage,
             repeated(R"({"more":)", depth) + "1" + repeated("}", depth)),
        body("nested 100,000 deep and cut off", Told::notResponding, repeated("[", depth)),
        answered("a byte order mark", Told::nothing,
                 [](Answer& answer) { answer.body.insert(0, "\xef\xbb\xbf"); }),
        answered("members twice, the last in order", Told::nothing,
                 [](Answer& answer) { answer.body.insert(1, R"("data":1,)"); }),
        answered("members twice, the first in order", Told::ownMessage, [](Answer& answer) {
            answer.body.insert(answer.body.size() - 1, R"(,"data":1)");
        })};
    return faults;
}

std::ostream& operator<<(std::ostream& stream, const ServiceFault& fault) {
    return stream << fault.name;
}
