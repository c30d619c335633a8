// Online AI's automatic mode in the desktop app, end to end: a real engine on a
// clock the test moves and a loopback HTTPS server standing in for Gemini. A scan
// with automatic mode on sends exactly one request and its advice is taken from
// Match; with automatic mode off, over the day's cap, or once it is switched off
// mid-request, nothing more leaves.
#include "gui/ai_automatic.h"

#include <QLabel>
#include <QtTest>

#include "ai/gemini_failure.h"
#include "gui/ai_ask_dialog.h"
#include "gui/ai_automatic_strip.h"
#include "gui/tests/ai_test_window.h"

using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

struct Window : AIWindow {
    AIAutomaticStrip* strip = window.findChild<AIAutomaticStrip*>("aiAutomaticStrip");

    Window() {
        writePicture(inbox / "LS poster.png");
        window.showPage(kAIMatchPage);
    }
    // Scans, and waits until the automatic request it may start has ended and been
    // recorded.
    bool scan() {
        model.scan();
        return settle(model) && QTest::qWaitFor([&] { return !strip->automatic().running(); }, 20000) && settle(model);
    }
};

}  // namespace

class AIAutomaticTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aScanSendsOneRequestWhoseAdviceIsTakenFromMatch() {
        Window w;
        w.setUpAI(true);
        QVERIFY(w.strip && !w.strip->isVisible());
        QVERIFY(w.scan());
        QCOMPARE(w.server.requests().size(), std::size_t(1));  // two eligible files, one request
        QVERIFY(w.strip->isVisible());
        QCOMPARE(w.strip->shown()->status, AIRecordStatus::suggested);
        QVERIFY(w.strip->findChild<QLabel*>("aiAutomaticText")->text().contains("Lotus Spa, tên tệp «LS-Social-Post1"));

        const fs::path sent = w.strip->shown()->file.url;
        AIAskDialog* dialog = w.strip->open();
        QCOMPARE(dialog->stage(), AIAskDialog::Stage::advice);
        dialog->accept();
        QVERIFY(QTest::qWaitFor([&] { return dialog->stage() == AIAskDialog::Stage::done; }, 20000));
        QVERIFY(settle(w.model));
        QVERIFY(!fs::exists(sent));
        QVERIFY(!w.strip->isVisible());
        dialog->close();
    }

    void nothingIsSentWhenOffOverTheCapOrSwitchedOffMidRequest() {
        Window w;
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

        testing::CannedResponse silent;
        silent.hang = true;
        w.server.respond(kAIEndpoint, silent);
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

KELO_ISOLATED_TEST_MAIN(AIAutomaticTest)

#include "ai_automatic_test.moc"
