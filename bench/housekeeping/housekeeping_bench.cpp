// The housekeeping features against the tools people already use, on the same
// folders in the same run:
//   duplicates: DuplicateFinder::groups over a generated project of 20,000 files
//     (about 5 GB; log-normal sizes; 15% are copies of another file; 5% are
//     same-size near-copies that differ only in their last byte), against
//     `jdupes -r -q`, which also confirms byte by byte. The page cache is warm for
//     both (one untimed run each first); the groups found must be the same.
//   handoff: packing a 1 GB project into a stored ZIP with buildHandoffArchive,
//     against `zip -r -0 -q` on the same folder.
// Times are wall-clock (both sides may use every core), rounds alternate which
// side goes first, and every round is printed with the best, median and worst.
// Arguments: [files] [total MB] for the duplicate tree (defaults 20000 5000), then
// "dupes" to measure only the duplicate finder.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "housekeeping/duplicate_finder.h"
#include "housekeeping/handoff_archive.h"
#include "scan/metadata.h"
#include "scan/project_inventory.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

fs::path makeTemporaryFolder(const char* what) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/kelo-bench-" + what + "-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        std::perror("mkdtemp");
        std::exit(1);
    }
    return pattern;
}

// Fast pseudo-random bytes: the contents only need to differ, not to be secure.
void fill(std::string& bytes, std::uint64_t seed) {
    std::uint64_t x = seed * 0x9E3779B97F4A7C15ull + 1;
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        std::memcpy(bytes.data() + i, &x, std::min<std::size_t>(8, bytes.size() - i));
    }
}

void write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        std::exit(1);
    }
}

// The duplicate tree: `count` files in nested folders, `totalMB` in all.
void makeDuplicateTree(const fs::path& root, int count, double totalMB) {
    std::mt19937_64 random(7);
    const double sigma = 1.2;
    const double mean = totalMB * 1e6 / count;
    std::lognormal_distribution<double> sizes(std::log(mean) - sigma * sigma / 2, sigma);
    std::uniform_real_distribution<double> chance(0, 1);
    std::vector<std::pair<fs::path, std::uint64_t>> originals;  // path, seed
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        const fs::path path = root / ("Job " + std::to_string(i % 40)) / ("Export " + std::to_string(i % 7)) /
                              ("file-" + std::to_string(i) + ".bin");
        const double roll = chance(random);
        if (roll < 0.15 && !originals.empty()) {  // a copy of an earlier file
            const auto& [source, seed] = originals[random() % originals.size()];
            fs::create_directories(path.parent_path());
            fs::copy_file(source, path);
            continue;
        }
        const auto size = static_cast<std::size_t>(std::clamp(sizes(random), 1.0, 400e6));
        bytes.resize(size);
        const std::uint64_t seed = random();
        fill(bytes, seed);
        write(path, bytes);
        originals.emplace_back(path, seed);
        if (roll < 0.20) {  // a near-copy: the same size, the last byte differs
            bytes.back() = static_cast<char>(bytes.back() ^ 0x5a);
            write(path.parent_path() / ("near-" + std::to_string(i) + ".bin"), bytes);
            ++i;
        }
    }
}

std::vector<kelo::FileRecord> records(const fs::path& root) {
    std::vector<kelo::FileRecord> out;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file()) out.push_back(kelo::Metadata::record(entry.path(), root));
    return out;
}

using Groups = std::set<std::set<std::string>>;

Groups kelosGroups(const std::vector<kelo::FileRecord>& files) {
    Groups out;
    for (const auto& group : kelo::DuplicateFinder::groups(files)) {
        std::set<std::string> members;
        for (const auto& file : group.files) members.insert(file.url.string());
        out.insert(members);
    }
    return out;
}

void run(const std::string& command) {
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
        std::exit(1);
    }
}

Groups jdupesGroups(const fs::path& root, const fs::path& output) {
    run("jdupes -r -q '" + root.string() + "' > '" + output.string() + "'");
    Groups out;
    std::ifstream in(output);
    std::set<std::string> current;
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) {
            if (!current.empty()) out.insert(current);
            current.clear();
        } else {
            current.insert(line);
        }
    }
    if (!current.empty()) out.insert(current);
    return out;
}

