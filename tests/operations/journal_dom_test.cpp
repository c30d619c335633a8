// The fast readers of "journal.json" and "state.json" must give exactly what
// decodeValue gives for the same text: the same records, or the same refusal.
#include "operations/journal_dom.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "model/app_state_dom.h"

namespace kelo {
namespace {

template <class T>
using Verdict = std::variant<T, std::string>;

template <class T, class Decode>
Verdict<T> verdict(Decode decode) {
    try {
        return decode();
    } catch (const DecodingError& error) {
        return std::string(error.what());
    }
}

// Decodes `text` both ways and expects one verdict; returns it.
template <class T, class Fast>
Verdict<T> sameVerdict(const std::string& text, Fast fast) {
    const auto slow = verdict<T>([&] { return decodeValue<T>(parseDocument(text)); });
    const auto quick = verdict<T>([&] { return fast(ParsedDocument(text)); });
    EXPECT_EQ(quick, slow) << text.substr(0, 400);
    return quick;
}

JournalDocument sampleJournal() {
    const Uuid batch = Uuid::random();
    const FileIdentity identity{3, 77, 12, Date{5.25}};
    const PlannedOperation moved{
        Uuid::random(),      batch, "/Inbox/Khách ảnh 50%.png", "/Jobs/A/Export/Khách ảnh 50%.png", identity,
        OperationType::move, {}};
    const PlannedOperation undone{Uuid::random(),      batch,   "/Jobs/A/x.psd", "/Inbox/x.psd", std::nullopt,
                                  OperationType::undo, moved.id};
    return JournalDocument{1,
                           {{moved, Date{10.5}, OperationStatus::completed, std::nullopt, std::nullopt},
                            {undone, Date{11}, OperationStatus::failed, "Left alone.", OperationOutcome::skipped}}};
}

// Replaces the first `from` in `text` with `to`.
std::string edited(std::string text, const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(JournalDomTest, ReadsJournalsAsDecodeValueDoesAndRefusesWithItsText) {
    const JournalDocument journal = sampleJournal();
    const std::string text = documentText(journal);
    EXPECT_EQ(sameVerdict<JournalDocument>(text, decodeJournalDocument), Verdict<JournalDocument>(journal));

    const std::pair<std::string, std::string> edits[] = {
        {"\"status\": \"completed\"", "\"status\": \"finished\""},                            // unknown raw value
        {"\"status\": \"completed\"", "\"status\": \"planned\", \"status\": \"completed\""},  // the last wins
        {"\"size\": 12", "\"size\": -12"},                                                    // unsigned below zero
        {"\"inode\": 77", "\"inode\": 18446744073709551615"},                                 // the largest unsigned
        {"\"inode\": 77", "\"inode\": 77.5"},                                                 // a fraction
        {"\"timestamp\": 10.5", "\"timestamp\": 10"},                                         // a whole date
        {"\"error\": \"Left alone.\"", "\"error\": null"},                                    // optional null
        {"\"source\": \"file:///Inbox", "\"source\": null, \"x\": \"file:///Inbox"},          // required null
        {"\"destination\": \"file://", "\"destination\": \"http://"},                         // not a file URL
        {"\"id\": \"", "\"id\": \"not-a-uuid\", \"y\": \""},                                  // bad UUID
        {"\"schemaVersion\": 1", "\"schemaVersion\": 9223372036854775808"},                   // too big an integer
        {"\"entries\": [", "\"entries\": {\"a\": 1}, \"z\": ["},                              // wrong container
    };
    for (const auto& [from, to] : edits) sameVerdict<JournalDocument>(edited(text, from, to), decodeJournalDocument);
    sameVerdict<JournalDocument>("[]", decodeJournalDocument);

    // The version alone, as nlohmann reads it: the last of a repeated key, nothing when it is not a number.
    EXPECT_EQ(journalVersion(ParsedDocument(R"({"schemaVersion": 1, "schemaVersion": 2})")), 2);
    EXPECT_EQ(journalVersion(ParsedDocument(R"({"schemaVersion": 2, "schemaVersion": "1"})")), std::nullopt);
    EXPECT_EQ(journalVersion(ParsedDocument("[1]")), std::nullopt);
}

TEST(JournalDomTest, ReadsStateAsDecodeValueDoesAndRefusesWithItsText) {
    AppState state;
    state.projects.push_back(Project::make("Lotus Spa", "/Jobs/Lotus Spa", {"lotus"}, ProjectStatus::active, Date{1}));
    const Uuid project = state.projects.front().id;
    state.learning.associations.push_back({"lotus", project, 3, 1});
    state.learning.feedback.push_back({Uuid::random(), Date{4}, "lotus menu.png", {"lotus", "menu"}, project, {}});
    state.learning.feedback.push_back({Uuid::random(), Date{5.5}, "x.png", {}, std::nullopt, project});
    state.assignments["fp-1"] = Assignment{"fp-1", project, Category::export_};
    state.ignored = {"fp-2"};
    const std::string text = documentText(state);
    EXPECT_EQ(sameVerdict<AppState>(text, decodeAppState), Verdict<AppState>(state));

    const std::pair<std::string, std::string> edits[] = {
        {"\"confirmations\": 3", "\"confirmations\": 3.5"},
        {"\"token\": \"lotus\"", "\"token\": \"lotus\", \"token\": \"spa\""},
        {"\"menu\"", "7"},
        {"\"category\": \"", "\"category\": \"nowhere\", \"w\": \""},
        {"\"fp-1\": {", "\"fp-1\": {}, \"fp-1\": {"},
        {"\"name\": \"Lotus Spa\"", "\"name\": 5"},
    };
    for (const auto& [from, to] : edits) sameVerdict<AppState>(edited(text, from, to), decodeAppState);
}

}  // namespace
}  // namespace kelo
