#include "HTTPServer.h"

#include "Compression.h"
#include "Connection.h"
#include "Delivery.h"
#include "OpenSockets.h"

#include <httplib.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace simulator {

namespace {

constexpr std::size_t connectionsAtOnce = 64;
constexpr std::size_t chunkSize = 1024;
constexpr std::size_t bombSize = 67108864;

/// The headers of a request as they came. The library decodes, sorts and adds some.
std::vector<Header> parseHeaders(const std::string& head) {
    constexpr const char* whiteSpace = " \t\r";
    std::vector<Header> headers;
    std::istringstream lines(head);
    std::string line;
    std::getline(lines, line); // the request line
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        const std::size_t first = line.find_first_not_of(whiteSpace, colon + 1);
        const std::size_t last = line.find_last_not_of(whiteSpace);
        headers.emplace_back(line.substr(0, colon), first == std::string::npos
                                                        ? ""
                                                        : line.substr(first, last + 1 - first));
    }
    return headers;
}

/// One request and its answer on a connection: takes down what the library reads, and holds what it
/// writes back until the way to send it is known.
class Exchange : public httplib::Stream {
public:
    explicit Exchange(Connection& connection) : connection_(connection) {}

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    socket_t socket() const override { return connection_.socket(); }

    ssize_t read(char* buffer, std::size_t size) override {
        // Something written before all is read is "100 Continue", which the peer waits for.
        if (!connection_.write(std::exchange(written_, {}))) {
            return -1;
        }
        const std::size_t count = connection_.read({buffer, size});
        if (!headIsWhole_) {
            head_.append(buffer, count);
        }
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* data, std::size_t size) override {
        written_.append(data, size);
        return static_cast<ssize_t>(size);
    }

    /// Called once the headers are read, and before the body is.
    void begin(httplib::Request& request) {
        headIsWhole_ = true;
        SSL_set_app_data(connection_.session(), this);
        request.ssl = connection_.session();
        // On its own the library would decode the body, take forms and their parts out of it,
        // compress the answer and cut it to a range.
        request.headers.erase("Content-Type");
        request.headers.erase("Content-Encoding");
        request.headers.erase("Accept-Encoding");
        request.ranges.clear();
        // Without a length it would read to the end of the connection.
        if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
            request.headers.emplace("Content-Length", "0");
        }
    }

    /// The exchange that the request belongs to.
    static Exchange& of(const httplib::Request& request) {
        return *static_cast<Exchange*>(SSL_get_app_data(request.ssl));
    }

    RecordedRequest recorded(const httplib::Request& request) const {
        return {request.method, request.target, parseHeaders(head_), request.body};
    }

    void setManner(const Answer& manner) { manner_ = manner; }

    /// Sends the answer, if there is one, in the manner set. True when it is whole at the peer.
    bool sendAnswer() { return !written_.empty() && deliver(written_, manner_, connection_); }

private:
    Connection& connection_;
    std::string head_;
    bool headIsWhole_ = false;
    std::string written_;
    Answer manner_;
};

std::string takeContentType(std::vector<Header>& headers) {
    const RecordedRequest lookup{.method = {}, .target = {}, .headers = headers, .body = {}};
    std::erase_if(headers, [](const Header& header) {
        return RecordedRequest{{}, {}, {header}, {}}.value("Content-Type").has_value();
    });
    return lookup.value("Content-Type").value_or("application/json");
}

void setChunks(httplib::Response& response, const std::string& content, const std::string& type) {
    response.set_chunked_content_provider(
        type, [content](std::size_t offset, httplib::DataSink& sink) {
            const std::size_t count = std::min(chunkSize, content.size() - offset);
            if (count == 0) {
                sink.done();
                return true;
            }
            return sink.write(content.data() + offset, count);
        });
}

