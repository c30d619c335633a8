// TlsTestServer: a real HTTPS server (cpp-httplib) on 127.0.0.1 for the tests of
// outgoing requests. It makes its own key and self-signed certificate when it
// starts (with the openssl command, into a PEM file a client can trust), answers
// each request with the canned response registered for its path, and records
// every request it received. Serves on its own threads, which the destructor
// stops and joins.
//
// `respond` and the readers may be called from the test's thread while the
// server runs; `mutex_` guards the responses, the recorded requests and `stopping_`.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/temp_dir.h"

namespace httplib {
class SSLServer;
struct Request;
struct Response;
}  // namespace httplib

namespace kelo::testing {

struct CannedResponse {
    CannedResponse() = default;
    explicit CannedResponse(int status, std::string body = {}) : status(status), body(std::move(body)) {}

    int status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    bool chunked = false;  // no Content-Length: the body comes in chunks
    bool hang = false;     // read the request, then answer nothing until the server stops
    std::string raw;       // when set: an interim "100 Continue" head, then these bytes as they are
};

struct ReceivedRequest {
    std::string method;
    std::string target;                          // path and query as sent
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;
};

class TlsTestServer {
public:
    TlsTestServer();
    ~TlsTestServer();
    TlsTestServer(const TlsTestServer&) = delete;
    TlsTestServer& operator=(const TlsTestServer&) = delete;

    // The answer to every request whose target is `target`; others get a 404.
    void respond(const std::string& target, CannedResponse response);
    // Called on the server's thread with each request as it arrives, before it is
    // recorded or answered: what the test checks there happened before any answer.
    void onRequest(std::function<void(const ReceivedRequest&)> check);

    std::string baseUrl() const { return "https://127.0.0.1:" + std::to_string(port_); }
    int port() const { return port_; }
    const std::filesystem::path& certificateFile() const { return certificate_; }

    std::vector<ReceivedRequest> requests() const;
    // Waits (on a condition variable, not by sleeping) until `count` requests
    // have arrived (for `target` only, when it is not empty); false when `limit`
    // passed first.
    bool waitForRequests(std::size_t count, std::chrono::seconds limit = std::chrono::seconds(20),
                         const std::string& target = {}) const;
    std::size_t requestsFor(const std::string& target) const;

private:
    void handle(const httplib::Request& in, httplib::Response& out);

    TempDir dir_;
    std::filesystem::path certificate_;
    std::unique_ptr<httplib::SSLServer> server_;
    int port_ = 0;

    mutable std::mutex mutex_;
    mutable std::condition_variable arrived_;
    std::map<std::string, CannedResponse> responses_;
    std::vector<ReceivedRequest> requests_;
    std::function<void(const ReceivedRequest&)> onRequest_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace kelo::testing
