// kelo-gui-screenshots DIR: fills a window from sample folders in a temporary
// directory (a real engine, two real sorts so History has batches) and saves a PNG
// of every page, the first-run and rename dialogs, "ask AI" (against a loopback stand-in
// for Gemini) and a failed start-up into DIR. Run it on the
// offscreen platform; it never touches the user's own folders or settings.
#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QTableWidget>
#include <cstdio>

#include "access/path_safety.h"
#include "ai/gemini_payload.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "gui/ai_ask_dialog.h"
#include "gui/app_model.h"
#include "gui/companion/companion.h"
#include "gui/duplicates_dialog.h"
#include "gui/handoff_dialog.h"
#include "gui/main_window.h"
#include "gui/projects_page.h"
#include "engine/artwork_commands.h"
#include "gui/sticker_studio_dialog.h"
#include "gui/onboarding_dialog.h"
#include "gui/page.h"
#include "gui/rename_dialog.h"
#include "gui/style.h"
#include "gui/thumbnail_cache.h"
#include "model/json_codec.h"
#include "support/temp_dir.h"
#include "support/tls_test_server.h"

using namespace kelo;
using namespace kelo::gui;
using kelo::testing::TempDir;
using kelo::testing::writeFile;

namespace {

void settle(AppModel& model) {
    while (model.busy()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    QCoreApplication::processEvents();
}

void save(QWidget& widget, const QDir& dir, const QString& name) {
    QCoreApplication::processEvents();
    const QString path = dir.filePath(name + ".png");
    if (!widget.grab().save(path)) std::fprintf(stderr, "could not write %s\n", qPrintable(path));
}

// The same at twice the pixel density, as a HiDPI screen shows it.
void save2x(QWidget& widget, const QDir& dir, const QString& name) {
    QCoreApplication::processEvents();
    QPixmap pixmap(widget.size() * 2);
    pixmap.setDevicePixelRatio(2);
    pixmap.fill(Qt::transparent);
    widget.render(&pixmap, QPoint(), QRegion(), QWidget::DrawChildren);
    const QString path = dir.filePath(name + "@2x.png");
    if (!pixmap.save(path)) std::fprintf(stderr, "could not write %s\n", qPrintable(path));
}

// A small picture for an image sample, so Match shows real thumbnails.
QImage drawing(const QColor& background, const QColor& shape, const QString& label) {
    QImage image(480, 320, QImage::Format_RGB32);
    image.fill(background);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(shape);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPoint(150, 160), 110, 110);
    painter.setPen(Qt::white);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 40, QFont::Bold));
    painter.drawText(QRect(200, 100, 270, 120), Qt::AlignCenter, label);
    return image;
}

std::string encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

// The simplest Photoshop file: one flat RGB image, uncompressed planes.
std::string photoshop(const QImage& source) {
    const QImage image = source.convertToFormat(QImage::Format_RGB888);
    std::string out = "8BPS";
    auto put = [&out](std::uint32_t value, int bytes) {
        for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
    };
    put(1, 2);
    out.append(6, '\0');
    put(3, 2);  // channels
    put(image.height(), 4);
    put(image.width(), 4);
    put(8, 2);                        // bits per channel
    put(3, 2);                        // RGB
    put(0, 4), put(0, 4), put(0, 4);  // no colour table, resources or layers
    put(0, 2);                        // raw image data
    for (int channel = 0; channel < 3; ++channel)
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                out.push_back(static_cast<char>(image.constScanLine(y)[3 * x + channel]));
    return out;
}

// An Illustrator file is a PDF; a page of coloured shapes stands in for artwork.
std::string illustration() {
    const std::string content =
        "0.96 0.93 0.85 rg 0 0 300 200 re f 0.2 0.6 0.4 rg 30 30 110 140 re f "
        "0.95 0.5 0.2 rg 160 30 m 270 30 l 215 170 l f";
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
           "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 300 200]/Contents 4 0 R>>endobj\n"
           "4 0 obj<</Length " +
           std::to_string(content.size()) + ">>stream\n" + content +
           "\nendstream\nendobj\ntrailer<</Root 1 0 R>>\n%%EOF\n";
}

