// Journal cost per batch: 1,000 operations prepared in one record, then marked
// started and completed one by one, as an execution does. Run once on an empty
// journal and once on a journal holding 20,000 earlier entries; each is printed as a
// ratio to a bare loop that appends and fsyncs records of the same sizes, measured in
// the same run. The fold of the whole journal at the end of an execution is printed
// separately.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_support.h"
#include "operations/operation_journal.h"
#include "store/local_store.h"

using namespace kelo;

namespace {

constexpr int kBatch = 1000;
constexpr int kHistory = 20000;

std::vector<PlannedOperation> makeBatch(int count) {
    const Uuid batch = Uuid::random();
    std::vector<PlannedOperation> ops;
    ops.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        PlannedOperation op;
        op.id = Uuid::random();
        op.batchID = batch;
        op.source = "/home/designer/Downloads/HY-social-post-" + std::to_string(i) + ".png";
        op.destination = "/home/designer/Jobs/Hydro Cafe/Export/HY-social-post-" + std::to_string(i) + ".png";
        op.expected = FileIdentity{2049, 1000000u + static_cast<std::uint64_t>(i), 482133, Date{785000000.25}};
        ops.push_back(op);
    }
    return ops;
}

// A journal document with `count` completed entries, written as a previous session left it.
void writeHistory(const std::filesystem::path& path, int count) {
    JournalDocument document;
    for (int done = 0; done < count; done += kBatch) {
        for (const PlannedOperation& op : makeBatch(kBatch))
            document.entries.push_back(JournalEntry{op, Date{780000000}, OperationStatus::completed, {}, {}});
    }
    LocalStore<JournalDocument>(path).save(document);
}

struct Cycle {
    double seconds = 0;
    std::uintmax_t prepareBytes = 0;
    std::uintmax_t markBytes = 0;
    double checkpointSeconds = 0;
};

Cycle runCycle(const std::filesystem::path& folder, int history) {
    const auto path = folder / "journal.json";
    if (history > 0) writeHistory(path, history);
    OperationJournal journal(path);
    const auto ops = makeBatch(kBatch);
    Cycle cycle;
    cycle.seconds = bench::timeOf([&] {
        journal.prepare(ops);
        cycle.prepareBytes = std::filesystem::file_size(journal.logUrl());
        for (const auto& op : ops) {
            journal.mark(op.id, OperationStatus::started);
            journal.mark(op.id, OperationStatus::completed);
        }
    });
    cycle.markBytes = (std::filesystem::file_size(journal.logUrl()) - cycle.prepareBytes) / (2 * kBatch);
    cycle.checkpointSeconds = bench::timeOf([&] { journal.checkpoint(); });
    return cycle;
}

// The floor: the same number of appends of the same sizes, each followed by fsync.
double runFloor(const std::filesystem::path& folder, std::uintmax_t prepareBytes, std::uintmax_t markBytes) {
    const auto path = folder / "floor.log";
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) std::exit(2);
    const std::string prepare(prepareBytes, 'p');
    const std::string mark(markBytes, 'm');
    const double seconds = bench::timeOf([&] {
        if (::write(fd, prepare.data(), prepare.size()) < 0 || ::fsync(fd) != 0) std::exit(2);
        for (int i = 0; i < 2 * kBatch; ++i)
            if (::write(fd, mark.data(), mark.size()) < 0 || ::fsync(fd) != 0) std::exit(2);
    });
    ::close(fd);
    return seconds;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
    std::vector<double> floors, empties, fulls, folds;
    for (int round = 0; round < rounds; ++round) {
        bench::ScratchDir emptyDir, fullDir, floorDir;
        // The record sizes come from a first empty-journal cycle; the three measured
        // runs then take turns going first, so that no one always follows the fold.
        const Cycle sizes = runCycle(bench::ScratchDir().path(), 0);
        for (int turn = 0; turn < 3; ++turn) {
            switch ((round + turn) % 3) {
                case 0: empties.push_back(runCycle(emptyDir.path(), 0).seconds); break;
                case 1: {
                    const Cycle full = runCycle(fullDir.path(), kHistory);
                    fulls.push_back(full.seconds);
                    folds.push_back(full.checkpointSeconds);
                    break;
                }
                default: floors.push_back(runFloor(floorDir.path(), sizes.prepareBytes, sizes.markBytes));
            }
        }
    }
    const double floor = bench::median(floors);
    const double empty = bench::median(empties);
    const double full = bench::median(fulls);
    std::printf("journal: %d prepared + %d marks, median of %d rounds\n", kBatch, 2 * kBatch, rounds);
    std::printf("  empty journal          %6.2fx floor\n", empty / floor);
    std::printf("  %d earlier entries  %6.2fx floor   (%.2fx the empty run; aim <= 1.20x)\n", kHistory, full / floor,
                full / empty);
    std::printf("  end-of-run fold of %d entries  %6.2fx floor\n", kHistory + kBatch, bench::median(folds) / floor);
    std::printf("  floor: %d append+fsync of the same record sizes = %.3f s\n", 2 * kBatch + 1, floor);
    return 0;
}
