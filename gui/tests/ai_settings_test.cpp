// The online AI section of Settings against a real engine and a real keyring on a
// private session bus: the consents and cap reach the engine, today's use shows,
// and the key is saved, kept for the session or forgotten without staying on screen.
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSpinBox>
#include <QtTest>

#include "access/path_safety.h"
#include "ai/ai_keychain.h"
#include "gui/ai_settings_box.h"
#include "gui/settings_page.h"
#include "gui/tests/sample_window.h"
#include "support/secret_service_session.h"

using namespace kelo;
using namespace kelo::gui;

namespace {

const QString kKey = QStringLiteral("AIzaGuiTestKey_0123456789-abcdefg");

struct AIWindow : SampleWindow {
    AISettingsBox* box = nullptr;

    AIWindow() {
        std::filesystem::create_directories(home / "Lotus Spa");
        open();
        box = page(kSettings)->findChild<AISettingsBox*>("aiSettings");
    }
    template <class T>
    T* find(const char* name) const {
        return box->findChild<T*>(name);
    }
    const AIConfiguration& configuration() const { return model.snapshot()->ai->configuration; }
};

}  // namespace

class AISettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void consentsCapAndFoldersReachTheEngine() {
        AIWindow w;
        QVERIFY(w.box);
        QVERIFY(!w.configuration().enabled);
        QCOMPARE(w.find<QLabel>("aiUsage")->text(), QStringLiteral("Hôm nay đã dùng 0 / 10 yêu cầu."));
        auto* folders = w.find<QListWidget>("aiFolders");
        QCOMPARE(folders->count(), 2);

        w.find<QCheckBox>("aiEnabled")->setChecked(true);
        w.find<QCheckBox>("aiFreeTier")->setChecked(true);
        w.find<QCheckBox>("aiDataUse")->setChecked(true);
        w.find<QSpinBox>("aiDailyCap")->setValue(5);
        folders->item(0)->setCheckState(Qt::Checked);
        const Uuid before = w.configuration().revision;
        w.box->saveSettings();
        QVERIFY(settle(w.model));
        QVERIFY(w.model.refusal().isEmpty());
        QVERIFY(w.configuration().ready());
        QCOMPARE(w.configuration().dailyLimit, 5);
        QCOMPARE(w.configuration().allowedFolders, std::vector<std::string>{PathSafety::key(w.inbox)});
        QVERIFY(w.configuration().revision != before);
        QCOMPARE(w.find<QLabel>("aiUsage")->text(), QStringLiteral("Hôm nay đã dùng 0 / 5 yêu cầu."));

        // Nothing ticked: saved, but online AI is not ready then.
        w.find<QCheckBox>("aiFreeTier")->setChecked(false);
        w.box->saveSettings();
        QVERIFY(settle(w.model));
        QVERIFY(!w.configuration().ready());
    }

    void keyIsSavedKeptForTheSessionAndForgotten() {
        AIWindow w;
        auto* field = w.find<QLineEdit>("aiKey");
        auto* status = w.find<QLabel>("aiKeyStatus");
        QCOMPARE(field->echoMode(), QLineEdit::Password);

        field->setText(QStringLiteral("too-short"));
        w.box->saveKey();
        QVERIFY(settle(w.model));
        QCOMPARE(w.model.refusal(), QString::fromUtf8(kAIKeyInvalid.data(), kAIKeyInvalid.size()));
        QVERIFY(field->text().isEmpty());

        field->setText(kKey);
        w.box->saveKey();
        QVERIFY(settle(w.model));
        QVERIFY(field->text().isEmpty());
        QCOMPARE(status->text(), QStringLiteral("Khóa: đã lưu trong keyring."));

        field->setText(kKey);
        w.box->useSessionKey();
        QVERIFY(settle(w.model));
        QCOMPARE(status->text(), QStringLiteral("Khóa: chỉ dùng cho phiên này, không lưu."));

        w.box->forgetKey();
        QVERIFY(settle(w.model));
        QCOMPARE(status->text(), QStringLiteral("Khóa: chưa có."));
    }
};

int main(int argc, char** argv) {
    testing::SecretServiceSession keyring;  // before anything talks to D-Bus
    return runIsolated<AISettingsTest>(argc, argv);
}

#include "ai_settings_test.moc"
