// "Ask AI" on Match end to end: a real engine on temporary folders and a real HTTPS
// server on loopback standing in for Gemini, the key given for this session only.
// The dialog refuses with the engine's sentence until online AI is set up, shows
// the preview and context before anything leaves, and its advice sorts the file for
// real; a request cancelled in flight gets its one retry.
#include <QImage>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QtTest>

#include "access/path_safety.h"
#include "ai/gemini_failure.h"
#include "ai/gemini_payload.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "gui/ai_ask_dialog.h"
#include "gui/main_window.h"
#include "gui/match_page.h"
#include "gui/tests/isolated_app.h"
#include "model/json_codec.h"
#include "support/tls_test_server.h"

using namespace kelo;
using namespace kelo::gui;
using kelo::testing::CannedResponse;
using kelo::testing::TlsTestServer;
namespace fs = std::filesystem;

namespace {

enum PageIndex { kOverview, kMatch, kProjects, kStudio, kHistory, kSettings };
const std::string kKey = "AIzaAskTestKey_0123456789-abcdefg";
const std::string kEndpoint(GeminiPayload::kEndpointPath);
using Stage = AIAskDialog::Stage;

CannedResponse answerFor(const Uuid& project) {
    const std::string output = Json{
        {"project_id", project.text()},
        {"category", "Export"},
        {"stem", "LS-Social-Post1"},
        {"reason", "Tên tệp có chữ LS."},
        {"confidence", "high"}}.dump();
    CannedResponse response;
    response.body =
        Json{{"candidates", {{{"content", {{"parts", {{{"text", output}}}}}}, {"finishReason", "STOP"}}}}}.dump();
    return response;
}

struct Window {
    testing::TempDir root;
    fs::path inbox = root / "Downloads";
    fs::path file = inbox / "LS banner.png";
    TlsTestServer server;
    AppModel model;
    MainWindow window{model};

    Window() {
        qputenv("KELO_GEMINI_ENDPOINT", QByteArray::fromStdString(server.baseUrl()));
        qputenv("KELO_GEMINI_CA_FILE", QByteArray::fromStdString(server.certificateFile().string()));
        fs::create_directories(root / "Projects/Lotus Spa");
        fs::create_directories(inbox);
        QImage image(1600, 900, QImage::Format_RGB32);
        image.fill(QColor(0x2a, 0x6f, 0x5b));
        image.save(QString::fromStdString(file.string()), "PNG");
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(2));
        window.show();
        model.start(root / "data");
        model.addGrant(inbox, FolderGrant::Role::watch);
        model.addGrant(root / "Projects", FolderGrant::Role::projectHome);
        settle(model);
        Settings settings = model.snapshot()->state->settings;
        settings.dryRun = false;
        model.updateSettings(settings);
        settle(model);
    }
    void setUpAI() {
        AIConfiguration c = model.snapshot()->ai->configuration;
        c.enabled = c.freeTierConfirmed = c.dataUseAcknowledged = true;
        c.allowedFolders = {PathSafety::key(inbox)};
        model.submit("ai", [c](Engine& engine) { return AICommands::configureAI(engine, c); });
        model.submit("key", [](Engine& engine) { return AICommands::useSessionAIKey(engine, kKey); });
        settle(model);
        server.respond(kEndpoint, answerFor(model.snapshot()->state->projects.front().id));
    }
    AIAskDialog* ask() {
        auto* match = static_cast<MatchPage*>(window.page(kMatch));
        window.showPage(kMatch);
        if (match->selectFiles({QString::fromStdString(file.string())}) != 1) return nullptr;
        return match->askAI();
    }
};

bool reaches(AIAskDialog* dialog, Stage stage) {
    return QTest::qWaitFor([&] { return dialog->stage() == stage; }, 20000);
}

}  // namespace

class AIAskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesWithTheEngineSentenceAndLeadsToSettings() {
        Window w;
        AIAskDialog* dialog = w.ask();
        QVERIFY(dialog);
        QVERIFY(reaches(dialog, Stage::refused));
        QCOMPARE(dialog->message(), QString::fromUtf8(kAINotReadyForFile.data()));
        auto* settings = dialog->findChild<QPushButton*>("aiAskOpenSettings");
        QVERIFY(settings->isVisible());
        settings->click();
        QVERIFY(w.window.page(kSettings)->isVisible());
        QCOMPARE(w.server.requests().size(), std::size_t(0));
    }

    void previewAndContextThenAdviceThatSortsTheFile() {
        Window w;
        w.setUpAI();
        AIAskDialog* dialog = w.ask();
        QVERIFY(reaches(dialog, Stage::review));
        QCOMPARE(w.server.requests().size(), std::size_t(0));  // nothing leaves before the button
        const AIDraft& draft = *dialog->draft();
        QCOMPARE(std::max(draft.width, draft.height), 1024);
        QVERIFY(dialog->findChild<QLabel*>("aiAskImageSize")
                    ->text()
                    .startsWith(QStringLiteral("%1 × %2 px").arg(draft.width).arg(draft.height)));
        const QString context = dialog->findChild<QPlainTextEdit*>("aiAskContext")->toPlainText();
        QVERIFY(Json::parse(context.toStdString()) == Json::parse(draft.context));
        QVERIFY(context.contains(QStringLiteral("LS banner.png")));
        QCOMPARE(dialog->findChild<QLabel*>("aiAskUsage")->text(),
                 QStringLiteral("Hôm nay đã dùng 0 / 10 yêu cầu; gửi yêu cầu này sẽ dùng thêm 1."));

        dialog->send();
        QVERIFY(reaches(dialog, Stage::advice));
        QCOMPARE(w.server.requests().size(), std::size_t(1));
        QVERIFY(w.server.requests().front().headers.at("x-goog-api-key") == kKey);
        QCOMPARE(dialog->findChild<QLabel*>("aiAdviceProject")->text(), QStringLiteral("Lotus Spa"));
        QCOMPARE(dialog->findChild<QLabel*>("aiAdviceReason")->text(), QStringLiteral("Tên tệp có chữ LS."));

        dialog->accept();
        QVERIFY(reaches(dialog, Stage::done));
        QVERIFY(settle(w.model));
        QVERIFY(!fs::exists(w.file));
        const Snapshot& after = *w.model.snapshot();
        QVERIFY(after.files->empty());
        QVERIFY(!after.history->empty());
        QCOMPARE(after.history->front().moved, 1);
        QCOMPARE(after.ai->requestsToday, std::int64_t(1));
        dialog->close();
    }

    void aCancelledRequestGetsOneRetryThenIsDismissed() {
        Window w;
        w.setUpAI();
        const CannedResponse answer = answerFor(w.model.snapshot()->state->projects.front().id);
        CannedResponse silent;
        silent.hang = true;
        w.server.respond(kEndpoint, silent);
        AIAskDialog* dialog = w.ask();
        QVERIFY(reaches(dialog, Stage::review));
        dialog->send();
        QVERIFY(w.server.waitForRequests(1));
        dialog->findChild<QPushButton*>("progressStop")->click();
        QVERIFY(reaches(dialog, Stage::failed));
        QCOMPARE(dialog->message(), QString::fromUtf8(kRequestCancelledText.data()));

        w.server.respond(kEndpoint, answer);
        dialog->findChild<QPushButton*>("aiAskRetry")->click();
        QVERIFY(reaches(dialog, Stage::review));
        dialog->send();
        QVERIFY(reaches(dialog, Stage::advice));
        dialog->dismiss();
        QVERIFY(reaches(dialog, Stage::done));
        QVERIFY(settle(w.model));
        QVERIFY(fs::exists(w.file));  // dismissing moves nothing
        QVERIFY(w.model.snapshot()->ai->records.back().status == AIRecordStatus::dismissed);
        QCOMPARE(w.model.snapshot()->ai->requestsToday, std::int64_t(2));
        dialog->close();
    }
};

int main(int argc, char** argv) {
    return runIsolated<AIAskTest>(argc, argv);
}

#include "ai_ask_test.moc"
