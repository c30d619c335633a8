// The sample folders a new user can try Kelo on: an inbox of files named the way
// designers name them for a few clients (some obvious, some ambiguous, some
// unknown) and a project home with those clients' projects. Made in a fresh folder
// of its own, never among the user's files. Engine thread (or any thread before an
// engine exists on them).
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "engine/engine.h"

namespace kelo::SampleFolders {

struct Layout {
    std::filesystem::path root;
    std::filesystem::path inbox;      // "Downloads"
    std::filesystem::path home;       // "Projects"
    std::filesystem::path dataDirectory;
};

// Creates the folders and files under a new folder inside `parent` (the system's
// temporary folder by default). The files look two hours old, so they are settled.
Layout create(const std::filesystem::path& parent = std::filesystem::temp_directory_path());

// Approves the sample inbox and project home in `engine`, gives the projects their
// aliases and recent activity, and returns the first snapshot.
SnapshotPtr approve(Engine& engine, const Layout& layout);

}  // namespace kelo::SampleFolders
