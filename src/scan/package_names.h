// Packages: folders that a designer's tools treat as one document or program
// (Photos libraries, Final Cut and Logic projects, applications). They are never
// walked into, filed or trashed as folders. On Linux a package is recognised by
// its folder name's extension alone. Stateless; any thread may call it.
#pragma once

#include <string_view>

namespace kelo {

// True when a folder named `folderName` is a package ("Brand.photoslibrary",
// "Cut.fcpbundle", "Tool.app"); the extension is compared without regard to case.
bool isPackageName(std::string_view folderName);

}  // namespace kelo
