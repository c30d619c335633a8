// Sha256Stream: an incremental SHA-256 through OpenSSL that can be copied, so a
// run of identical files is hashed once and forked where their bytes part. One
// thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct evp_md_ctx_st;

namespace kelo {

class Sha256Stream {
public:
    Sha256Stream();
    Sha256Stream(const Sha256Stream& other);
    Sha256Stream& operator=(const Sha256Stream&) = delete;
    Sha256Stream(Sha256Stream&&) noexcept = default;
    Sha256Stream& operator=(Sha256Stream&&) noexcept = default;
    ~Sha256Stream();

    void update(const char* data, std::size_t size);
    std::string hexDigest();  // finishes the stream

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

}  // namespace kelo
