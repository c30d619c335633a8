// The window the online AI suites drive: a real engine on temporary folders (an
// inbox with a picture whose name points at the project "Lotus Spa"), on a clock
// the test moves, and a real HTTPS server on loopback standing in for Gemini, with
// online AI set up for the inbox and the key given for this session only.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <QImage>
#include <QtTest>
#include <atomic>

#include "access/path_safety.h"
#include "ai/gemini_answer.h"
#include "ai/gemini_payload.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "gui/main_window.h"
#include "gui/tests/isolated_app.h"
#include "model/json_codec.h"
#include "support/tls_test_server.h"

namespace kelo::gui {

enum AIPageIndex { kAIMatchPage = 1, kAISettingsPage = 5 };
inline const std::string kAITestKey = "AIzaAskTestKey_0123456789-abcdefg";
inline const std::string kAIEndpoint(GeminiPayload::kEndpointPath);

inline testing::CannedResponse adviceAnswer(const Uuid& project) {
    testing::CannedResponse response;
    response.body = testing::envelope(testing::adviceJson(project.text()));
    return response;
}

// A PNG of one colour, last modified two hours before the window's clock starts.
inline void writePicture(const std::filesystem::path& file, int width = 1600, int height = 900) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(0x2a, 0x6f, 0x5b));
    image.save(QString::fromStdString(file.string()), "PNG");
    const timespec times[2] = {{1767607200, 0}, {1767607200, 0}};  // 2026-01-05 10:00 UTC
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
}

struct AIWindow {
    testing::TempDir root;
    std::filesystem::path inbox = root / "Downloads";
    std::filesystem::path file = inbox / "LS banner.png";
    testing::TlsTestServer server;
    std::atomic<double> clock{Date::fromUnix(1767607200 + 7200).sinceReference};
    AppModel model;
    MainWindow window{model};

    AIWindow() {
        qputenv("KELO_GEMINI_ENDPOINT", QByteArray::fromStdString(server.baseUrl()));
        qputenv("KELO_GEMINI_CA_FILE", QByteArray::fromStdString(server.certificateFile().string()));
        std::filesystem::create_directories(root / "Projects/Lotus Spa");
        std::filesystem::create_directories(inbox);
        writePicture(file);
        window.show();
        model.start(root / "data", [this] { return Date{clock.load()}; });
        model.addGrant(inbox, FolderGrant::Role::watch);
        model.addGrant(root / "Projects", FolderGrant::Role::projectHome);
        settle(model);
        Settings settings = model.snapshot()->state->settings;
        settings.dryRun = false;
        model.updateSettings(settings);
        settle(model);
    }
    void advance(double seconds) { clock = clock.load() + seconds; }
    void configure(bool automatic, std::int64_t cap = 10) {
        AIConfiguration c = model.snapshot()->ai->configuration;
        c.enabled = c.freeTierConfirmed = c.dataUseAcknowledged = true;
        c.automatic = automatic;
        c.dailyLimit = cap;
        c.allowedFolders = {PathSafety::key(inbox)};
        model.submit("ai", [c](Engine& engine) { return AICommands::configureAI(engine, c); });
        settle(model);
    }
    void setUpAI(bool automatic = false, std::int64_t cap = 10) {
        configure(automatic, cap);
        model.submit("key", [](Engine& engine) { return AICommands::useSessionAIKey(engine, kAITestKey); });
        settle(model);
        server.respond(kAIEndpoint, adviceAnswer(project()));
    }
    Uuid project() const { return model.snapshot()->state->projects.front().id; }
};

}  // namespace kelo::gui
