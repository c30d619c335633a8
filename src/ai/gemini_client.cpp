#include "ai/gemini_client.h"

#include <curl/curl.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "ai/gemini_payload.h"
#include "model/kelo_error.h"

namespace kelo {

namespace {

using Clock = std::chrono::steady_clock;

bool isHttps(std::string_view url) {
    constexpr std::string_view scheme = "https://";
    if (url.size() <= scheme.size()) return false;
    for (std::size_t i = 0; i < scheme.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(url[i])) != scheme[i]) return false;
    return true;
}

// The key goes into a header line as it is; a line break in it would let it
// write headers of its own.
bool headerSafe(std::string_view key) {
    for (unsigned char c : key)
        if (c < 0x20 || c == 0x7F) return false;
    return !key.empty();
}

bool curlReady() {
    static std::once_flag once;
    static bool ready = false;
    std::call_once(once, [] { ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK; });
    return ready;
}

// Everything the callbacks of one transfer share. Lives on send's stack.
struct Transfer {
    CURL* curl = nullptr;
    const GeminiTransport* transport = nullptr;
    std::stop_token stop;
    std::string body;
    bool headChecked = false;
    bool tooLarge = false;
    bool cancelled = false;
    bool idle = false;
    curl_off_t lastDown = -1, lastUp = -1;
    Clock::time_point lastProgress = Clock::now();
};

// Decided once the head of the answer is in, before any of its body is read: an
// error status is not read further, and a body declared over the limit is refused.
bool headAcceptable(Transfer& t) {
    if (t.headChecked) return true;
    t.headChecked = true;
    long status = 0;
    curl_easy_getinfo(t.curl, CURLINFO_RESPONSE_CODE, &status);
    if (status != 200) return false;
    curl_off_t declared = -1;
    curl_easy_getinfo(t.curl, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &declared);
    t.tooLarge = declared > static_cast<curl_off_t>(GeminiPayload::kResponseLimit);
    return !t.tooLarge;
}

// Each header line arrives here; the empty one ends a head.
std::size_t onHeader(char* data, std::size_t, std::size_t count, void* user) {
    auto& t = *static_cast<Transfer*>(user);
    const std::string_view line(data, count);
    if (line != "\r\n" && line != "\n") return count;
    long status = 0;
    curl_easy_getinfo(t.curl, CURLINFO_RESPONSE_CODE, &status);
    if (status >= 100 && status < 200) return count;  // an interim head ("100 Continue"); the real one follows
    return headAcceptable(t) ? count : 0;
}

// The body arrives here; one byte over the limit stops the transfer on the spot.
std::size_t onBody(char* data, std::size_t, std::size_t count, void* user) {
    auto& t = *static_cast<Transfer*>(user);
    if (!headAcceptable(t)) return 0;
    if (t.body.size() + count > GeminiPayload::kResponseLimit) {
        t.tooLarge = true;
        return 0;
    }
    t.body.append(data, count);
    return count;
}

// libcurl calls this many times a second while the transfer runs, and at least
// once a second while it waits: the place to notice cancellation and a stalled
// connection.
int onProgress(void* user, curl_off_t, curl_off_t down, curl_off_t, curl_off_t up) {
    auto& t = *static_cast<Transfer*>(user);
    if (t.stop.stop_requested()) {
        t.cancelled = true;
        return 1;
    }
    // Until the first byte of the request is out, the connect timeout governs.
    const auto now = Clock::now();
    if (up == 0 && down == 0) {
        t.lastProgress = now;
    } else if (down != t.lastDown || up != t.lastUp) {
        t.lastDown = down;
        t.lastUp = up;
        t.lastProgress = now;
    } else if (now - t.lastProgress > t.transport->idleTimeout) {
        t.idle = true;
        return 1;
    }
    return 0;
}

// Adds the one extra trusted certificate to the store libcurl already loaded
// with the system's certificates.
CURLcode addCertificate(CURL*, void* sslContext, void* user) {
    const auto& file = *static_cast<const std::filesystem::path*>(user);
    std::unique_ptr<FILE, int (*)(FILE*)> in(std::fopen(file.c_str(), "re"), std::fclose);
    if (!in) return CURLE_SSL_CACERT_BADFILE;
    std::unique_ptr<X509, void (*)(X509*)> cert(PEM_read_X509(in.get(), nullptr, nullptr, nullptr), X509_free);
    X509_STORE* store = SSL_CTX_get_cert_store(static_cast<SSL_CTX*>(sslContext));
    if (!cert || !store || X509_STORE_add_cert(store, cert.get()) != 1) return CURLE_SSL_CACERT_BADFILE;
    return CURLE_OK;
}

GeminiFailure failure(GeminiFailureKind kind, std::string detail, long status = 0) {
    return GeminiFailure{kind, status, std::move(detail)};
}

struct CurlDeleter {
    void operator()(CURL* c) const { curl_easy_cleanup(c); }
};
struct HeaderListDeleter {
    void operator()(curl_slist* l) const { curl_slist_free_all(l); }
};

GeminiClient::Result outcome(CURLcode result, const Transfer& t, const char* errorText) {
    long status = 0;
    curl_easy_getinfo(t.curl, CURLINFO_RESPONSE_CODE, &status);
    if (t.cancelled) return failure(GeminiFailureKind::cancelled, "cancelled");
    if (status == 429) return failure(GeminiFailureKind::quota, "HTTP 429", status);
    if (status != 0 && status != 200)
        return failure(GeminiFailureKind::rejected, "HTTP " + std::to_string(status), status);
    if (t.tooLarge) return failure(GeminiFailureKind::invalidResponse, "response over the size limit");
    if (t.idle) return failure(GeminiFailureKind::network, "no data moved within the idle timeout");
    if (result == CURLE_WEIRD_SERVER_REPLY || result == CURLE_UNSUPPORTED_PROTOCOL)
        return failure(GeminiFailureKind::invalidResponse, errorText[0] ? errorText : curl_easy_strerror(result));
    if (result != CURLE_OK)
        return failure(GeminiFailureKind::network, errorText[0] ? errorText : curl_easy_strerror(result));
    if (status != 200) return failure(GeminiFailureKind::invalidResponse, "not an HTTP response");
    return t.body;
}

}  // namespace

