#include "housekeeping/sha256_stream.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace kelo {

void Sha256Stream::Free::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

Sha256Stream::Sha256Stream() : context_(EVP_MD_CTX_new()) {
    if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("SHA-256 is not available.");
}

Sha256Stream::Sha256Stream(const Sha256Stream& other) : context_(EVP_MD_CTX_new()) {
    if (!context_ || EVP_MD_CTX_copy_ex(context_.get(), other.context_.get()) != 1)
        throw std::runtime_error("SHA-256 state could not be copied.");
}

Sha256Stream::~Sha256Stream() = default;

void Sha256Stream::update(const char* data, std::size_t size) {
    if (size > 0) EVP_DigestUpdate(context_.get(), data, size);
}

std::string Sha256Stream::hexDigest() {
    unsigned char bytes[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_DigestFinal_ex(context_.get(), bytes, &length);
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    text.reserve(length * 2);
    for (unsigned int i = 0; i < length; ++i) {
        text += kHex[bytes[i] >> 4];
        text += kHex[bytes[i] & 0x0f];
    }
    return text;
}

}  // namespace kelo
