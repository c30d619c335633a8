// The libsecret calls behind AIKeychain. We search without SECRET_SEARCH_UNLOCK and
// look the default collection up without creating it, because both of those would
// make the keyring show a prompt.
#include "ai/ai_keychain.h"

#include <libsecret/secret.h>

#include <memory>

#include "model/kelo_error.h"

namespace kelo::AIKeychain {

namespace {

const SecretSchema* schema() {
    static const SecretSchema kSchema = {
        "app.kelo.gemini",
        SECRET_SCHEMA_DONT_MATCH_NAME,
        {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"account", SECRET_SCHEMA_ATTRIBUTE_STRING}, {nullptr, {}}},
        0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    return &kSchema;
}

template <class T>
struct GObjectFree {
    void operator()(T* object) const { if (object) g_object_unref(object); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectFree<T>>;

struct Attributes {
    GHashTable* table = g_hash_table_new(g_str_hash, g_str_equal);
    Attributes() {
        g_hash_table_insert(table, const_cast<char*>("service"), const_cast<char*>(kService.data()));
        g_hash_table_insert(table, const_cast<char*>("account"), const_cast<char*>(kAccount.data()));
    }
    ~Attributes() { g_hash_table_unref(table); }
};

[[noreturn]] void refuse(std::string_view text) { throw KeloError::unsafe(std::string(text)); }

// The Secret Service with a session open for passing secrets, or nothing.
GObjectPtr<SecretService> service() {
    GError* error = nullptr;
    GObjectPtr<SecretService> found(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error));
    if (error) g_error_free(error);
    return found;
}

struct Search {
    bool ok = false;
    GObjectPtr<SecretItem> item;  // the first match, if any
};

Search find(SecretService* secrets, bool loadSecret) {
    Attributes attributes;
    GError* error = nullptr;
    const auto flags = loadSecret ? SECRET_SEARCH_LOAD_SECRETS : SECRET_SEARCH_NONE;
    GList* items = secret_service_search_sync(secrets, schema(), attributes.table, flags, nullptr, &error);
    Search result;
    if (error) {
        g_error_free(error);
        return result;
    }
    result.ok = true;
    if (items) result.item.reset(SECRET_ITEM(g_object_ref(items->data)));
    g_list_free_full(items, g_object_unref);
    return result;
}

GObjectPtr<SecretService> requireService(std::string_view failure) {
    auto secrets = service();
    if (!secrets) refuse(failure);
    return secrets;
}

}  // namespace

void validate(std::string_view key) {
    if (key.size() < 20 || key.size() > 256) refuse(kAIKeyInvalid);
    for (unsigned char c : key)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-'))
            refuse(kAIKeyInvalid);
}

std::optional<std::string> read() {
    auto secrets = requireService(kAIKeyUnavailable);
    Search found = find(secrets.get(), true);
    if (!found.ok) refuse(kAIKeyUnavailable);
    if (!found.item) return std::nullopt;
    if (secret_item_get_locked(found.item.get())) refuse(kAIKeyUnavailable);
    SecretValue* value = secret_item_get_secret(found.item.get());
    if (!value) refuse(kAIKeyUnavailable);
    gsize length = 0;
    const gchar* bytes = secret_value_get(value, &length);
    std::string key(bytes, length);
    secret_value_unref(value);
    return key;
}

void save(const std::string& key) {
    validate(key);
    auto secrets = requireService(kAIKeySaveFailed);
    Search found = find(secrets.get(), false);
    if (!found.ok) refuse(kAIKeySaveFailed);
    SecretValue* value = secret_value_new(key.data(), static_cast<gssize>(key.size()), "text/plain");
    GError* error = nullptr;
    if (found.item) {
        const bool updated = !secret_item_get_locked(found.item.get()) &&
                             secret_item_set_secret_sync(found.item.get(), value, nullptr, &error);
        secret_value_unref(value);
        if (error) g_error_free(error);
        if (!updated) refuse(kAIKeyUpdateFailed);
        return;
    }
    GObjectPtr<SecretCollection> collection(secret_collection_for_alias_sync(
        secrets.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, &error));
    if (error) g_clear_error(&error);
    GObjectPtr<SecretItem> created;
    if (collection && !secret_collection_get_locked(collection.get())) {
        Attributes attributes;
        created.reset(secret_item_create_sync(collection.get(), schema(), attributes.table, "Kelo Gemini API key",
                                              value, SECRET_ITEM_CREATE_NONE, nullptr, &error));
        if (error) g_clear_error(&error);
    }
    secret_value_unref(value);
    if (!created) refuse(kAIKeySaveFailed);
}

void forget() {
    auto secrets = requireService(kAIKeyForgetFailed);
    for (;;) {
        Search found = find(secrets.get(), false);
        if (!found.ok) refuse(kAIKeyForgetFailed);
        if (!found.item) return;
        if (secret_item_get_locked(found.item.get())) refuse(kAIKeyForgetFailed);  // deleting would prompt
        GError* error = nullptr;
        const bool deleted = secret_item_delete_sync(found.item.get(), nullptr, &error);
        if (error) g_error_free(error);
        if (!deleted) refuse(kAIKeyForgetFailed);
    }
}

}  // namespace kelo::AIKeychain
