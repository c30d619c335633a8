// Applying and resetting a folder icon against a real gvfsd-metadata: the test
// starts its own session bus with dbus-run-session (gvfs is activated on it), with
// HOME and the XDG folders inside a temporary folder, runs the `kelo` command there
// and reads the folders' metadata back with `gio info`, as a file manager would.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/shell.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::runShell;
using testing::writeFile;

bool tool(const char* name) {
    return runShell(std::string("command -v ") + name + " >/dev/null").ok();
}

// The text between "== NAME" and the next "== " line of the script's output.
std::string section(const std::string& output, const std::string& name) {
    const std::string marker = "== " + name + "\n";
    const auto begin = output.find(marker);
    if (begin == std::string::npos) return "(no section " + name + ")";
    const auto start = begin + marker.size();
    return output.substr(start, output.find("== ", start) - start);
}

TEST(FolderIconGvfsTest, ApplyShowsAndResetClearsCustomIconAndLeavesUsersDirectoryFile) {
    if (!tool("dbus-run-session") || !tool("gio") || !fs::exists("/usr/libexec/gvfsd-metadata"))
        GTEST_SKIP() << "dbus-run-session, gio or gvfsd-metadata is not installed (scripts/bootstrap installs them)";
    testing::TempDir dir;
    const fs::path home = dir / "home", projects = dir / "Projects", data = dir / "data", runtime = dir / "run";
    for (const fs::path& folder : {projects / "Lotus", projects / "Mine", home, runtime})
        fs::create_directories(folder);
    fs::permissions(runtime, fs::perms::owner_all);
    const std::string users = "[Desktop Entry]\nIcon=folder-green\n";
    writeFile(projects / "Mine" / ".directory", users);

    const std::string kelo = std::string(KELO_CLI) + " --data-dir '" + data.string() + "'";
    const std::string info = "gio info -a metadata::custom-icon ";
    const std::string script = kelo + " grant add --home '" + projects.string() + "' >/dev/null && " +  //
                               kelo + " artwork Lotus --color red --symbol star && " +                  //
                               kelo + " artwork Mine --skin outline --sticker text=ME && " +            //
                               "echo '== set'; " + info + "Projects/Lotus; " + info + "Projects/Mine; " + kelo +
                               " artwork reset Lotus && " + kelo + " artwork reset Mine && " +  //
                               "echo '== reset'; " + info + "Projects/Lotus; " + info + "Projects/Mine; echo '== end'";
    const std::string environment =
        "cd '" + dir.path().string() + "' && env -u DBUS_SESSION_BUS_ADDRESS -u GIO_USE_VFS HOME='" + home.string() +
        "' XDG_DATA_HOME='" + (home / ".local/share").string() + "' XDG_CONFIG_HOME='" + (home / ".config").string() +
        "' XDG_CACHE_HOME='" + (home / ".cache").string() + "' XDG_RUNTIME_DIR='" + runtime.string() + "' ";
    const auto run = runShell(environment + "timeout 120 dbus-run-session -- sh -c \"" + script + "\" 2>&1");
    ASSERT_TRUE(run.ok()) << run.output;

    // Kelo's icons are in its data directory; both folders point at them, then neither does.
    const std::string set = section(run.output, "set");
    const std::string pointed = "metadata::custom-icon: file://" + (data / "Folder%20icons/").string();
    std::size_t shown = 0;
    for (auto at = set.find(pointed); at != std::string::npos; at = set.find(pointed, at + 1)) ++shown;
    EXPECT_EQ(shown, 2u) << run.output;
    EXPECT_EQ(section(run.output, "reset").find("metadata::custom-icon"), std::string::npos) << run.output;

    // Kelo's own .directory came and went; the user's is byte-identical throughout.
    EXPECT_FALSE(fs::exists(projects / "Lotus" / ".directory"));
    EXPECT_EQ(readFile(projects / "Mine" / ".directory"), users);
    EXPECT_NE(
        run.output.find("GNOME Files, Nemo and Caja now show the project's icon on " + (projects / "Mine").string()),
        std::string::npos)
        << run.output;
    EXPECT_TRUE(fs::exists(home / ".local/share/gvfs-metadata")) << "the test's own metadata database was used";
}

}  // namespace
}  // namespace kelo
