#include "studio/studio_json.h"

namespace kelo {

namespace {

Json fileJson(const StudioFile& file) {
    return Json{{"path", file.relativePath.string()},
                {"categoryFolder", file.categoryFolder},
                {"kind", std::string(fileKindName(file.kind))},
                {"size", file.identity.size},
                {"modified", file.identity.modified.sinceReference}};
}

Json totalsJson(const StudioTotals& totals) {
    return Json{{"count", totals.count}, {"bytes", totals.bytes}};
}

Json pathsJson(const StudioProjectView& view, const std::vector<std::size_t>& indices) {
    Json out = Json::array();
    for (const auto i : indices) out.push_back(view.files[i].relativePath.string());
    return out;
}

}  // namespace

Json studioInventoryJson(const StudioProjectView& view, const std::vector<std::size_t>* shown) {
    Json files = Json::array();
    if (shown)
        for (const auto i : *shown) files.push_back(fileJson(view.files[i]));
    else
        for (const auto& file : view.files) files.push_back(fileJson(file));
    return Json{{"folder", view.folder.string()},
                {"readAt", view.readAt.sinceReference},
                {"fileCount", view.files.size()},
                {"files", std::move(files)}};
}

Json studioInsightsJson(const StudioProjectView& view) {
    const StudioInsights& in = view.insights;
    Json byFolder = Json::object();
    for (const auto& [folder, totals] : in.byFolder) byFolder[folder] = totalsJson(totals);
    Json byKind = Json::object();
    for (const FileKind kind : kFileKinds)
        byKind[std::string(fileKindName(kind))] = totalsJson(in.byKind[static_cast<std::size_t>(kind)]);
    return Json{{"fileCount", in.fileCount},
                {"folderCount", in.folderCount},
                {"totalBytes", in.totalBytes},
                {"byFolder", std::move(byFolder)},
                {"byKind", std::move(byKind)},
                {"newest", pathsJson(view, in.newest)},
                {"largest", pathsJson(view, in.largest)},
                {"offNaming", pathsJson(view, in.offNaming)},
                {"stale", pathsJson(view, in.stale)}};
}

Json studioBoardJson(const StudioBoard& board) {
    Json references = Json::array();
    for (const auto& r : board.references)
        references.push_back(Json{{"path", r.reference.path.string()},
                                  {"device", r.reference.device},
                                  {"inode", r.reference.inode},
                                  {"missing", r.missing}});
    Json filters = Json::array();
    for (const auto& f : board.filters) filters.push_back(Json(f));
    return Json{{"references", std::move(references)}, {"filters", std::move(filters)}};
}

}  // namespace kelo
