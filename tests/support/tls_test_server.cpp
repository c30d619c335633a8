#include "support/tls_test_server.h"

#include <httplib.h>
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "support/shell.h"

namespace kelo::testing {

namespace {

// A fresh P-256 key and a self-signed certificate for 127.0.0.1, valid for a day.
void makeIdentity(const std::filesystem::path& key, const std::filesystem::path& certificate) {
    const ShellRun made = runShell(
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 -subj /CN=127.0.0.1"
        " -addext basicConstraints=critical,CA:TRUE -addext subjectAltName=IP:127.0.0.1,DNS:localhost -keyout '" +
        key.string() + "' -out '" + certificate.string() + "' 2>&1");
    if (!made.ok()) throw std::runtime_error("test server: no certificate: " + made.output);
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

void answer(const CannedResponse& canned, httplib::Response& out) {
    out.status = canned.raw.empty() ? canned.status : 100;
    for (const auto& [name, value] : canned.headers) out.set_header(name, value);
    out.set_header("Connection", "close");
    // An interim head, then the raw bytes where the real response would begin.
    if (!canned.raw.empty()) out.body = canned.raw;
    if (!canned.raw.empty() || canned.body.empty()) return;
    if (!canned.chunked) return out.set_content(canned.body, "application/json");
    out.set_chunked_content_provider("application/json", [body = canned.body](std::size_t, httplib::DataSink& sink) {
        constexpr std::size_t kChunk = 10000;
        for (std::size_t at = 0; at < body.size(); at += kChunk)
            if (!sink.write(body.data() + at, std::min(kChunk, body.size() - at))) return false;
        sink.done();
        return true;
    });
}

}  // namespace

TlsTestServer::TlsTestServer() {
    // A client that stops reading (as a size limit makes it) must not kill the test
    // with SIGPIPE when we write on.
    ::signal(SIGPIPE, SIG_IGN);
    certificate_ = dir_ / "server.pem";
    makeIdentity(dir_ / "key.pem", certificate_);
    server_ = std::make_unique<httplib::SSLServer>(certificate_.c_str(), (dir_ / "key.pem").c_str());
    if (!server_->is_valid()) throw std::runtime_error("test server: TLS context");
    const auto handler = [this](const httplib::Request& in, httplib::Response& out) { handle(in, out); };
    server_->Post(".*", handler);
    server_->Get(".*", handler);
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("test server: listening socket");
    thread_ = std::thread([this] { server_->listen_after_bind(); });
}

TlsTestServer::~TlsTestServer() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    arrived_.notify_all();
    server_->stop();
    thread_.join();
}

void TlsTestServer::respond(const std::string& target, CannedResponse response) {
    std::lock_guard lock(mutex_);
    responses_[target] = std::move(response);
}

void TlsTestServer::onRequest(std::function<void(const ReceivedRequest&)> check) {
    std::lock_guard lock(mutex_);
    onRequest_ = std::move(check);
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

void TlsTestServer::handle(const httplib::Request& in, httplib::Response& out) {
    ReceivedRequest request{in.method, in.target, {}, in.body};
    for (const auto& [name, value] : in.headers) request.headers[lower(name)] = value;
    std::function<void(const ReceivedRequest&)> check;
    {
        std::lock_guard lock(mutex_);
        check = onRequest_;
    }
    if (check) check(request);
    CannedResponse response;
    response.status = 404;
    std::unique_lock lock(mutex_);
    if (auto it = responses_.find(request.target); it != responses_.end()) response = it->second;
    requests_.push_back(std::move(request));
    arrived_.notify_all();
    // A hanging answer holds its connection until the server stops.
    if (response.hang) return arrived_.wait(lock, [this] { return stopping_; });
    lock.unlock();
    answer(response, out);
}

}  // namespace kelo::testing