std::string GeminiTransport::url() const {
    std::string base = baseUrl;
    while (!base.empty() && base.back() == '/') base.pop_back();
    return base + std::string(GeminiPayload::kEndpointPath);
}

GeminiTransport GeminiTransport::fromEnvironment() {
    GeminiTransport transport;
    if (const char* endpoint = std::getenv("KELO_GEMINI_ENDPOINT"); endpoint && *endpoint) {
        if (!isHttps(endpoint)) throw KeloError::unsafe(std::string(kHttpsOnlyText));
        transport.baseUrl = endpoint;
    }
    if (const char* ca = std::getenv("KELO_GEMINI_CA_FILE"); ca && *ca) transport.extraCertificate = ca;
    return transport;
}

namespace GeminiClient {

Result send(std::string_view body, std::string_view key, const GeminiTransport& transport, std::stop_token stop) {
    const std::string url = transport.url();
    if (!isHttps(url)) return failure(GeminiFailureKind::network, std::string(kHttpsOnlyText));
    if (!headerSafe(key)) return failure(GeminiFailureKind::network, "the key cannot be sent in a header");
    if (stop.stop_requested()) return failure(GeminiFailureKind::cancelled, "cancelled before sending");
    if (!curlReady()) return failure(GeminiFailureKind::network, "libcurl could not start");

    std::unique_ptr<CURL, CurlDeleter> curl(curl_easy_init());
    if (!curl) return failure(GeminiFailureKind::network, "libcurl could not start");
    // The header list holds the key; libcurl keeps only a pointer to it.
    curl_slist* headers = nullptr;
    for (const std::string& line :
         {std::string("Content-Type: application/json"), "x-goog-api-key: " + std::string(key),
          // A large body would otherwise wait for "100 Continue" first.
          std::string("Expect:")})
        headers = curl_slist_append(headers, line.c_str());
    std::unique_ptr<curl_slist, HeaderListDeleter> headerList(headers);
    if (!headers) return failure(GeminiFailureKind::network, "out of memory");

    Transfer t;
    t.curl = curl.get();
    t.transport = &transport;
    t.stop = std::move(stop);
    char errorText[CURL_ERROR_SIZE] = {};
    CURL* c = curl.get();
    curl_easy_setopt(c, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(c, CURLOPT_URL, url.c_str());
    curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(c, CURLOPT_REDIR_PROTOCOLS_STR, "https");
    curl_easy_setopt(c, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(c, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_POST, 1L);
    curl_easy_setopt(c, CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(c, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(c, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(c, CURLOPT_USERAGENT, "Kelo");
    curl_easy_setopt(c, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(c, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(transport.idleTimeout.count()));
    curl_easy_setopt(c, CURLOPT_TIMEOUT_MS, static_cast<long>(transport.resourceTimeout.count()));
    curl_easy_setopt(c, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(c, CURLOPT_HEADERDATA, &t);
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(c, CURLOPT_WRITEDATA, &t);
    curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(c, CURLOPT_XFERINFODATA, &t);
    if (transport.extraCertificate) {
        curl_easy_setopt(c, CURLOPT_SSL_CTX_FUNCTION, addCertificate);
        curl_easy_setopt(c, CURLOPT_SSL_CTX_DATA, &*transport.extraCertificate);
    }
    const CURLcode result = curl_easy_perform(c);
    return outcome(result, t, errorText);
}

Result send(std::string_view body, std::string_view key, std::stop_token stop) {
    return send(body, key, GeminiTransport::fromEnvironment(), std::move(stop));
}

}  // namespace GeminiClient

}  // namespace kelo
