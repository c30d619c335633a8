// Online AI in the desktop app: Settings, "Ask AI" on Match and the automatic mode,
// against a real engine on temporary folders (an inbox picture whose name points at
// the project "Lotus Spa") on a clock the test moves, a real keyring on a private
// session bus, and a real HTTPS server on loopback standing in for Gemini. Nothing
// may leave before the user (or the automatic mode, within its cap) sends it.
#include <fcntl.h>
#include <sys/stat.h>

#include <QCheckBox>
#include <QImage>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <atomic>
#include <fstream>
#include <thread>

#include "access/path_safety.h"
#include "ai/ai_keychain.h"
#include "ai/ai_preview.h"
#include "ai/gemini_answer.h"
#include "ai/gemini_failure.h"
#include "ai/gemini_payload.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "gui/ai_ask_dialog.h"
#include "gui/ai_automatic.h"
#include "gui/ai_automatic_strip.h"
#include "gui/ai_settings_box.h"
#include "gui/match_page.h"
#include "gui/tests/sample_window.h"
#include "model/json_codec.h"
#include "support/secret_service_session.h"
#include "support/tls_test_server.h"

using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

using Stage = AIAskDialog::Stage;
const std::string kKey = "AIzaAskTestKey_0123456789-abcdefg";
const std::string kEndpoint(GeminiPayload::kEndpointPath);

testing::CannedResponse adviceAnswer(const Uuid& project) {
    return testing::CannedResponse(200, testing::envelope(testing::adviceJson(project.text())));
}

testing::CannedResponse silence() {
    testing::CannedResponse response;
    response.hang = true;
    return response;
}

// A PNG of one colour, last modified two hours before the window's clock starts.
void writePicture(const fs::path& file, int width = 1600, int height = 900) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(0x2a, 0x6f, 0x5b));
    image.save(QString::fromStdString(file.string()), "PNG");
    const timespec times[2] = {{1767607200, 0}, {1767607200, 0}};  // 2026-01-05 10:00 UTC
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
}

bool reaches(AIAskDialog* dialog, Stage stage) {
    return QTest::qWaitFor([&] { return dialog->stage() == stage; }, 20000);
}

// Gemini's stand-in and the clock, made before the window and its engine and gone
// only after them.
struct Surroundings {
    testing::TlsTestServer server;
    std::atomic<double> now{Date::fromUnix(1767607200 + 7200).sinceReference};

    Surroundings() {
        qputenv("KELO_GEMINI_ENDPOINT", QByteArray::fromStdString(server.baseUrl()));
        qputenv("KELO_GEMINI_CA_FILE", QByteArray::fromStdString(server.certificateFile().string()));
    }
};

struct AIWindow : Surroundings, SampleWindow {
    fs::path file = inbox / "LS banner.png";
    AISettingsBox* box = nullptr;
    AIAutomaticStrip* strip = nullptr;

    AIWindow() {
        fs::create_directories(home / "Lotus Spa");
        fs::create_directories(inbox);
        writePicture(file);
        clock = [this] { return Date{now.load()}; };
        window.show();
        open();
        box = page(kSettings)->findChild<AISettingsBox*>("aiSettings");
        strip = window.findChild<AIAutomaticStrip*>("aiAutomaticStrip");
    }
    void advance(double seconds) { now = now.load() + seconds; }
    void configure(bool automatic, std::int64_t cap = 10) {
        AIConfiguration c = configuration();
        c.enabled = c.freeTierConfirmed = c.dataUseAcknowledged = true;
        c.automatic = automatic;
        c.dailyLimit = cap;
        c.allowedFolders = {PathSafety::key(inbox)};
        model.submit("ai", [c](Engine& engine) { return AICommands::configureAI(engine, c); });
        QVERIFY(settle(model));
    }
    void setUpAI(bool automatic = false, std::int64_t cap = 10) {
        configure(automatic, cap);
        model.submit("key", [](Engine& engine) { return AICommands::useSessionAIKey(engine, kKey); });
        QVERIFY(settle(model));
        server.respond(kEndpoint, adviceAnswer(project()));
    }
    Uuid project() const { return model.snapshot()->state->projects.front().id; }
    const AIConfiguration& configuration() const { return model.snapshot()->ai->configuration; }
    template <class T>
    T* setting(const char* name) const {
        return box->findChild<T*>(name);
    }

