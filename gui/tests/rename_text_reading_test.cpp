// The rename dialog's "read the text in the image" on pictures the test paints,
// read by the real Tesseract on the dialog's own thread.
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QtTest>

#include "gui/rename_dialog.h"
#include "support/temp_dir.h"

using namespace kelo;
using namespace kelo::gui;

class RenameTextReadingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readingFillsTheNameOrSaysThereIsNoText();
};

namespace {

// Black lines on white, large enough for the reader at any sensible scale.
std::filesystem::path paint(const std::filesystem::path& path, const QStringList& lines) {
    QImage image(1200, 160 + 140 * lines.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::black);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 48, QFont::Bold));
    for (int i = 0; i < lines.size(); ++i) painter.drawText(80, 160 + 140 * i, lines[i]);
    painter.end();
    image.save(QString::fromStdString(path.string()));
    return path;
}

OcrCommands::OcrRequest request(const std::filesystem::path& path) {
    FileRecord file;
    file.url = path;
    return {file, {Project::make("Hydro Cafe", "/p", {}, ProjectStatus::active, Date())}};
}

// Presses the button, sees the busy bar, and waits for the reading to end.
void read(RenameDialog& dialog, const std::filesystem::path& image) {
    dialog.offerTextReading([request = request(image)](const std::atomic<bool>& cancel) {
        return OcrCommands::readHints(request, &cancel);
    });
    auto* button = dialog.findChild<QPushButton*>("renameReadText");
    QVERIFY(button);
    button->click();
    QVERIFY(!button->isEnabled());
    QVERIFY(!dialog.findChild<QProgressBar*>("renameReading")->isHidden());
    QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), 60000);
    QVERIFY(dialog.findChild<QProgressBar*>("renameReading")->isHidden());
}

}  // namespace

void RenameTextReadingTest::readingFillsTheNameOrSaysThereIsNoText() {
    testing::TempDir dir;
    {
        RenameDialog dialog("Untitled-1.png", {"", "", "Final"});
        read(dialog, paint(dir / "poster.png", {"HYDRO CAFE", "POST 15"}));
        QCOMPARE(dialog.readingOutcome(), QString("✨ local OCR phát hiện 'POST 15'."));
        QCOMPARE(dialog.findChild<QLineEdit*>("renameJob")->text(), QString("Hydro Cafe"));
        QCOMPARE(dialog.preview(), QString("Tên mới: Hydro Cafe-POST 15-Final.png"));
    }
    {
        RenameDialog dialog("blank.png", {"Hydro", "Logo", "Final"});
        read(dialog, paint(dir / "blank.png", {}));
        QCOMPARE(dialog.readingOutcome(), QString("Không thấy chữ nào trong ảnh."));
        QCOMPARE(dialog.findChild<QLineEdit*>("renameJob")->text(), QString("Hydro"));
    }
}

QTEST_MAIN(RenameTextReadingTest)
#include "rename_text_reading_test.moc"
