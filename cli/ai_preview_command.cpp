// `kelo ai preview FILE --out PATH [--attach IMAGE]`: writes the exact JPEG that
// online AI would send for FILE (or for the exported image attached in its place),
// so the user can see it before anything leaves the machine. Reads FILE only and
// writes PATH as a new file; it needs no engine and sends nothing.
#include <iostream>
#include <memory>
#include <optional>

#include "ai/ai_preview.h"
#include "artwork/artwork_choices.h"
#include "cli/command.h"
#include "model/json_codec.h"
#include "scan/metadata.h"

namespace kelo::cli {

namespace {

struct PreviewOptions {
    std::string file;
    std::string out;
    std::optional<std::string> attach;
};

bool jsonWanted(const CLI::App& root, const CLI::App& group, const CLI::App& command) {
    return root.count("--json") > 0 || group.count("--json") > 0 || command.count("--json") > 0;
}

int runPreview(std::ostream& out, const PreviewOptions& o, bool json) {
    const std::filesystem::path file(o.file);
    const std::string jpeg = o.attach ? AIPreview::fromAttachment(AIPreview::readAttachment(*o.attach))
                                      : AIPreview::make(Metadata::record(file, file.parent_path()));
    ArtworkChoices::writeNewFile(o.out, jpeg);
    if (json)
        out << formatDocument(Json{{"bytes", jpeg.size()}, {"file", o.file}, {"out", o.out}});
    else
        out << "Wrote the AI preview of " << file.filename().string() << " (" << jpeg.size() << " bytes of JPEG) to "
            << o.out << ". Nothing was sent.\n";
    return 0;
}

// The "ai" group may already be registered by the other online AI commands.
CLI::App* aiGroup(CLI::App& app) {
    for (CLI::App* sub : app.get_subcommands({}))
        if (sub->get_name() == "ai") return sub;
    auto* group = app.add_subcommand("ai", "Online AI advice with your own Gemini key");
    group->require_subcommand(1);
    return group;
}

}  // namespace

void addAiPreviewCommand(CLI::App& app, Commands& commands) {
    auto o = std::make_shared<PreviewOptions>();
    CLI::App* group = aiGroup(app);
    auto* preview = group->add_subcommand("preview", "Write the JPEG that online AI would send for a file");
    preview->add_option("FILE", o->file, "A PNG, JPEG, WebP, GIF, TIFF, HEIC, BMP, PSD or AI file")->required();
    preview->add_option("--out", o->out, "The new JPEG file to write (never overwritten)")
        ->option_text("PATH")
        ->required();
    preview->add_option("--attach", o->attach, "An exported PNG/JPG to send in place of FILE")->option_text("IMAGE");
    Command command(preview, nullptr, nullptr);
    command.standalone = [&app, group, preview, o](std::ostream& out) {
        return runPreview(out, *o, jsonWanted(app, *group, *preview));
    };
    commands.push_back(std::move(command));
}

}  // namespace kelo::cli