    AIAskDialog* ask(const fs::path& which) {
        auto* match = static_cast<MatchPage*>(page(kMatch));
        window.showPage(kMatch);
        if (match->selectFiles({QString::fromStdString(which.string())}) != 1) return nullptr;
        return match->askAI();
    }
    AIAskDialog* ask() { return ask(file); }

    // A second eligible picture and Match on show, for the automatic mode.
    void addPoster() {
        writePicture(inbox / "LS poster.png");
        window.showPage(kMatch);
    }
    // Scans, and waits until the automatic request it may start has ended and been
    // recorded.
    bool scan() {
        model.scan();
        return settle(model) && QTest::qWaitFor([&] { return !strip->automatic().running(); }, 20000) && settle(model);
    }
};

}  // namespace

class AITest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Asking before online AI is set up is refused with the engine's sentence and leads
    // to Settings, where the consents, cap, folders and key reach the engine.
    void askLeadsToSettingsWhereConsentsCapFoldersAndKeyReachTheEngine() {
        AIWindow w;
        AIAskDialog* dialog = w.ask();
        QVERIFY(dialog);
        QVERIFY(reaches(dialog, Stage::refused));
        QCOMPARE(dialog->message(), QString::fromUtf8(kAINotReadyForFile.data()));
        auto* settings = dialog->findChild<QPushButton*>("aiAskOpenSettings");
        QVERIFY(settings->isVisible());
        settings->click();
        QVERIFY(w.page(kSettings)->isVisible());
        QCOMPARE(w.server.requests().size(), std::size_t(0));

        QVERIFY(w.box);
        QVERIFY(!w.configuration().enabled);
        QCOMPARE(w.setting<QLabel>("aiUsage")->text(), QStringLiteral("Hôm nay đã dùng 0 / 10 yêu cầu."));
        auto* folders = w.setting<QListWidget>("aiFolders");
        QCOMPARE(folders->count(), 2);

        for (const char* consent : {"aiEnabled", "aiFreeTier", "aiDataUse"})
            w.setting<QCheckBox>(consent)->setChecked(true);
        w.setting<QSpinBox>("aiDailyCap")->setValue(5);
        folders->item(0)->setCheckState(Qt::Checked);
        w.act([&] { w.box->saveSettings(); });
        QVERIFY(w.model.refusal().isEmpty());
        QVERIFY(w.configuration().ready());
        QCOMPARE(w.configuration().dailyLimit, 5);
        QCOMPARE(w.configuration().allowedFolders, std::vector<std::string>{PathSafety::key(w.inbox)});
        QCOMPARE(w.setting<QLabel>("aiUsage")->text(), QStringLiteral("Hôm nay đã dùng 0 / 5 yêu cầu."));

        // Nothing ticked: saved, but online AI is not ready then.
        w.setting<QCheckBox>("aiFreeTier")->setChecked(false);
        w.act([&] { w.box->saveSettings(); });
        QVERIFY(!w.configuration().ready());

        // The key never stays on screen, whether refused, saved or kept for the session.
        auto* field = w.setting<QLineEdit>("aiKey");
        auto* status = w.setting<QLabel>("aiKeyStatus");
        QCOMPARE(field->echoMode(), QLineEdit::Password);

        field->setText(QStringLiteral("too-short"));
        w.act([&] { w.box->saveKey(); });
        QCOMPARE(w.model.refusal(), QString::fromUtf8(kAIKeyInvalid.data(), kAIKeyInvalid.size()));
        QVERIFY(field->text().isEmpty());

        field->setText(QString::fromStdString(kKey));
        w.act([&] { w.box->saveKey(); });
        QVERIFY(field->text().isEmpty());
        QCOMPARE(status->text(), QStringLiteral("Khóa: đã lưu trong keyring."));

        field->setText(QString::fromStdString(kKey));
        w.act([&] { w.box->useSessionKey(); });
        QCOMPARE(status->text(), QStringLiteral("Khóa: chỉ dùng cho phiên này, không lưu."));

        w.act([&] { w.box->forgetKey(); });
        QCOMPARE(status->text(), QStringLiteral("Khóa: chưa có."));
    }

    // Nothing leaves before the button; a request cancelled in flight gets one retry,
    // whose advice sorts the file.
    void askShowsPreviewAndContextAndRetriesACancelledRequestWhoseAdviceSortsTheFile() {
        AIWindow w;
        w.setUpAI();
        w.server.respond(kEndpoint, silence());
        AIAskDialog* dialog = w.ask();
        QVERIFY(reaches(dialog, Stage::review));
        QCOMPARE(w.server.requests().size(), std::size_t(0));
        const AIDraft& draft = *dialog->draft();
        const QString size = dialog->findChild<QLabel*>("aiAskImageSize")->text();
        QVERIFY(size.startsWith(QStringLiteral("%1 × %2 px").arg(draft.width).arg(draft.height)));
        const QString context = dialog->findChild<QPlainTextEdit*>("aiAskContext")->toPlainText();
        QVERIFY(Json::parse(context.toStdString()) == Json::parse(draft.context));
        QCOMPARE(dialog->findChild<QLabel*>("aiAskUsage")->text(),
                 QStringLiteral("Hôm nay đã dùng 0 / 10 yêu cầu; gửi yêu cầu này sẽ dùng thêm 1."));

        dialog->send();
        QVERIFY(w.server.waitForRequests(1));
        dialog->findChild<QPushButton*>("progressStop")->click();
        QVERIFY(reaches(dialog, Stage::failed));
        QCOMPARE(dialog->message(), QString::fromUtf8(kRequestCancelledText.data()));
        w.server.respond(kEndpoint, adviceAnswer(w.project()));
        dialog->findChild<QPushButton*>("aiAskRetry")->click();
        QVERIFY(reaches(dialog, Stage::review));
        // The cancelled request's usage stays counted, on the window's own day.
        QCOMPARE(dialog->findChild<QLabel*>("aiAskUsage")->text(),
                 QStringLiteral("Hôm nay đã dùng 1 / 10 yêu cầu; gửi yêu cầu này sẽ dùng thêm 1."));
        dialog->send();
        QVERIFY(reaches(dialog, Stage::advice));
        QCOMPARE(w.server.requests().size(), std::size_t(2));
        QCOMPARE(dialog->findChild<QLabel*>("aiAdviceProject")->text(), QStringLiteral("Lotus Spa"));
        QCOMPARE(dialog->findChild<QLabel*>("aiAdviceReason")->text(), QStringLiteral("Tên tệp có chữ LS."));

        dialog->accept();
        QVERIFY(reaches(dialog, Stage::done));
        QVERIFY(settle(w.model));
        QVERIFY(!fs::exists(w.file));
        QCOMPARE(w.setting<QLabel>("aiUsage")->text(), QStringLiteral("Hôm nay đã dùng 2 / 10 yêu cầu."));
        dialog->close();
    }

    // A PDF has no preview of its own; an exported PNG/JPG attached instead is what
    // is shown and sent, unless it changes while it is read.
    void askTakesAnAttachedExportForAFileWithoutPreview() {
        AIWindow w;
        w.setUpAI();
        const fs::path brief = w.inbox / "LS brief.pdf";
        writePicture(brief);  // its name decides: no preview is made of a PDF
        w.model.scan();
        QVERIFY(settle(w.model));
        const fs::path exports = w.root / "Exports";
        fs::create_directories(exports);
        writePicture(exports / "export.png", 300, 200);

        AIAskDialog* dialog = w.ask(brief);
        QVERIFY(reaches(dialog, Stage::refused));
        QCOMPARE(dialog->message(), QString::fromUtf8(AIPreview::kUnsupportedText.data()));
        QVERIFY(dialog->findChild<QPushButton*>("aiAskAttach")->isVisible());
        dialog->attach(exports / "export.png");
        QVERIFY(reaches(dialog, Stage::review));
        QCOMPARE(dialog->draft()->width, 300);
        QCOMPARE(dialog->draft()->height, 200);
        dialog->close();

        // The design app saving the export again and again while it is read; a starved
        // writer can miss one read, so it gets three. The export is a sparse file: only
        // its size and name are read first.
        const fs::path saving = exports / "saving.png";
        std::ofstream(saving).put('x');
        fs::resize_file(saving, AIPreview::kAttachmentLimit - 1);
        std::jthread writer([&](std::stop_token stop) {
            for (long tick = 1; !stop.stop_requested(); ++tick) {
                const timespec times[2] = {{1767607200, tick}, {1767607200, tick}};
                ::utimensat(AT_FDCWD, saving.c_str(), times, 0);
            }
        });
        const QString changed = QString::fromUtf8(AIPreview::kAttachmentChangedText.data());
        QString message;
        for (int attempt = 0; attempt < 3 && message != changed; ++attempt) {
            dialog = w.ask(brief);
            QVERIFY(reaches(dialog, Stage::refused));
            dialog->attach(saving);
            QVERIFY(QTest::qWaitFor([&] { return dialog->stage() != Stage::preparing; }, 20000));
            message = dialog->stage() == Stage::refused ? dialog->message() : QString();
            dialog->close();
        }
        writer.request_stop();
        QCOMPARE(message, changed);
        QCOMPARE(w.server.requests().size(), std::size_t(0));
    }

    void automaticScanSendsOneRequestWhoseAdviceIsOpenedFromMatchAndDismissed() {
        AIWindow w;
        w.addPoster();
        w.setUpAI(true);
        QVERIFY(w.strip && !w.strip->isVisible());
        QVERIFY(w.scan());
        QCOMPARE(w.server.requests().size(), std::size_t(1));  // two eligible files, one request
        QVERIFY(w.strip->isVisible());
        QCOMPARE(w.strip->shown()->status, AIRecordStatus::suggested);
        QVERIFY(w.strip->findChild<QLabel*>("aiAutomaticText")->text().contains("Lotus Spa, tên tệp «LS-Social-Post1"));

        const fs::path sent = w.strip->shown()->file.url;
        AIAskDialog* dialog = w.strip->open();
        QCOMPARE(dialog->stage(), Stage::advice);
        dialog->dismiss();
        QVERIFY(reaches(dialog, Stage::done));
        QVERIFY(settle(w.model));
        QVERIFY(fs::exists(sent));  // dismissing moves nothing
        QVERIFY(w.model.snapshot()->ai->records.back().status == AIRecordStatus::dismissed);
        QVERIFY(!w.strip->isVisible());
        dialog->close();
    }

    void automaticSendsNothingWhenOffOverTheCapOrSwitchedOffMidRequest() {
        AIWindow w;
        w.addPoster();
        w.setUpAI(false);
        QVERIFY(w.scan());
        QCOMPARE(w.server.requests().size(), std::size_t(0));

        w.configure(true, 1);
        QVERIFY(w.scan());
        QCOMPARE(w.server.requests().size(), std::size_t(1));
        const std::size_t records = w.model.snapshot()->ai->records.size();
        w.advance(60);
        QVERIFY(w.scan());
        QCOMPARE(w.server.requests().size(), std::size_t(1));
        QCOMPARE(w.model.snapshot()->ai->records.size(), records);  // the other file keeps its chance

        w.server.respond(kEndpoint, silence());
        w.configure(true, 3);
        w.advance(60);
        w.model.scan();
        QVERIFY(QTest::qWaitFor([&] { return w.server.requests().size() == 2; }, 20000));
        w.configure(false, 3);
        QVERIFY(QTest::qWaitFor([&] { return !w.strip->automatic().running(); }, 20000));
        QVERIFY(settle(w.model));
        QCOMPARE(w.strip->shown()->note.value_or(""), std::string(kRequestCancelledText));
        QCOMPARE(w.model.snapshot()->ai->requestsToday, std::int64_t(2));
        QCOMPARE(w.server.requests().size(), std::size_t(2));
    }
};

int main(int argc, char** argv) {
    testing::SecretServiceSession keyring;  // before anything talks to D-Bus
    return runIsolated<AITest>(argc, argv);
}

#include "ai_test.moc"
