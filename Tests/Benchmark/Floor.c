/* The least that the upload-URL command's work costs: one secret read from the keyring, and one
   request sent with the TLS library alone, trusting the system's hashed certificates. It is told
   the token, the server and the body instead of decoding anything. */

#include "BareSecret.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static int connectTo(const char* host) {
    const struct addrinfo hints = {.ai_family = AF_INET, .ai_socktype = SOCK_STREAM};
    struct addrinfo* address = NULL;
    if (getaddrinfo(host, "443", &hints, &address) != 0)
        return -1;
    const int connection = socket(address->ai_family, address->ai_socktype, 0);
    const int now = 1; /* or the request would wait for the acknowledgement of the handshake */
    if (connection >= 0 &&
        (setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &now, sizeof now) != 0 ||
         connect(connection, address->ai_addr, address->ai_addrlen) != 0)) {
        close(connection);
        return -1;
    }
    return connection;
}

static SSL* shakeHands(int connection, const char* host) {
    SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, NULL);
    if (SSL_CTX_load_verify_dir(context, "/etc/ssl/certs") != 1)
        return NULL;
    SSL* const session = SSL_new(context);
    if (SSL_set_tlsext_host_name(session, host) != 1 || SSL_set1_host(session, host) != 1 ||
        SSL_set_fd(session, connection) != 1 || SSL_connect(session) != 1)
        return NULL;
    return session;
}

int main(int argc, char** argv) {
    char secret[4096];
    if (argc < 4 || readBareSecret(secret, sizeof secret) == 0)
        return 1;
    const char* const host = argv[1];
    SSL* const session = shakeHands(connectTo(host), host);
    if (session == NULL)
        return 2;

    char request[4096];
    const int length = snprintf(request, sizeof request,
                                "POST /api/my_prints/v1/upload_target? HTTP/1.1\r\nHost: %s\r\n"
                                "Authorization: Bearer %s\r\nContent-Type: application/json\r\n"
                                "x-veltora-client-version: macos-8.114.511.0\r\n"
                                "Content-Length: %zu\r\nConnection: close\r\n\r\n%s",
                                host, argv[2], strlen(argv[3]), argv[3]);
    if (SSL_write(session, request, length) != length)
        return 2;
    char answer[4096];
    for (int read; (read = SSL_read(session, answer, sizeof answer)) > 0;)
        fwrite(answer, 1, (size_t)read, stdout);
    return 0;
}
