// The content type of a file, guessed from its name alone by shared-mime-info
// through GIO. Reading no data keeps a scan of a large inbox as cheap as listing
// it. Any thread may call it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelo {

// The MIME type for `filename` ("application/pdf"), or nothing when GIO cannot
// tell from the name.
std::optional<std::string> guessContentType(std::string_view filename);

}  // namespace kelo