// Real pictures for the image and design samples; the others (and the PDFs, which
// then show the placeholder) hold a word of text.
std::string sampleContent(const std::string& name) {
    if (name == "ACME-Social-Post1.png")
        return encoded(drawing(QColor(0x1d, 0x3a, 0x6e), QColor(0xf2, 0xb1, 0x34), "ACME"), "PNG");
    if (name == "ACME-banner-final.png")
        return encoded(drawing(QColor(0xe8, 0xe4, 0xda), QColor(0xc0, 0x39, 0x2b), "SALE"), "PNG");
    if (name == "Screenshot 2026-11-20.png")
        return encoded(drawing(QColor(0x2b, 0x2b, 0x2b), QColor(0x3d, 0x8e, 0xd8), "UI"), "PNG");
    if (name == "ACME-logo-v2.psd") return photoshop(drawing(Qt::white, QColor(0x1d, 0x3a, 0x6e), "A"));
    if (name == "Bloom-Packaging-Box.ai") return illustration();
    return "sample";
}

// Waits until the Match page's thumbnails have all been decoded.
void settleThumbnails(QWidget& window) {
    QCoreApplication::processEvents();  // rows on screen ask for their pictures once laid out
    for (auto* cache : window.findChildren<ThumbnailCache*>())
        while (cache->inFlight() > 0) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    QCoreApplication::processEvents();
}

// Waits (at most half a minute) until the dialog reaches `stage`.
bool reach(AIAskDialog& dialog, AIAskDialog::Stage stage) {
    QElapsedTimer waited;
    waited.start();
    while (dialog.stage() != stage && waited.elapsed() < 30000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    QCoreApplication::processEvents();
    if (dialog.stage() != stage) std::fprintf(stderr, "ask AI stopped at: %s\n", qPrintable(dialog.message()));
    return dialog.stage() == stage;
}

// "Ask AI" for `file`: before sending, and with the advice when `send`; `suffix` names
// the scheme.
void saveAskAI(AppModel& model, const std::filesystem::path& file, bool send, const QDir& out, const QString& suffix) {
    AIAskDialog dialog(model, file);
    dialog.show();
    if (!reach(dialog, AIAskDialog::Stage::review)) return;
    save(dialog, out, "ai-ask" + suffix);
    if (!send) return;
    dialog.send();
    if (reach(dialog, AIAskDialog::Stage::advice)) save(dialog, out, "ai-advice" + suffix);
}

// Online AI on for the inbox, a session key, and a loopback server answering as
// Gemini would: the project ACME, a tidy name and a reason in Vietnamese.
void setUpAskAI(AppModel& model, const std::filesystem::path& inbox, kelo::testing::TlsTestServer& server) {
    qputenv("KELO_GEMINI_ENDPOINT", QByteArray::fromStdString(server.baseUrl()));
    qputenv("KELO_GEMINI_CA_FILE", QByteArray::fromStdString(server.certificateFile().string()));
    AIConfiguration c = model.snapshot()->ai->configuration;
    c.enabled = c.freeTierConfirmed = c.dataUseAcknowledged = true;
    c.allowedFolders = {PathSafety::key(inbox)};
    model.submit("ai", [c](Engine& engine) { return AICommands::configureAI(engine, c); });
    model.submit(
        "key", [](Engine& engine) { return AICommands::useSessionAIKey(engine, "AIzaScreenshotKey_0123456789-abc"); });
    settle(model);
    std::string acme;
    for (const Project& project : model.snapshot()->state->projects)
        if (project.name == "ACME") acme = project.id.text();
    const std::string output = Json{
        {"project_id", acme},
        {"category", "Export"},
        {"stem", "ACME-Social-Post1"},
        {"reason", "Tên tệp bắt đầu bằng ACME và ảnh là bài đăng mạng xã hội cùng bộ màu với dự án ACME."},
        {"confidence", "high"}}.dump();
    kelo::testing::CannedResponse answer;
    answer.body =
        Json{{"candidates", {{{"content", {{"parts", {{{"text", output}}}}}}, {"finishReason", "STOP"}}}}}.dump();
    server.respond(std::string(GeminiPayload::kEndpointPath), answer);
}

}  // namespace

