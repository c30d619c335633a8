#include "housekeeping/zip_cleanup_processor.h"

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"

namespace kelo::ZipCleanupProcessor {

std::vector<std::string> run(const std::vector<FileRecord>& files, const std::filesystem::path& root,
                             const std::string& rootID, const ZipCleanupRule& rule, Date now, ZipCleanupLedger& ledger,
                             const std::function<void(const ZipCleanupLedger&)>& persist,
                             const std::function<void(const FileRecord&)>& trash) {
    if (ledger.ruleID != rule.id) throw KeloError::unsafe(std::string(kZipLedgerMismatch));
    ledger.observe(files, root, rootID, now);
    persist(ledger);

    std::vector<std::string> failures;
    for (const auto& file : files) {
        if (!ledger.due(file, rule, root, now)) continue;
        try {
            PathSafety::noSymbolicComponents(file.url);
            bool unchanged = false;
            try {
                unchanged = Metadata::identity(file.url) == file.identity;
            } catch (const std::exception&) {
            }
            if (!unchanged) throw KeloError::unsafe(std::string(kZipChanged));
            trash(file);
            ledger.recordCleanup(file, now);
            persist(ledger);
        } catch (const KeloError& error) {
            failures.push_back(file.filename() + ": " + error.message());
        } catch (const std::exception& error) {
            failures.push_back(file.filename() + ": " + error.what());
        }
    }
    return failures;
}

}  // namespace kelo::ZipCleanupProcessor
