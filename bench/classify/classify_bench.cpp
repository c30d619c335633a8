// Classifying a whole inbox: N files against 500 projects (two aliases each) and
// 5,000 learned associations, the way the engine worker does it: tokenise every file
// once, build the neighbour index and the engine, classify each file with the
// neighbours the index offers. The floor is the Unicode work no implementation
// avoids: Tokens::meaningful of every file name, once. Prints each figure as a ratio
// to that floor, the peak memory the run added, and how the cost grows with N.
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "classify/classification_engine.h"
#include "classify/neighbor_index.h"
#include "classify/tokens.h"

namespace {

// This thread's CPU time: the machine is shared, and other work must not count
// against either the floor or the figure measured against it.
struct Clock {
    using duration = std::chrono::nanoseconds;
    using time_point = std::chrono::time_point<Clock, duration>;
    static time_point now() {
        timespec ts{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return time_point(duration(std::int64_t(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec));
    }
};
using namespace kelo;

constexpr int kProjects = 500;
constexpr int kAssociations = 5000;
const Date kNow = Date::fromUnix(1'700'000'000);

struct Corpus {
    std::vector<std::string> words;
    std::vector<Project> projects;
    LearningData learning;
};

// Client and job words: a fifth Vietnamese with stacked marks, one in 25 in
// Japanese (tokens that stay non-ASCII after folding), every seventh with digits.
std::vector<std::string> makeWords(std::mt19937& random) {
    const std::vector<std::string> syllablesAscii = {"ha", "lo", "mi", "nu", "ka", "ro", "te", "vi", "so", "da",
                                                     "pe", "qu", "zo", "ba", "ce", "fi", "gu", "je", "wa", "xe"};
    const std::vector<std::string> syllablesVi = {"Bài",   "Đăng", "Ảnh", "Bìa",  "Trường", "Ngọc",
                                                  "Hưởng", "Thủy", "Mỹ",  "Quốc", "Việt",   "Sơn"};
    const std::vector<std::string> syllablesJa = {"デザ", "イン", "東京", "案", "写真", "ポス", "ター"};
    std::vector<std::string> words;
    for (int i = 0; i < 3000; ++i) {
        std::string word;
        if (i % 25 == 1) {
            word = syllablesJa[random() % syllablesJa.size()] + syllablesJa[random() % syllablesJa.size()];
        } else if (i % 5 == 0) {
            word = syllablesVi[random() % syllablesVi.size()] + syllablesVi[random() % syllablesVi.size()];
        } else {
            for (int s = 0; s < 3; ++s) word += syllablesAscii[random() % syllablesAscii.size()];
        }
        if (i % 7 == 0) word += std::to_string(i).substr(0, 3);
        words.push_back(word);
    }
    return words;
}

Corpus makeCorpus() {
    std::mt19937 random(2024);
    Corpus corpus;
    corpus.words = makeWords(random);
    const auto word = [&] { return corpus.words[random() % 1500]; };  // projects use the first half
    for (int i = 0; i < kProjects; ++i) {
        Project project = Project::make(word() + " " + word(), "/home/u/Projects/p" + std::to_string(i),
                                        {word(), word() + "-" + word()}, ProjectStatus::active, kNow);
        if (i % 3 == 0) project.lastActivity = kNow.adding(-3600.0 * (i % 300));
        if (i % 17 == 0) project.status = ProjectStatus::archived;
        corpus.projects.push_back(std::move(project));
    }
    for (int i = 0; i < kAssociations; ++i)
        corpus.learning.associations.push_back(
            Association{Tokens::normalize(corpus.words[random() % 3000]), corpus.projects[random() % kProjects].id,
                        static_cast<int>(random() % 7), static_cast<int>(random() % 3)});
    return corpus;
}

std::vector<FileRecord> makeFiles(const Corpus& corpus, int count) {
    std::mt19937 random(7);
    const std::vector<std::string> generic = {"final", "v2", "copy", "export", "2024", "01", "IMG", "draft"};
    const std::vector<std::string> extensions = {"psd", "png", "pdf", "ai", "jpg", "zip"};
    const std::vector<std::string> folders = {"/home/u/Downloads", "/home/u/Desktop", "/home/u/Inbox"};
    std::vector<FileRecord> files;
    files.reserve(count);
    for (int i = 0; i < count; ++i) {
        std::string name = corpus.words[random() % 3000] + "_" + corpus.words[random() % 3000] + "-" +
                           generic[random() % generic.size()] + " " + std::to_string(random() % 40) + "." +
                           extensions[random() % extensions.size()];
        FileRecord file;
        file.sourceFolder = folders[random() % folders.size()];
        file.url = file.sourceFolder / (std::to_string(i) + " " + name);
        // 20,000 files over 30 days, more files over a longer time: a bucket holds the
        // same handful of files at every size, as a real inbox does.
        const std::uint64_t span = static_cast<std::uint64_t>(count) * 30 * 86400 / 20'000;
        file.identity =
            FileIdentity{42, static_cast<std::uint64_t>(i), 1000, kNow.adding(-static_cast<double>(random() % span))};
        file.created = file.identity.modified;
        files.push_back(std::move(file));
    }
    return files;
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Peak resident memory since the last reset, in bytes (Linux: VmHWM).
long peakResidentBytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6)) * 1024;
    return -1;
}
long residentBytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6)) * 1024;
    return -1;
}
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