double seconds(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Spread {
    std::vector<double> rounds;
    double best() const { return *std::min_element(rounds.begin(), rounds.end()); }
    double median() const {
        auto sorted = rounds;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
    double worst() const { return *std::max_element(rounds.begin(), rounds.end()); }
};

void report(const char* name, const Spread& spread) {
    std::printf("  %-28s best %7.3f s  median %7.3f s  worst %7.3f s  rounds:", name, spread.best(), spread.median(),
                spread.worst());
    for (double round : spread.rounds) std::printf(" %.3f", round);
    std::printf("\n");
}

// Alternates the two sides for `rounds` rounds, swapping which goes first.
std::pair<Spread, Spread> alternate(int rounds, const std::function<void()>& ours, const std::function<void()>& theirs) {
    Spread a, b;
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            a.rounds.push_back(seconds(ours));
            b.rounds.push_back(seconds(theirs));
        } else {
            b.rounds.push_back(seconds(theirs));
            a.rounds.push_back(seconds(ours));
        }
    }
    return {a, b};
}

bool have(const char* tool) {
    return std::system((std::string("command -v ") + tool + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 20'000;
    const double totalMB = argc > 2 ? std::atof(argv[2]) : 5'000;
    if (!have("jdupes") || !have("zip")) {
        std::fprintf(stderr, "bench_housekeeping needs jdupes and zip (scripts/bench installs them)\n");
        return 1;
    }
    int status = 0;

    {
        const fs::path root = makeTemporaryFolder("dupes");
        std::printf("duplicates: building %d files, %.0f MB in %s\n", count, totalMB, root.c_str());
        makeDuplicateTree(root / "Project", count, totalMB);
        const auto files = records(root / "Project");
        const fs::path output = root / "jdupes.txt";
        // Warm the page cache for both, and check they agree.
        const Groups ours = kelosGroups(files);
        const Groups theirs = jdupesGroups(root / "Project", output);
        std::printf("  %zu files, %zu groups (jdupes: %zu groups): %s\n", files.size(), ours.size(), theirs.size(),
                    ours == theirs ? "same groups" : "GROUPS DIFFER");
        if (ours != theirs) status = 1;
        const auto [kelo, jdupes] = alternate(
            5, [&] { kelosGroups(files); }, [&] { jdupesGroups(root / "Project", output); });
        report("DuplicateFinder::groups", kelo);
        report("jdupes -r -q", jdupes);
        const double ratio = kelo.median() / jdupes.median();
        std::printf("  ratio (median): %.2fx jdupes's time (aim: below 1.0)%s\n", ratio,
                    ratio < 1.0 ? "" : "  MISSED");
        fs::remove_all(root);
    }

    if (argc <= 3 || std::string(argv[3]) != "dupes") {
        const fs::path root = makeTemporaryFolder("handoff");
        const fs::path project = root / "Lotus Spa";
        std::string bytes(4'000'000, '\0');
        for (int i = 0; i < 250; ++i) {  // 1 GB in 250 files of 4 MB over 10 folders
            fill(bytes, static_cast<std::uint64_t>(i) + 1);
            write(project / ("Folder " + std::to_string(i % 10)) / ("artboard-" + std::to_string(i) + ".psd"), bytes);
        }
        std::printf("handoff: 250 files, 1,000 MB in %s\n", project.c_str());
        const fs::path ours = root / "ours.zip";
        const fs::path theirs = root / "theirs.zip";
        auto pack = [&] {
            fs::remove(ours);
            const auto inventory = kelo::ProjectInventory::read(project);
            if (kelo::buildHandoffArchive(inventory, ours, {}, {}) != kelo::ArchiveOutcome::built) std::exit(1);
        };
        auto zip = [&] {
            fs::remove(theirs);
            run("cd '" + root.string() + "' && zip -r -0 -q '" + theirs.string() + "' 'Lotus Spa'");
        };
        pack();
        zip();
        const auto [kelo, zipTimes] = alternate(3, pack, zip);
        report("buildHandoffArchive", kelo);
        report("zip -r -0 -q", zipTimes);
        std::printf("  ratio (median): %.2fx zip's time; archives %.0f MB and %.0f MB\n",
                    kelo.median() / zipTimes.median(), fs::file_size(ours) / 1e6, fs::file_size(theirs) / 1e6);
        fs::remove_all(root);
    }
    return status;
}
