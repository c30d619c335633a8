#include "engine/sample_folders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <system_error>

namespace kelo::SampleFolders {

namespace {

struct SampleProject {
    const char* name;
    std::vector<std::string> aliases;
    bool recentlyActive;
};

const SampleProject kProjects[] = {
    {"Hydro Cafe", {"HY", "hydrocafe"}, true},
    {"Lotus Spa", {"lotus"}, false},
    {"Bamboo Books", {"BB", "bamboo"}, false},
};

struct SampleFile {
    const char* name;
    int minutesOld;  // files of one job arrive together
};

const SampleFile kInbox[] = {
    {"Hydro Cafe social post 3.png", 121}, {"Hydro Cafe social post 4.png", 122},
    {"hydrocafe menu final.pdf", 124},     {"Lotus Spa brochure v2.indd", 240},
    {"lotus price list.pdf", 243},         {"bamboo books cover draft.psd", 400},
    {"hydro lotus collab.psd", 125},       {"IMG_2024_0815.jpg", 600},
    {"Untitled-1.ai", 700},                {"scan0001.pdf", 800},
    {"mango tea label 1.ai", 900},         {"mango tea label 2.ai", 901},
    {"mango tea box.pdf", 903},
};

void writeSample(const std::filesystem::path& path, int minutesOld) {
    std::ofstream(path, std::ios::binary) << "Kelo sample file: " << path.filename().string() << "\n";
    timespec times[2]{};
    clock_gettime(CLOCK_REALTIME, &times[0]);
    times[0].tv_sec -= minutesOld * 60;
    times[1] = times[0];
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0)
        throw std::system_error(errno, std::generic_category(), "Cannot date " + path.string());
}

}  // namespace

Layout create(const std::filesystem::path& parent) {
    std::string pattern = (parent / "kelo-demo-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "Cannot create the sample folders");
    Layout layout{pattern, std::filesystem::path(pattern) / "Downloads", std::filesystem::path(pattern) / "Projects",
                  std::filesystem::path(pattern) / "Kelo data"};
    std::filesystem::create_directories(layout.inbox);
    for (const auto& project : kProjects) std::filesystem::create_directories(layout.home / project.name);
    for (const auto& file : kInbox) writeSample(layout.inbox / file.name, file.minutesOld);
    return layout;
}

SnapshotPtr approve(Engine& engine, const Layout& layout) {
    engine.addGrant(layout.inbox, FolderGrant::Role::watch);
    engine.addGrant(layout.home, FolderGrant::Role::projectHome);
    AppState next = engine.state();
    for (std::size_t i = 0; i < next.projects.size(); ++i) {
        for (const auto& sample : kProjects) {
            if (next.projects[i].name != sample.name) continue;
            Project& project = next.projects.edit(i);
            project.aliases = sample.aliases;
            if (sample.recentlyActive) project.lastActivity = engine.now().adding(-86400);
        }
    }
    engine.commitState(std::move(next));
    engine.invalidateClassifications();
    return engine.snapshot();
}

}  // namespace kelo::SampleFolders
