// "Ask AI" on Match end to end: a real engine on temporary folders and a real HTTPS
// server on loopback standing in for Gemini, the key given for this session only.
// The dialog refuses with the engine's sentence until online AI is set up, shows
// the preview and context before anything leaves, and its advice sorts the file for
// real; a request cancelled in flight gets its one retry; an exported PNG/JPG
// attached for a file without a preview is checked before it is used.
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>
#include <fstream>
#include <thread>

#include "ai/ai_preview.h"
#include "ai/gemini_failure.h"
#include "gui/ai_ask_dialog.h"
#include "gui/match_page.h"
#include "gui/tests/ai_test_window.h"

using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

using Stage = AIAskDialog::Stage;

struct Window : AIWindow {
    AIAskDialog* ask(const fs::path& which) {
        auto* match = static_cast<MatchPage*>(window.page(kAIMatchPage));
        window.showPage(kAIMatchPage);
        if (match->selectFiles({QString::fromStdString(which.string())}) != 1) return nullptr;
        return match->askAI();
    }
    AIAskDialog* ask() { return ask(file); }
};

bool reaches(AIAskDialog* dialog, Stage stage) {
    return QTest::qWaitFor([&] { return dialog->stage() == stage; }, 20000);
}

// An export of `size` bytes (a sparse file: only its size and name are read first).
fs::path sizedExport(const fs::path& folder, const std::string& name, std::uintmax_t size) {
    const fs::path path = folder / name;
    std::ofstream(path).put('x');
    fs::resize_file(path, size);
    return path;
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
        QVERIFY(w.window.page(kAISettingsPage)->isVisible());
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
        QVERIFY(w.server.requests().front().headers.at("x-goog-api-key") == kAITestKey);
        QCOMPARE(dialog->findChild<QLabel*>("aiAdviceProject")->text(), QStringLiteral("Lotus Spa"));
        QCOMPARE(dialog->findChild<QLabel*>("aiAdviceReason")->text(), QStringLiteral("Tên tệp có chữ LS."));

        dialog->accept();
        QVERIFY(reaches(dialog, Stage::done));
        QVERIFY(settle(w.model));
        QVERIFY(!fs::exists(w.file));
        QCOMPARE(w.model.snapshot()->ai->requestsToday, std::int64_t(1));
        dialog->close();
    }

    void aCancelledRequestGetsOneRetryThenIsDismissed() {
        Window w;
        w.setUpAI();
        const testing::CannedResponse answer = adviceAnswer(w.model.snapshot()->state->projects.front().id);
        testing::CannedResponse silent;
        silent.hang = true;
        w.server.respond(kAIEndpoint, silent);
        AIAskDialog* dialog = w.ask();
        QVERIFY(reaches(dialog, Stage::review));
        dialog->send();
        QVERIFY(w.server.waitForRequests(1));
        dialog->findChild<QPushButton*>("progressStop")->click();
        QVERIFY(reaches(dialog, Stage::failed));
        QCOMPARE(dialog->message(), QString::fromUtf8(kRequestCancelledText.data()));

        w.server.respond(kAIEndpoint, answer);
        dialog->findChild<QPushButton*>("aiAskRetry")->click();
        QVERIFY(reaches(dialog, Stage::review));
        dialog->send();
        QVERIFY(reaches(dialog, Stage::advice));
        dialog->dismiss();
        QVERIFY(reaches(dialog, Stage::done));
        QVERIFY(settle(w.model));
        QVERIFY(fs::exists(w.file));  // dismissing moves nothing
        QVERIFY(w.model.snapshot()->ai->records.back().status == AIRecordStatus::dismissed);
        dialog->close();
    }

    // A PDF has no preview of its own; an exported PNG/JPG attached instead is what
    // is shown and sent, unless it breaks one of the attachment's rules.
    void anAttachedExportStandsInForAFileWithoutPreview() {
        Window w;
        w.setUpAI();
        const fs::path brief = w.inbox / "LS brief.pdf";
        writePicture(brief);  // its name decides: no preview is made of a PDF
        w.model.scan();
        QVERIFY(settle(w.model));
        const fs::path exports = w.root / "Exports";
        fs::create_directories(exports);
        writePicture(exports / "export.png", 300, 200);

        struct Case {
            const char* name;
            fs::path attachment;
            std::string_view refusal;  // empty: accepted
            bool rewrittenWhileRead = false;
        };
        const Case cases[] = {
            {"export", exports / "export.png", {}},
            {"20 MB", sizedExport(exports, "big.jpg", AIPreview::kAttachmentLimit), AIPreview::kAttachmentText},
            {"GIF", sizedExport(exports, "export.gif", 1000), AIPreview::kAttachmentText},
            {"rewritten", sizedExport(exports, "saving.png", AIPreview::kAttachmentLimit - 1),
             AIPreview::kAttachmentChangedText, true},
        };
        for (const Case& c : cases) {
            // The design app saving the export again and again while it is read; a
            // starved writer can miss one read, so it gets three.
            std::jthread writer([&](std::stop_token stop) {
                for (long tick = 1; c.rewrittenWhileRead && !stop.stop_requested(); ++tick) {
                    const timespec times[2] = {{1767607200, tick}, {1767607200, tick}};
                    ::utimensat(AT_FDCWD, c.attachment.c_str(), times, 0);
                }
            });
            QString message;
            for (int attempt = 0; attempt < (c.rewrittenWhileRead ? 3 : 1); ++attempt) {
                AIAskDialog* dialog = w.ask(brief);
                QVERIFY2(reaches(dialog, Stage::refused), c.name);
                QCOMPARE(dialog->message(), QString::fromUtf8(AIPreview::kUnsupportedText.data()));
                QVERIFY(dialog->findChild<QPushButton*>("aiAskAttach")->isVisible());
                dialog->attach(c.attachment);
                QVERIFY2(QTest::qWaitFor([&] { return dialog->stage() != Stage::preparing; }, 20000), c.name);
                message = dialog->stage() == Stage::refused ? dialog->message() : QString();
                if (dialog->stage() == Stage::review) {
                    QCOMPARE(dialog->draft()->width, 300);
                    QCOMPARE(dialog->draft()->height, 200);
                }
                dialog->close();
                if (message == QString::fromUtf8(c.refusal.data(), c.refusal.size())) break;
            }
            writer.request_stop();
            QCOMPARE(message, QString::fromUtf8(c.refusal.data(), c.refusal.size()));
        }
        QCOMPARE(w.server.requests().size(), std::size_t(0));
    }
};

KELO_ISOLATED_TEST_MAIN(AIAskTest)

#include "ai_ask_test.moc"
