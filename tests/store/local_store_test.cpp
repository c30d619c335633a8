// The durable JSON store: what it writes, what it refuses, and what it never touches.
#include "store/local_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "model/app_state.h"
#include "model/kelo_error.h"
#include "store/data_directory.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::TempDir;
using testing::writeFile;

AppState sampleState() {
    AppState state;
    state.projects.push_back(Project::make("Bài Đăng 50% #2", "/home/d/Projects/Bài Đăng 50% #2\nx"));
    state.ignored = {"b", "a"};
    state.settings.displayName = "Lan";
    return state;
}

TEST(LocalStoreTest, MissingFileGivesDefaultAndSaveMakesOnePrivateDocument) {
    TempDir dir;
    LocalStore<AppState> store(dir / "nested" / "folders" / "state.json");
    int made = 0;
    EXPECT_EQ(store.load([&] { return ++made, AppState{}; }), AppState{});
    EXPECT_EQ(made, 1);
    EXPECT_FALSE(std::filesystem::exists(dir / "nested")) << "loading creates nothing";

    const AppState state = sampleState();
    store.save(state);
    EXPECT_EQ(store.load([] { return AppState{}; }), state);
    EXPECT_EQ(readFile(store.url()), documentText(state));
    // No temporary file is left beside the store, and only its owner may read it.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(store.url().parent_path()), {}), 1);
    struct stat info {};
    ASSERT_EQ(stat(store.url().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(LocalStoreTest, UnreadableDocumentsAreRefusedAndLeftByteForByte) {
    TempDir dir;
    LocalStore<AppState> store(dir / "state.json");
    for (const std::string& content : {std::string("{\"schemaVersion\": 1,"), std::string(""), std::string("[]"),
                                       std::string("{\"a\":1} trailing")}) {
        writeFile(store.url(), content);
        EXPECT_THROW(store.load([] { return AppState{}; }), DecodingError) << content;
        EXPECT_EQ(readFile(store.url()), content);
    }
}

TEST(LocalStoreTest, FailedSaveKeepsTheOldFile) {
    TempDir dir;
    LocalStore<AppState> store(dir / "state.json");
    store.save(sampleState());
    const std::string before = readFile(store.url());

    // A folder where the parent should be: the save fails, nothing else changes.
    LocalStore<AppState> blocked(dir / "state.json" / "inner.json");
    EXPECT_ANY_THROW(blocked.save(AppState{}));
    EXPECT_EQ(readFile(store.url()), before);
}

TEST(LocalStoreTest, SaveReplacesALinkAtTheStorePathInsteadOfWritingThroughIt) {
    TempDir dir;
    writeFile(dir / "real.json", "{}");
    // Rename over a link replaces the link itself, so this checks the open runs on the
    // renamed file: the new content lands at the store path, not through the link.
    std::filesystem::create_symlink(dir / "real.json", dir / "state.json");
    LocalStore<AppState> store(dir / "state.json");
    store.save(AppState{});
    EXPECT_FALSE(std::filesystem::is_symlink(dir / "state.json"));
    EXPECT_EQ(readFile(dir / "real.json"), "{}");
}

TEST(DataDirectoryTest, OverrideThenEnvironmentThenXdgThenHome) {
    TempDir dir;
    ::setenv("HOME", (dir / "home").c_str(), 1);
    ::unsetenv("KELO_DATA_DIR");
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(locateDataDirectory(), dir / "home" / ".local" / "share" / "Kelo");
    ::setenv("XDG_DATA_HOME", "relative/ignored", 1);
    EXPECT_EQ(locateDataDirectory(), dir / "home" / ".local" / "share" / "Kelo");
    ::setenv("XDG_DATA_HOME", (dir / "xdg").c_str(), 1);
    EXPECT_EQ(locateDataDirectory(), dir / "xdg" / "Kelo");
    ::setenv("KELO_DATA_DIR", (dir / "env").c_str(), 1);
    EXPECT_EQ(locateDataDirectory(), dir / "env");
    EXPECT_EQ(locateDataDirectory(dir / "flag"), dir / "flag");
    EXPECT_FALSE(std::filesystem::exists(dir / "flag"));
    ensureDirectory(dir / "flag" / "deep");
    EXPECT_TRUE(std::filesystem::is_directory(dir / "flag" / "deep"));
    ::unsetenv("KELO_DATA_DIR");
    ::unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace kelo
