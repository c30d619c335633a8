#include "support/engine_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace kelo::testing {

namespace fs = std::filesystem;

void EngineFixture::makeFolders(std::initializer_list<const char*> projects) {
    for (const fs::path& folder : {inbox, trashHome, home}) fs::create_directories(folder);
    for (const char* project : projects) fs::create_directories(home / project);
}

std::unique_ptr<Engine> EngineFixture::start() {
    Clock clock = [this] { return clockNow; };
    return std::make_unique<Engine>(data, clock, Trash::Environment{trashHome, ::getuid(), clock});
}

std::unique_ptr<Engine> EngineFixture::startWithFolders(std::optional<bool> dryRun) {
    auto engine = start();
    engine->addGrant(inbox, FolderGrant::Role::watch);
    engine->addGrant(home, FolderGrant::Role::projectHome);
    if (dryRun) setDryRun(*engine, *dryRun);
    return engine;
}

void EngineFixture::setDryRun(Engine& engine, bool on) {
    Settings settings = engine.state().settings;
    settings.dryRun = on;
    engine.updateSettings(settings);
}

bool EngineFixture::hasMessage(const Snapshot& snapshot, const std::string& text) {
    return std::ranges::find(snapshot.messages, text) != snapshot.messages.end();
}

const Project* EngineFixture::projectNamed(const AppState& state, const std::string& name) {
    const auto found = std::ranges::find(state.projects, name, &Project::name);
    return found == state.projects.end() ? nullptr : &*found;
}

const Classification& EngineFixture::classificationNamed(const Snapshot& snapshot, const std::string& filename) {
    for (const auto& c : *snapshot.classifications)
        if (c.file.filename() == filename) return c;
    throw std::runtime_error("no classification for " + filename);
}

int EngineFixture::scoreFor(const Snapshot& snapshot, const std::string& filename, const Uuid& project) {
    for (const auto& candidate : classificationNamed(snapshot, filename).candidates)
        if (candidate.projectID == project) return candidate.score;
    return 0;
}

void makeOlder(const fs::path& path, std::chrono::seconds age) {
    fs::last_write_time(path, fs::last_write_time(path) - age);
}

}  // namespace kelo::testing