int main(int argc, char** argv) {
    TempDir root;
    qputenv("GIO_USE_VFS", "local");  // folder icons never reach a desktop session's metadata
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        std::filesystem::create_directories(root / variable);
        qputenv(variable, QByteArray::fromStdString((root / variable).string()));
    }
    QApplication app(argc, argv);
    Style::apply(app, Style::Scheme::light);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelo-gui-screenshots DIR\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    QDir().mkpath(out.path());

    for (const char* name :
         {"ACME-Social-Post1.png", "ACME-logo-v2.psd", "ACME-banner-final.png", "Bloom-Packaging-Box.ai",
          "Bloom brief.docx", "CafeSaiGon-menu-Tet.pdf", "Tài liệu tham khảo.pdf", "Screenshot 2026-11-20.png",
          "hoa-don-thang-10.pdf", "Trà Xanh nhãn 1.ai", "Trà Xanh nhãn 2.ai", "Trà Xanh hộp quà.pdf"}) {
        writeFile(root / "Downloads" / name, sampleContent(name));
        // Two days old, so the executor does not hold them back as possibly still being written.
        std::filesystem::last_write_time(root / "Downloads" / name,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(48));
    }
    writeFile(root / "Projects/ACME/Working/old.psd", "psd");
    // The same export saved twice: the duplicate finder's example.
    writeFile(root / "Projects/ACME/Export/ACME-Social-Post1.png", sampleContent("ACME-Social-Post1.png"));
    writeFile(root / "Projects/ACME/Working/ACME-Social-Post1 copy.png", sampleContent("ACME-Social-Post1.png"));
    for (const char* name : {"Working/old.psd", "Export/ACME-Social-Post1.png", "Working/ACME-Social-Post1 copy.png"})
        std::filesystem::last_write_time(root / "Projects/ACME" / name,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(48));
    writeFile(root / "Projects/Bloom/Export/box.png", "png");
    std::filesystem::create_directories(root / "Projects/CafeSaiGon");

    AppModel model;
    MainWindow window(model);
    window.resize(1100, 720);
    window.show();
    model.start(root / "data");
    settle(model);
    {
        OnboardingDialog dialog(model);
        dialog.show();
        save(dialog, out, "onboarding");
    }
    model.addGrant(root / "Downloads", FolderGrant::Role::watch);
    model.addGrant(root / "Projects", FolderGrant::Role::projectHome);
    settle(model);
    Settings settings = model.snapshot()->state->settings;
    settings.dryRun = false;
    settings.onboardingCompleted = true;
    settings.usagePreset = UsagePreset::design;
    settings.displayName = "Lan Anh";
    settings.thresholds = {80, 60};
    model.updateSettings(settings);
    model.submit("sort", EngineActions::sortFile(root / "Downloads/ACME-banner-final.png",
                                                 {"ACME", Category::export_, std::nullopt}));
    model.submit("sort", EngineActions::sortFile(root / "Downloads/CafeSaiGon-menu-Tet.pdf",
                                                 {"CafeSaiGon", Category::reference, "Thực đơn Tết"}));
    FolderArtwork acme;
    acme.folderColor = "orange";
    acme.folderSymbol = "heart";
    acme.folderStickers = Json::array({Sticker{Sticker::Kind::text, "AC", 0.75, 0.3, 0.3, -15, "purple"}.toJson()});
    model.submit("artwork", [acme](Engine& engine) { return ArtworkCommands::setFolderArtwork(engine, "ACME", acme); });
    settle(model);
    if (!model.refusal().isEmpty()) std::fprintf(stderr, "refused: %s\n", qPrintable(model.refusal()));

    // A file chosen on Match shows its actions enabled.
    window.page(1)->findChild<QTableView*>("matchTable")->selectRow(0);

    const char* pages[] = {"overview", "match", "projects", "studio", "history", "settings", "companion"};
    for (int i = 0; i < 6; ++i) {
        window.showPage(i);
        settle(model);  // a page may ask the engine for something when it is first shown
        settleThumbnails(window);
        save(window, out, QString("%1-%2").arg(i + 1).arg(pages[i]));
    }

    // The Companion page and the companion itself, at 1x and 2x.
    window.showPage(6);
    save(window, out, "7-companion");
    save2x(window, out, "7-companion");
    window.companion()->setShown(true);
    CompanionPanel& panel = window.companion()->panel();
    panel.adjustSize();
    save(panel, out, "companion");
    save2x(panel, out, "companion");
    window.companion()->setShown(false);

    {
        RenameDialog dialog("ACME-logo-v2.psd", {"ACME", "Logo", "Tệp"});
        dialog.show();
        save(dialog, out, "rename");
    }
    {
        StickerStudioDialog dialog(model, model.snapshot()->state->projects.front());
        dialog.resize(900, 520);
        dialog.show();
        save(dialog, out, "sticker-studio");
    }

    // The housekeeping dialogs for ACME.
    window.showPage(2);
    auto* projects = static_cast<ProjectsPage*>(window.page(2));
    projects->findChild<QTableWidget*>("projectsTable")->selectRow(0);
    if (DuplicatesDialog* dialog = projects->openDuplicates()) {
        while (dialog->searching()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        settleThumbnails(*dialog);
        save(*dialog, out, "duplicates");
        dialog->close();
    }
    if (HandoffDialog* dialog = projects->openHandoff()) {
        std::filesystem::create_directories(root / "Exports");
        dialog->setExportFolder(QString::fromStdString((root / "Exports").string()));
        dialog->pack();
        while (dialog->packing()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        save(*dialog, out, "handoff");
        dialog->close();
    }

    // The same window after a refusal, and a second window whose engine could not start.
    window.showPage(5);
    settings.thresholds = {70, 70};
    model.updateSettings(settings);
    settle(model);
    save(window, out, "settings-refusal");

    AppModel blocked;
    MainWindow failed(blocked);
    failed.resize(1100, 720);
    failed.show();
    blocked.start(root / "data");  // the first model holds the lock
    settle(blocked);
    save(failed, out, "startup-failure");

    // Every page again in the dark scheme, in a window made after the switch as the
    // app makes its window after choosing the scheme.
    Style::apply(app, Style::Scheme::dark);
    MainWindow dark(model);
    dark.resize(1100, 720);
    dark.show();
    dark.page(1)->findChild<QTableView*>("matchTable")->selectRow(0);
    for (int i = 0; i < 7; ++i) {
        dark.showPage(i);
        settle(model);
        settleThumbnails(dark);
        save(dark, out, QString("%1-%2-dark").arg(i + 1).arg(pages[i]));
    }

    // "Ask AI" last, so the pages above show online AI as a new user has it: first
    // refused (online AI is off), then what would be sent and the advice, dark and light.
    for (const bool dark : {true, false}) {
        Style::apply(app, dark ? Style::Scheme::dark : Style::Scheme::light);
        AIAskDialog dialog(model, root / "Downloads/ACME-Social-Post1.png");
        dialog.show();
        if (reach(dialog, AIAskDialog::Stage::refused))
            save(dialog, out, dark ? "ai-ask-refused-dark" : "ai-ask-refused");
    }
    kelo::testing::TlsTestServer gemini;
    setUpAskAI(model, root / "Downloads", gemini);
    saveAskAI(model, root / "Downloads/ACME-logo-v2.psd", true, out, "");
    Style::apply(app, Style::Scheme::dark);
    saveAskAI(model, root / "Downloads/ACME-Social-Post1.png", true, out, "-dark");
    return 0;
}
