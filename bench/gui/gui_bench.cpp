// The desktop app with a big inbox: 20,000 inbox files and 500 projects.
//   start: from creating the window to Match showing every file, against the
//     floor of the engine's own start-up plus its first snapshot (scan and
//     classify), which the window cannot do without (aim: under 1 s in all, and
//     as a ratio to the floor);
//   scroll: one page of Match scrolled and repainted, per frame (aim: under
//     16 ms, a 60 Hz frame).
// Runs offscreen; each measurement in a child process; three rounds each, every
// round printed.
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QScrollBar>
#include <QTableView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "engine/engine_worker.h"
#include "gui/app_model.h"
#include "gui/main_window.h"
#include "gui/match_model.h"
#include "gui/page.h"

namespace fs = std::filesystem;
using Steady = std::chrono::steady_clock;

namespace {

double since(Steady::time_point start) {
    return std::chrono::duration<double>(Steady::now() - start).count();
}

double inChild(const std::function<double()>& measure) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    if (fork() == 0) {
        close(fds[0]);
        double result = -1;
        try {
            result = measure();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "measurement failed: %s\n", e.what());
        }
        (void)!write(fds[1], &result, sizeof result);
        _exit(0);
    }
    close(fds[1]);
    double result = -1;
    (void)!read(fds[0], &result, sizeof result);
    close(fds[0]);
    wait(nullptr);
    return result;
}

struct World {
    fs::path root, data, inbox, home;
};

// A word of its own for each project ("bada", "badb", ...), so that, as in a real
// studio, a file names one client rather than sharing a word with all of them.
std::string word(int n) {
    std::string text = "ba";
    for (int i = 0; i < 3; ++i, n /= 26) text += static_cast<char>('a' + n % 26);
    return text;
}

World makeWorld() {
    const fs::path root = fs::temp_directory_path() / ("kelo-bench-gui-" + std::to_string(getpid()));
    World world{root, root / "data", root / "Downloads", root / "Projects"};
    fs::create_directories(world.inbox);
    for (int p = 0; p < 500; ++p) fs::create_directories(world.home / (word(p) + " " + word(p + 1000)));
    const char* kinds[] = {".png", ".pdf", ".psd", ".ai", ".jpg", ".docx"};
    for (int i = 0; i < 20000; ++i)
        std::ofstream(world.inbox / (word(i % 500) + " asset " + std::to_string(i) + kinds[i % 6])) << "x";
    // Approve both folders once, outside the measurements.
    inChild([&] {
        kelo::Engine engine(world.data, kelo::Date::now);
        engine.addGrant(world.inbox, kelo::FolderGrant::Role::watch);
        engine.addGrant(world.home, kelo::FolderGrant::Role::projectHome);
        return 0.0;
    });
    return world;
}

void report(const char* what, const std::vector<double>& rounds, const char* aim) {
    std::vector<double> sorted = rounds;
    std::sort(sorted.begin(), sorted.end());
    std::printf("%-44s best %8.1f ms  median %8.1f ms  rounds:", what, sorted.front() * 1e3, sorted[sorted.size() / 2] * 1e3);
    for (double r : rounds) std::printf(" %.1f", r * 1e3);
    std::printf("  %s\n", aim);
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const World world = makeWorld();
    std::vector<double> floors, starts, frames, calls;
    for (int round = 0; round < 3; ++round) {
        floors.push_back(inChild([&] {
            const auto start = Steady::now();
            kelo::EngineWorker worker(world.data);
            const auto snapshot = worker.scan().get();
            return snapshot->classifications->size() == 20000 ? since(start) : -1.0;
        }));
        starts.push_back(inChild([&] {
            QApplication app(argc, argv);
            const auto start = Steady::now();
            kelo::gui::AppModel model;
            kelo::gui::MainWindow window(model);
            window.resize(1100, 720);
            window.show();
            window.showPage(1);
            model.start(world.data);  // which scans the inbox once the engine is up, as the app does
            auto* table = window.page(1)->findChild<QTableView*>("matchTable");
            while (model.busy() || table->model()->rowCount() < 20000)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
            QCoreApplication::processEvents();
            window.repaint();
            return since(start);
        }));
        for (const bool counting : {false, true}) (counting ? calls : frames).push_back(inChild([&] {
            QApplication app(argc, argv);
            kelo::gui::AppModel model;
            kelo::gui::MainWindow window(model);
            window.resize(1100, 720);
            window.show();
            window.showPage(1);
            model.start(world.data);
            auto* table = window.page(1)->findChild<QTableView*>("matchTable");
            while (model.busy() || table->model()->rowCount() < 20000)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
            QScrollBar* bar = table->verticalScrollBar();
            auto* rows = window.page(1)->findChild<kelo::gui::MatchModel*>();
            const quint64 callsBefore = rows->dataCalls();
            std::vector<double> perFrame;
            for (int frame = 0; frame < 60; ++frame) {
                const auto start = Steady::now();
                bar->setValue(bar->value() + bar->pageStep());
                table->viewport()->repaint();
                QCoreApplication::processEvents();
                perFrame.push_back(since(start));
            }
            // The model's data calls per frame: what painting one screenful asks of it.
            if (counting) return double(rows->dataCalls() - callsBefore) / double(perFrame.size());
            std::sort(perFrame.begin(), perFrame.end());
            return perFrame[perFrame.size() / 2];
        }));
    }
    report("floor: engine start + first snapshot", floors, "1.00x");
    report("app: window to Match showing 20,000 files", starts, "(aim < 1000 ms)");
    std::sort(floors.begin(), floors.end());
    std::sort(starts.begin(), starts.end());
    std::printf("%-44s %.2fx the floor (best rounds)\n", "app start", starts.front() / floors.front());
    report("scroll: one page of Match, median frame", frames, "(aim < 16 ms)");
    std::printf("%-44s %.0f per frame (rounds:", "scroll: model data calls", calls.front());
    for (double c : calls) std::printf(" %.0f", c);
    std::printf("; a screenful is about 15 rows of 8 columns)\n");
    fs::remove_all(world.root);
    return 0;
}
