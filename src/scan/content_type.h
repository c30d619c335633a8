// The content type of a file, guessed from its name alone by shared-mime-info
// through GIO. Reading no data keeps a scan of a large inbox as cheap as listing
// it. Any thread may call it.
#pragma once

#include <optional>
#include <string>

namespace kelo {

// The MIME type for the NUL-terminated `filename` ("application/pdf"), or nothing
// when GIO cannot tell from the name. Called once per file of every scan.
std::optional<std::string> guessContentType(const char* filename);

}  // namespace kelo