struct Run {
    int files = 0;
    double floorSeconds = 0;
    double totalSeconds = 0;
    double prepareSeconds = 0;   // tokenising every file
    double indexSeconds = 0;     // the neighbour index and the engine
    double neighborSeconds = 0;  // asking the index for each file's neighbours
    double classifySeconds = 0;  // the engine itself
    long peakAdded = 0;
    std::size_t ready = 0;
    std::size_t probably = 0;
    std::size_t scored = 0;  // candidates that carry signals
};

Run run(const Corpus& corpus, int count) {
    const std::vector<FileRecord> files = makeFiles(corpus, count);
    Run result;
    result.files = count;

    // Floor: the meaningful tokens of every name, once; best of five.
    result.floorSeconds = 1e9;
    std::size_t sink = 0;
    for (int round = 0; round < 5; ++round) {
        const auto start = Clock::now();
        for (const auto& file : files) sink += Tokens::meaningful(Tokens::withoutExtension(file.filename())).size();
        result.floorSeconds = std::min(result.floorSeconds, secondsSince(start));
    }
    if (sink == 0) std::puts("(no tokens?)");

    // Best of three runs, the machine being shared; memory from the first.
    std::vector<Classification> results;
    result.totalSeconds = 1e9;
    for (int round = 0; round < 3; ++round) {
        results = {};
        Run timing;
        const long baseline = residentBytes();
        resetPeak();
        const auto start = Clock::now();
        std::vector<PreparedFile> prepared;
        prepared.reserve(files.size());
        for (const auto& file : files) prepared.push_back(PreparedFile::make(file));
        timing.prepareSeconds = secondsSince(start);
        auto phase = Clock::now();
        const NeighborIndex neighbors(prepared);
        const ClassificationEngine engine(corpus.projects, corpus.learning);
        timing.indexSeconds = secondsSince(phase);
        results.reserve(prepared.size());
        for (const auto& file : prepared) {
            phase = Clock::now();
            const auto near = neighbors.candidatesFor(file);
            const auto asked = Clock::now();
            results.push_back(engine.classify(file, near, Thresholds{}, std::nullopt, kNow));
            timing.neighborSeconds += std::chrono::duration<double>(asked - phase).count();
            timing.classifySeconds += secondsSince(asked);
        }
        timing.totalSeconds = secondsSince(start);
        if (round == 0) result.peakAdded = peakResidentBytes() - baseline;
        if (timing.totalSeconds < result.totalSeconds) {
            result.totalSeconds = timing.totalSeconds;
            result.prepareSeconds = timing.prepareSeconds;
            result.indexSeconds = timing.indexSeconds;
            result.neighborSeconds = timing.neighborSeconds;
            result.classifySeconds = timing.classifySeconds;
        }
    }

    for (const auto& classification : results) {
        result.ready += classification.state == ConfidenceState::ready;
        result.probably += classification.state == ConfidenceState::probably;
        result.scored +=
            classification.candidates.ranked().size() + classification.candidates.zeroWithEvidence().size();
        if (classification.candidates.size() != corpus.projects.size()) std::puts("wrong candidate count");
    }
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    // Sizes may be given on the command line; by default 2,000, 20,000 and 100,000.
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
    if (sizes.empty()) sizes = {2'000, 20'000, 100'000};
    const Corpus corpus = makeCorpus();
    std::printf("%d projects (2 aliases each), %d learned associations\n", kProjects, kAssociations);
    std::printf("floor: Tokens::meaningful of every file name once (best of 5); times are CPU time of this thread\n\n");
    std::printf("%8s %10s %12s %8s %13s %8s %12s %10s %s\n", "files", "floor ms", "classify ms", "ratio", "us per file",
                "growth", "peak MB", "KB/file", "(ready/probably, scored candidates per file)");
    const Run* previous = nullptr;
    std::vector<Run> runs;
    runs.reserve(sizes.size());
    for (int count : sizes) {
        runs.push_back(run(corpus, count));
        const Run& r = runs.back();
        const double perFile = r.totalSeconds / r.files;
        // Growth: cost per file relative to the previous size; 1.00 is linear.
        const double growth = previous ? perFile / (previous->totalSeconds / previous->files) : 1.0;
        std::printf("%8d %10.1f %12.1f %7.2fx %13.2f %7.2fx %12.1f %10.2f (%zu/%zu, %.2f)\n", r.files,
                    r.floorSeconds * 1e3, r.totalSeconds * 1e3, r.totalSeconds / r.floorSeconds, perFile * 1e6, growth,
                    r.peakAdded / 1048576.0, r.peakAdded / 1024.0 / r.files, r.ready, r.probably,
                    static_cast<double>(r.scored) / r.files);
        previous = &r;
    }
    const Run& middle = runs[runs.size() / 2];
    std::printf(
        "\n%d files, where the time goes: tokenise %.2fx, indexes %.2fx, neighbour look-ups %.2fx, "
        "scoring %.2fx (each over the floor)\n",
        middle.files, middle.prepareSeconds / middle.floorSeconds, middle.indexSeconds / middle.floorSeconds,
        middle.neighborSeconds / middle.floorSeconds, middle.classifySeconds / middle.floorSeconds);
    std::printf("\nclassify ms: tokenise, index neighbours, build the engine and classify every file (best of 3)\n");
    std::printf(
        "ratio: that time over the floor; growth: per-file cost over the previous size's (1.00 is linear;\n"
        "       the floor's own per-file cost drifts with the working set, so a flat ratio is linear too)\n");
    std::printf("peak MB: resident memory the run added at its peak, results kept\n");
    return 0;
}
