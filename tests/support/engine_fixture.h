// EngineFixture: what every engine test starts from, on real folders under a fresh
// temporary folder: a data directory, an inbox "Downloads", a project home
// "Projects", a Trash of its own, and a clock an hour ahead so the files a test
// writes are old enough for every safety check. Never the user's home, data or
// Trash. Engine tests derive from it; each test owns its fixture.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

#include "engine/engine.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo::testing {

class EngineFixture : public ::testing::Test {
protected:
    TempDir dir;
    std::filesystem::path data = dir / "data";
    std::filesystem::path inbox = dir / "Downloads";
    std::filesystem::path home = dir / "Projects";
    std::filesystem::path trashHome = dir / "trash-home";
    Date clockNow = Date::now().adding(3600);

    // Makes the inbox, the Trash's home and the project home with one folder per
    // name (a path such as "Lotus Spa/Export" makes the inner folder too).
    void makeFolders(std::initializer_list<const char*> projects);

    // An engine on `data` with the fixture's clock and Trash.
    std::unique_ptr<Engine> start();
    // The same with the inbox and the project home approved and, when given, the
    // dry-run setting changed.
    std::unique_ptr<Engine> startWithFolders(std::optional<bool> dryRun = std::nullopt);

    static void setDryRun(Engine& engine, bool on);
    // The refusal's sentence, or "" when the action went through.
    static std::string refusal(const std::function<void()>& action) { return refusalOf(action); }
    static bool hasMessage(const Snapshot& snapshot, const std::string& text);
    static const Project* projectNamed(const AppState& state, const std::string& name);
    static const Classification& classificationNamed(const Snapshot& snapshot, const std::string& filename);
    // The score the file has for the project, 0 when it is no candidate.
    static int scoreFor(const Snapshot& snapshot, const std::string& filename, const Uuid& project);
};

// Moves the file's modification time `age` into the past.
void makeOlder(const std::filesystem::path& path, std::chrono::seconds age);

}  // namespace kelo::testing
