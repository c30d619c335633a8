// Round trips and strict reading of the persisted records, the encodings of values
// inside them (file URLs, UUIDs, base64 and dates), and the shared map they keep.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "model/app_state.h"
#include "model/category.h"
#include "model/date.h"
#include "model/encoding.h"
#include "model/file_record.h"
#include "model/settings.h"
#include "model/shared_map.h"
#include "model/uuid.h"

namespace kelo {
namespace {

template <class T>
T reread(const T& value) {
    return decodeValue<T>(parseDocument(formatDocument(encodeValue(value))));
}

AppState richState() {
    AppState state;
    Project project = Project::make("Hydro Café", "/home/d/Dự án/Hydro Café #1 100%\nnew", {"HY", "hydrocafe"},
                                    ProjectStatus::dormant, Date{700000000.125});
    project.lastActivity = Date{700000100.5};
    project.folderColor = "blue";
    project.folderArtwork = Json{{"kind", "emoji"}, {"value", "☕"}, {"scale", 1.5}};
    project.folderArtworkFull = true;
    project.folderStickers = Json::array({Json{{"x", 1}, {"symbol", "star"}}});
    project.folderSkin = "paper";
    project.customSkinData = Bytes{0, 1, 2, 254, 255, 10};
    state.projects.push_back(project);
    state.projects.push_back(Project::make("Plain", "/p/Plain"));

    FolderGrant grant{Uuid::random(), Bytes{9, 8, 7}, "~/Downloads", FolderGrant::Role::projectHome};
    state.grants.push_back(grant);

    state.learning.associations.push_back({"hydro", project.id, 2, 1});
    state.learning.feedback.push_back(
        {Uuid::random(), Date{1.5}, "HY post.psd", {"hy", "post"}, project.id, std::nullopt});
    state.assignments["/a/x.pdf|1|2|3|1700000000.0"] = {"/a/x.pdf|1|2|3|1700000000.0", project.id, Category::export_};
    state.ignored = {"f1", "f2"};
    state.ignoredClusters = {"hydro"};
    state.settings.zipCleanupRule = ZipCleanupRule{Uuid::random(), grant.id, Date{5}};
    state.settings.displayName = "Lan";
    state.settings.usagePreset = UsagePreset::design;
    state.settings.namingDetail = "Slide";
    state.settings.onboardingCompleted = true;
    state.settings.groupBySubjob = false;
    state.settings.dryRun = false;
    return state;
}

TEST(RecordsTest, EveryRecordReadsBackEqual) {
    const AppState state = richState();
    EXPECT_EQ(reread(state), state);
    EXPECT_EQ(reread(AppState{}), AppState{});

    FileRecord record{
        "/in/Bài đăng #2 50%.psd", "/in", {16777230, 4231, 5120, Date{1.25}}, Date{0.5}, "image/vnd.adobe.photoshop"};
    EXPECT_EQ(reread(record), record);
    record.contentType.reset();
    EXPECT_EQ(reread(record), record);
}

// state.json is written member by member with its long lists one entry at a time;
// the bytes must be formatDocument's, so a member added to to_json and not to the
// writer (or a layout slip) fails here.
TEST(RecordsTest, StateDocumentIsWrittenInTheStoreForm) {
    AppState state = richState();
    state.learning.associations.push_back({"post", state.projects[1].id, 0, 3});
    state.learning.feedback.push_back(
        {Uuid::random(), Date{2.25}, "bad \xff \"name\".pdf", {}, std::nullopt, state.projects[0].id});
    EXPECT_EQ(documentText(state), formatDocument(encodeValue(state)));
    EXPECT_EQ(documentText(AppState{}), formatDocument(encodeValue(AppState{})));
}

// The stores' layout is nlohmann's own pretty-printing, written without a dump per
// value: text that needs escaping or replacing, numbers at their limits, empty and
// nested containers at every depth must come out byte for byte as its dump does.
TEST(RecordsTest, DocumentLayoutIsNlohmannsPrettyPrinting) {
    Json tricky = Json::object();
    tricky["plain"] = "Report 2024 (final).pdf";
    tricky["escaped"] = "quote \" back \\ tab \t line \n bell \x07 del \x7f";
    tricky["unicode"] = "caf\xc3\xa9 \xe2\x80\x94 \xf0\x9f\x93\x81";
    tricky["invalid"] = "bad \xff\xfe byte";
    tricky["numbers"] = Json::array({0, -1, std::numeric_limits<std::int64_t>::min(),
                                     std::numeric_limits<std::uint64_t>::max(), 0.1, -2.5e-300, 1e300});
    tricky["flags"] = Json::array({true, false, nullptr});
    tricky["empty"] = Json::object({{"array", Json::array()}, {"object", Json::object()}});
    tricky["nested"] = Json::array({Json::array({Json::object({{"k \"\xff", Json::array({1, "two"})}})})});
    tricky["key with spaces \xff"] = "";
    tricky["binary"] = Json::array({Json::binary({1, 2, 3}, 42), Json::binary({})});
    for (const Json& value : {tricky, Json("alone"), Json(7), Json::array(), Json::object()})
        EXPECT_EQ(formatDocument(value), value.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

TEST(RecordsTest, AbsentOptionalsAreLeftOutAndReadAsAbsent) {
    const Project project = Project::make("P", "/p");
    const Json json = encodeValue(project);
    for (const char* key : {"lastActivity", "folderColor", "folderSymbol", "folderArtwork", "folderStickers",
                            "folderSkin", "customSkinData"})
        EXPECT_FALSE(json.contains(key)) << key;
    Json withoutFull = json;
    withoutFull.erase("folderArtworkFull");
    EXPECT_FALSE(decodeValue<Project>(withoutFull).folderArtworkFull);

    Json settings = encodeValue(Settings{});
    EXPECT_EQ(settings["groupBySubjob"], true);  // a new state groups by sub-job
    settings.erase("groupBySubjob");
    const auto read = decodeValue<Settings>(settings);
    EXPECT_FALSE(read.groupBySubjob.has_value());
    EXPECT_TRUE(read.autoGroupBySubjob());
}

TEST(RecordsTest, MissingRequiredKeysOrWrongTypesFailTheWholeRead) {
    const Json good = encodeValue(richState());
    EXPECT_NO_THROW(decodeValue<AppState>(good));
    // Each required key left out (no value), then values of the wrong kind. Each read
    // fails with a DecodingError naming where, never another exception.
    const auto fails = [&](const char* at, const std::optional<Json>& value) {
        Json broken = good;
        const Json::json_pointer pointer(at);
        if (value)
            broken[pointer] = *value;
        else
            broken[pointer.parent_pointer()].erase(pointer.back());
        try {
            decodeValue<AppState>(broken);
        } catch (const DecodingError& error) {
            return error.path();
        }
        ADD_FAILURE() << at << " was read";
        return std::string();
    };
    for (const char* at :
         {"/schemaVersion", "/projects", "/grants", "/learning", "/assignments", "/ignored", "/ignoredClusters",
          "/settings", "/projects/0/id", "/projects/0/name", "/projects/0/destinationFolder", "/projects/0/aliases",
          "/projects/0/status", "/projects/0/createdAt", "/settings/thresholds", "/settings/dryRun", "/settings/debug"})
        fails(at, std::nullopt);
    EXPECT_EQ(fails("/settings/thresholds/ready", std::nullopt), "settings.thresholds.ready");
    fails("/schemaVersion", "1");
    fails("/schemaVersion", 1.5);
    fails("/settings/dryRun", 1);
    fails("/projects/0/status", "paused");
    fails("/projects/0/id", "not-a-uuid");
    fails("/projects/0/destinationFolder", "/no/scheme");
    fails("/grants/0/bookmark", "*not base64*");
    fails("/projects/0/lastActivity", "yesterday");
}

TEST(RecordsTest, CategoryInference) {
    const std::pair<const char*, Category> extensions[] = {
        {"PSD", Category::working},   {"indd", Category::working}, {"Mov", Category::export_},
        {"tiff", Category::export_},  {"woff2", Category::assets}, {"7z", Category::assets},
        {"PDF", Category::reference}, {"", Category::reference},
    };
    for (const auto& [extension, category] : extensions) EXPECT_EQ(Category::infer(extension), category) << extension;
}

TEST(RecordsTest, NormalizeName) {
    EXPECT_EQ(Settings::normalizeName("  Lan \n  Anh  "), "Lan Anh");
    EXPECT_EQ(Settings::normalizeName("Lan\t\u3000Anh"), "Lan Anh");
    EXPECT_EQ(Settings::normalizeName(" \n\t "), std::nullopt);
    EXPECT_EQ(Settings::normalizeName(std::string(60, 'x')), std::string(40, 'x'));
    // 41 user-perceived characters, each "e" + combining circumflex + combining acute.
    std::string stacked;
    for (int i = 0; i < 41; ++i) stacked += "e\u0302\u0301";
    const auto cut = Settings::normalizeName(stacked);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->size(), stacked.size() / 41 * 40);
}

TEST(RecordsTest, NamingDetailFallsBackToPresetThenTep) {
    Settings settings;
    EXPECT_EQ(settings.suggestedNamingDetail(), "Tep");
    for (const auto& [preset, detail] :
         {std::pair{UsagePreset::study, "Bai"}, std::pair{UsagePreset::design, "Post"}}) {
        settings.usagePreset = preset;
        EXPECT_EQ(settings.suggestedNamingDetail(), detail);
    }
    settings.namingDetail = "Slide";
    EXPECT_EQ(settings.suggestedNamingDetail(), "Slide");
}

TEST(RecordsTest, FingerprintNamesPathIdentityAndModificationTime) {
    const FileIdentity identity{16777230, 4231, 5120, Date::fromUnix(1700000000.25)};
    EXPECT_EQ((FileRecord{"/Users/a/Downloads/x.pdf", "/Users/a/Downloads", identity, {}, {}}.fingerprint()),
              "/Users/a/Downloads/x.pdf|16777230|4231|5120|1700000000.25");
    for (const auto& [name, extension] :
         {std::pair{"/a/Photo.JPG", "jpg"}, {"/a/archive.tar.gz", "gz"}, {"/a/README", ""}, {"/a/.hidden", ""}})
        EXPECT_EQ((FileRecord{name, "/a", {}, {}, {}}.fileExtension()), extension) << name;
}

TEST(EncodingTest, FileUrlsRoundTripEveryByteANameCanHold) {
    std::string everyByte = "/";
    for (int c = 1; c < 256; ++c)
        if (c != '/') everyByte += static_cast<char>(c);
    for (const std::string& path : {std::string("/home/d/Bài Đăng #1 100%.psd"), std::string("/a/new\nline?x=1&y"),
                                    std::string("/a/\xff\xfe invalid utf8"), everyByte}) {
        const std::string url = fileUrl(path);
        EXPECT_EQ(url.rfind("file:///", 0), 0u) << url;
        EXPECT_EQ(url.find(' '), std::string::npos);
        EXPECT_EQ(url.find('#'), std::string::npos);
        ASSERT_TRUE(pathFromFileUrl(url)) << url;
        EXPECT_EQ(pathFromFileUrl(url)->native(), path);
    }
    EXPECT_EQ(fileUrl("/a b/c"), "file:///a%20b/c");
    for (const char* url : {"/a/b", "file://relative", "file:///bad%zz", "file:///cut%4", "file:///nul%00byte"})
        EXPECT_FALSE(pathFromFileUrl(url)) << url;
}

TEST(EncodingTest, Base64RoundTripsAllLengths) {
    Bytes bytes;
    for (int n = 0; n < 10; ++n) {
        auto text = base64Encode(bytes);
        auto back = base64Decode(text);
        ASSERT_TRUE(back) << text;
        EXPECT_EQ(*back, bytes);
        bytes.push_back(static_cast<std::uint8_t>(250 + n));
    }
    EXPECT_EQ(base64Encode(Bytes{'M', 'a'}), "TWE=");
    EXPECT_FALSE(base64Decode("abc"));
    EXPECT_FALSE(base64Decode("a*c="));
}

TEST(EncodingTest, UuidTextIsUpperCaseAndParsesEitherCase) {
    const Uuid id = Uuid::random();
    const std::string text = id.text();
    ASSERT_EQ(text.size(), 36u);
    EXPECT_EQ(text[14], '4');  // version 4
    for (char c : text) EXPECT_FALSE(c >= 'a' && c <= 'z') << text;
    EXPECT_EQ(Uuid::parse(text), id);
    std::string lower = text;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_EQ(Uuid::parse(lower), id);
    EXPECT_FALSE(Uuid::parse("E621E1F8C36C495A93FC0C247A3E6E5F"));
    EXPECT_FALSE(Uuid::parse("G621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
    EXPECT_NE(Uuid::random(), Uuid::random());
}

TEST(EncodingTest, DatesCountFrom2001AndPrintShortest) {
    EXPECT_DOUBLE_EQ(Date::fromUnix(978307200).sinceReference, 0);
    EXPECT_DOUBLE_EQ(Date::fromTimespec(978307201, 250000000).sinceReference, 1.25);
    EXPECT_EQ(shortestDecimal(1700000000.0), "1700000000.0");
    EXPECT_EQ(shortestDecimal(1700000000.25), "1700000000.25");
    EXPECT_EQ(shortestDecimal(0.1), "0.1");
    EXPECT_EQ(shortestDecimal(-3), "-3.0");
}

// Copies share shards: a write to one copy must never show through the other, and
// equality and the changed-shard walk must agree with the contents.
TEST(SharedMapTest, CopiesShareShardsButNeverWritesAndCompareByContent) {
    SharedMap<int> a;
    for (int i = 0; i < 1000; ++i) a[std::to_string(i)] = i;
    const SharedMap<int> b = a;
    a["7"] = 70;
    EXPECT_EQ(a.erase("8"), 1u);
    EXPECT_EQ(a.erase("missing"), 0u);
    EXPECT_EQ(a.eraseIf([](const auto& entry) { return entry.second >= 990; }), 10u);
    EXPECT_EQ(*b.find("7"), 7);
    EXPECT_TRUE(b.contains("8") && b.contains("995"));
    EXPECT_EQ(b.size(), 1000u);
    EXPECT_EQ(a.size(), 989u);
    EXPECT_EQ(a.find("8"), nullptr);

    std::size_t changed = 0;
    SharedMap<int>::forEachChangedShard(b, a, [&](const auto&, const auto&) { ++changed; });
    EXPECT_GE(changed, 2u);
    EXPECT_LE(changed, 12u);  // only the shards of the keys written
    EXPECT_FALSE(a == b);
    SharedMap<int> rebuilt(a.toMap());  // other shards, same contents
    EXPECT_TRUE(rebuilt == a);
    rebuilt["7"] = 7;
    EXPECT_FALSE(rebuilt == a);
}

}  // namespace
}  // namespace kelo
