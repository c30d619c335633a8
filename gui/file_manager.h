// Showing a file to the user outside Kelo: opening it with the desktop's default
// application, and showing it selected in the file manager through the freedesktop
// FileManager1 interface on the session bus, falling back to opening its folder
// when no file manager answers. Nothing here changes a file. Main thread only.
#pragma once

#include <filesystem>

namespace kelo::gui::FileManager {

bool openWithDefaultApp(const std::filesystem::path& file);
// True when a file manager took the request over D-Bus; false when the folder was
// opened instead (or nothing could be opened).
bool showInFolder(const std::filesystem::path& file);

}  // namespace kelo::gui::FileManager
