#include "scan/content_type.h"

#include <gio/gio.h>

namespace kelo {

std::optional<std::string> guessContentType(const char* filename) {
    gboolean uncertain = FALSE;
    gchar* guessed = g_content_type_guess(filename, nullptr, 0, &uncertain);
    if (guessed == nullptr) return std::nullopt;
    std::optional<std::string> type;
    // Without data GIO answers an unknown name with an uncertain generic type;
    // that says nothing about the file.
    if (!(uncertain && g_content_type_is_unknown(guessed))) {
        gchar* mime = g_content_type_get_mime_type(guessed);
        if (mime != nullptr) type = std::string(mime);
        g_free(mime);
    }
    g_free(guessed);
    return type;
}

}  // namespace kelo
