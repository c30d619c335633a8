#include "support/tls_test_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace kelo::testing {

namespace {

void check(bool ok, const char* what) {
    if (!ok) throw std::runtime_error(std::string("test server: ") + what);
}

void addExtension(X509* cert, int nid, const char* value) {
    X509V3_CTX ctx;
    X509V3_set_ctx_nodb(&ctx);
    X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
    X509_EXTENSION* ext = X509V3_EXT_conf_nid(nullptr, &ctx, nid, value);
    check(ext && X509_add_ext(cert, ext, -1) == 1, "certificate extension");
    X509_EXTENSION_free(ext);
}

// A fresh P-256 key and a self-signed certificate for 127.0.0.1, valid for a day.
std::pair<EVP_PKEY*, X509*> makeIdentity() {
    EVP_PKEY* key = EVP_EC_gen("P-256");
    check(key, "key");
    X509* cert = X509_new();
    check(cert, "certificate");
    X509_set_version(cert, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert), 86400);
    X509_set_pubkey(cert, key);
    X509_NAME* name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1,
                               0);
    X509_set_issuer_name(cert, name);
    addExtension(cert, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(cert, NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost");
    check(X509_sign(cert, key, EVP_sha256()) > 0, "signature");
    return {key, cert};
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool writeAll(SSL* ssl, const std::string& data) {
    std::size_t done = 0;
    while (done < data.size()) {
        const int n =
            SSL_write(ssl, data.data() + done, static_cast<int>(std::min<std::size_t>(data.size() - done, 1 << 14)));
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// Reads one request: head up to the blank line, then Content-Length bytes.
bool readRequest(SSL* ssl, ReceivedRequest& request) {
    std::string data;
    char buffer[16384];
    std::size_t headEnd = std::string::npos;
    while ((headEnd = data.find("\r\n\r\n")) == std::string::npos) {
        const int n = SSL_read(ssl, buffer, sizeof buffer);
        if (n <= 0) return false;
        data.append(buffer, static_cast<std::size_t>(n));
    }
    const std::string head = data.substr(0, headEnd);
    std::size_t lineEnd = head.find("\r\n");
    const std::string requestLine = head.substr(0, lineEnd);
    const auto firstSpace = requestLine.find(' ');
    const auto secondSpace = requestLine.find(' ', firstSpace + 1);
    if (firstSpace == std::string::npos || secondSpace == std::string::npos) return false;
    request.method = requestLine.substr(0, firstSpace);
    request.target = requestLine.substr(firstSpace + 1, secondSpace - firstSpace - 1);
    while (lineEnd != std::string::npos && lineEnd < head.size()) {
        const std::size_t start = lineEnd + 2;
        lineEnd = head.find("\r\n", start);
        const std::string line = head.substr(start, lineEnd == std::string::npos ? std::string::npos : lineEnd - start);
        const auto colon = line.find(':');
        if (colon == std::string::npos) continue;
        std::string value = line.substr(colon + 1);
        value.erase(0, value.find_first_not_of(' '));
        request.headers[lower(line.substr(0, colon))] = value;
    }
    std::size_t length = 0;
    if (auto it = request.headers.find("content-length"); it != request.headers.end()) length = std::stoul(it->second);
    request.body = data.substr(headEnd + 4);
    while (request.body.size() < length) {
        const int n = SSL_read(ssl, buffer, sizeof buffer);
        if (n <= 0) return false;
        request.body.append(buffer, static_cast<std::size_t>(n));
    }
    return true;
}

std::string render(const CannedResponse& response) {
    if (!response.raw.empty()) return response.raw;
    std::string out = "HTTP/1.1 " + std::to_string(response.status) + " Canned\r\n";
    for (const auto& [name, value] : response.headers) out += name + ": " + value + "\r\n";
    out += "Content-Type: application/json\r\nConnection: close\r\n";
    if (!response.chunked)
        return out + "Content-Length: " + std::to_string(response.body.size()) + "\r\n\r\n" + response.body;
    out += "Transfer-Encoding: chunked\r\n\r\n";
    constexpr std::size_t kChunk = 10000;
    for (std::size_t at = 0; at < response.body.size(); at += kChunk) {
        const std::string piece = response.body.substr(at, kChunk);
        char size[32];
        std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
        out += size + piece + "\r\n";
    }
    return out + "0\r\n\r\n";
}

}  // namespace

TlsTestServer::TlsTestServer() {
    // A client that stops reading (as a size limit makes it) must not kill the test
    // with SIGPIPE when we write on.
    ::signal(SIGPIPE, SIG_IGN);
    auto [key, cert] = makeIdentity();
    std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> keyOwner(key, EVP_PKEY_free);
    std::unique_ptr<X509, void (*)(X509*)> certOwner(cert, X509_free);
    certificate_ = dir_ / "server.pem";
    std::unique_ptr<FILE, int (*)(FILE*)> out(std::fopen(certificate_.c_str(), "w"), std::fclose);
    check(out && PEM_write_X509(out.get(), cert) == 1, "certificate file");
    out.reset();

    context_ = SSL_CTX_new(TLS_server_method());
    check(context_ && SSL_CTX_use_certificate(context_, cert) == 1 && SSL_CTX_use_PrivateKey(context_, key) == 1,
          "TLS context");

    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    check(listener_ >= 0 && ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
              ::listen(listener_, 16) == 0 &&
              ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) == 0,
          "listening socket");
    port_ = ntohs(address.sin_port);
    check(::pipe2(wake_, O_CLOEXEC) == 0, "wake pipe");
    thread_ = std::thread([this] { serve(); });
}

TlsTestServer::~TlsTestServer() {
    [[maybe_unused]] const auto written = ::write(wake_[1], "x", 1);
    thread_.join();
    ::close(wake_[0]);
    ::close(wake_[1]);
    ::close(listener_);
    SSL_CTX_free(context_);
}

void TlsTestServer::respond(const std::string& target, CannedResponse response) {
    std::lock_guard lock(mutex_);
    responses_[target] = std::move(response);
}

std::vector<ReceivedRequest> TlsTestServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

bool TlsTestServer::waitForRequests(std::size_t count, std::chrono::seconds limit, const std::string& target) const {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, limit, [&] {
        return static_cast<std::size_t>(std::count_if(requests_.begin(), requests_.end(), [&](const auto& r) {
                   return target.empty() || r.target == target;
               })) >= count;
    });
}

std::size_t TlsTestServer::requestsFor(const std::string& target) const {
    std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(requests_.begin(), requests_.end(), [&](const auto& r) { return r.target == target; }));
}

