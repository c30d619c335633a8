// StructuredFilename: composes "Job-Purpose-Detail.ext" from three parts the user
// typed. Stateless; any thread may call it.
#pragma once

#include <string>

namespace kelo::StructuredFilename {

// Trims the three parts; each must be a non-empty valid name without ".", "\",
// control characters or a leading "-". Throws KeloError otherwise, or when the
// joined name is not a valid name (over 255 bytes).
std::string make(const std::string& job, const std::string& purpose, const std::string& detail,
                 const std::string& extension);

}  // namespace kelo::StructuredFilename