void fill(httplib::Response& response, const Answer& answer) {
    std::vector<Header> headers = answer.headers;
    const std::string type = takeContentType(headers);
    const std::string content = answer.body.empty() && cutsBody(answer.wire) ? " " : answer.body;
    response.status = answer.status;
    for (const auto& [name, value] : headers) {
        response.headers.emplace(name, value);
    }
    if (answer.encoding == BodyEncoding::Chunked || needsChunks(answer.wire)) {
        setChunks(response, content, type);
    } else if (answer.encoding != BodyEncoding::Identity) {
        const bool isBomb = answer.encoding == BodyEncoding::CompressionBomb;
        response.headers.emplace("Content-Encoding", "gzip");
        response.set_content(gzip(content, isBomb ? bombSize : 0), type);
    } else if (!content.empty()) {
        response.set_content(content, type);
    }
}

} // namespace

class HTTPServer::Implementation : public httplib::Server {
public:
    Implementation(SSL_CTX* context, HTTPServer::Handler handler)
        : context_(context), handler_(std::move(handler)) {
        new_task_queue = [] { return new httplib::ThreadPool(connectionsAtOnce); };
        set_tcp_nodelay(true);
        // The library's own options let two servers share one port.
        set_socket_options([](socket_t socket) {
            const int on = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        });
        // A peer may think as long as it likes.
        set_read_timeout(0);
        set_write_timeout(0);
        set_payload_max_length(std::size_t{1} << 30U);
        answerEverything();
    }

    ~Implementation() override {
        if (thread_.joinable()) {
            stop();
            sockets_.shutDown();
            thread_.join();
        }
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void start(const std::string& address, std::uint16_t wantedPort) {
        const bool bound = wantedPort != 0 ? bind_to_port(address, wantedPort)
                                           : (port_ = bind_to_any_port(address)) > 0;
        if (!bound) {
            throw std::runtime_error("cannot listen on " + address + " port " +
                                     std::to_string(wantedPort));
        }
        port_ = wantedPort != 0 ? wantedPort : port_;
        thread_ = std::thread([this] { listen_after_bind(); });
        // To stop it before that would have no effect.
        while (!is_running()) {
            std::this_thread::yield();
        }
    }

    int port() const { return port_; }

private:
    void answerEverything() {
        const auto answer = [this](const httplib::Request& request, httplib::Response& response) {
            Exchange& exchange = Exchange::of(request);
            const Answer chosen = handler_(exchange.recorded(request));
            exchange.setManner(chosen);
            fill(response, chosen);
        };
        const std::string anything = "[\\s\\S]*";
        Get(anything, answer);
        Post(anything, answer);
        Put(anything, answer);
        Patch(anything, answer);
        Delete(anything, answer);
        Options(anything, answer);
    }

    bool process_and_close_socket(socket_t socket) override {
        sockets_.add(socket);
        serve(socket);
        sockets_.close(socket);
        return true;
    }

    void serve(int socket) {
        Connection connection(context_, socket);
        bool goesOn = connection.handshake();
        while (goesOn) {
            goesOn = serveRequest(connection);
        }
    }

    bool serveRequest(Connection& connection) {
        Exchange exchange(connection);
        bool isLast = false;
        const bool understood = process_request(
            exchange, false, isLast, [&](httplib::Request& request) { exchange.begin(request); });
        const bool sent = exchange.sendAnswer();
        if (sent && (isLast || !understood)) {
            connection.endOrderly();
        }
        return sent && understood && !isLast;
    }

    SSL_CTX* context_;
    HTTPServer::Handler handler_;
    OpenSockets sockets_;
    int port_ = 0;
    std::thread thread_;
};

HTTPServer::HTTPServer(SSL_CTX* context, const std::string& address, std::uint16_t port,
                       Handler handler)
    : implementation_(std::make_unique<Implementation>(context, std::move(handler))) {
    implementation_->start(address, port);
}

HTTPServer::~HTTPServer() = default;

std::uint16_t HTTPServer::port() const {
    return static_cast<std::uint16_t>(implementation_->port());
}

} // namespace simulator