void TlsTestServer::serve() {
    for (;;) {
        pollfd fds[2] = {{listener_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) continue;
        if (fds[1].revents) return;
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        handle(connection);
        ::close(connection);
    }
}

void TlsTestServer::onRequest(std::function<void(const ReceivedRequest&)> check) {
    std::lock_guard lock(mutex_);
    onRequest_ = std::move(check);
}

void TlsTestServer::handle(int connection) {
    // A client that connects and goes quiet must not hold the server forever.
    timeval limit{10, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    std::unique_ptr<SSL, void (*)(SSL*)> ssl(SSL_new(context_), SSL_free);
    SSL_set_fd(ssl.get(), connection);
    if (SSL_accept(ssl.get()) != 1) return;
    ReceivedRequest request;
    if (!readRequest(ssl.get(), request)) return;
    std::function<void(const ReceivedRequest&)> check;
    {
        std::lock_guard lock(mutex_);
        check = onRequest_;
    }
    if (check) check(request);
    CannedResponse response;
    response.status = 404;
    {
        std::lock_guard lock(mutex_);
        if (auto it = responses_.find(request.target); it != responses_.end()) response = it->second;
        requests_.push_back(std::move(request));
    }
    arrived_.notify_all();
    if (response.hang) {
        // Until the client gives up or the server stops.
        pollfd fds[2] = {{connection, POLLIN, 0}, {wake_[0], POLLIN, 0}};
        ::poll(fds, 2, -1);
        return;
    }
    if (writeAll(ssl.get(), render(response))) SSL_shutdown(ssl.get());
}

}  // namespace kelo::testing
