#include "studio/studio_insights.h"

#include <algorithm>
#include <utility>

#include "access/path_safety.h"
#include "classify/tokens.h"
#include "model/category.h"
#include "operations/rename_suggestions.h"
#include "scan/project_walk.h"

namespace kelo {

namespace {

// A project's name and aliases as token runs, split once for every file.
class ProjectNaming {
public:
    explicit ProjectNaming(const Project& project) {
        add(project.name);
        for (const auto& alias : project.aliases) add(alias);
    }

    // The naming the rename suggestions hold names to: the name carries the project
    // (its name or an alias, as whole words) and is not one that says nothing.
    bool follows(const StudioFile& file) const {
        const bool carriesProject = std::ranges::any_of(runs_, [&](const Run& run) {
            return Tokens::containsRun(file.nameTokens, run.tokens, run.meaningfulEmpty);
        });
        return carriesProject && !RenameSuggestions::questionable(file.filename(), rules_);
    }

private:
    struct Run {
        std::vector<std::string> tokens;
        bool meaningfulEmpty = true;
    };

    void add(const std::string& text) {
        auto tokens = Tokens::all(text);
        const bool empty = Tokens::meaningfulOf(tokens).empty();
        runs_.push_back({std::move(tokens), empty});
    }

    std::vector<Run> runs_;
    TokenRules rules_{[](std::string_view text) { return Tokens::all(text); },
                      [](std::string_view text) {
                          const auto list = Tokens::meaningful(text);
                          return std::set<std::string>(list.begin(), list.end());
                      }};
};

// Keeps `list` (indices into `files`) as the first kListLimit files under `before`.
template <class Before>
void keepTop(std::vector<std::size_t>& list, const std::vector<StudioFile>& files, std::size_t index, Before before) {
    const auto at =
        std::ranges::upper_bound(list, index, [&](std::size_t a, std::size_t b) { return before(files[a], files[b]); });
    if (at - list.begin() >= static_cast<std::ptrdiff_t>(StudioInsights::kListLimit)) return;
    list.insert(at, index);
    if (list.size() > StudioInsights::kListLimit) list.pop_back();
}

void addTo(StudioTotals& totals, const StudioFile& file) {
    ++totals.count;
    totals.bytes += file.identity.size;
}

bool isHidden(const std::filesystem::path& relativePath) {
    return std::ranges::any_of(relativePath,
                               [](const std::filesystem::path& part) { return part.native().starts_with('.'); });
}

}  // namespace

std::string categoryFolderOf(const std::filesystem::path& relativePath) {
    if (std::distance(relativePath.begin(), relativePath.end()) < 2) return {};
    const std::string first = relativePath.begin()->string();
    for (const auto& [category, name] : rawValues(Category{}))
        if (first == name) return first;
    return {};
}

StudioProjectView StudioProjectView::read(const std::filesystem::path& folder, const Project& project, Date now) {
    StudioProjectView view;
    view.folder = PathSafety::standardized(folder);
    view.readAt = now;
    StudioInsights& in = view.insights;
    walkProject(folder, "Unsupported project entry: ", [&](const ProjectEntry& entry) {
        // Hidden files (a file manager's ".directory", say) are not the designer's work.
        if (isHidden(entry.relativePath)) return;
        if (entry.isFolder) {
            ++in.folderCount;
            return;
        }
        const std::string name = entry.relativePath.filename().string();
        view.files.push_back(StudioFile{entry.relativePath, categoryFolderOf(entry.relativePath), fileKindOf(name),
                                        entry.identity, Tokens::all(name)});
    });

    const ProjectNaming naming(project);
    const auto newer = [](const StudioFile& a, const StudioFile& b) {
        return a.identity.modified > b.identity.modified;
    };
    const auto larger = [](const StudioFile& a, const StudioFile& b) { return a.identity.size > b.identity.size; };
    for (std::size_t i = 0; i < view.files.size(); ++i) {
        const StudioFile& file = view.files[i];
        ++in.fileCount;
        in.totalBytes += file.identity.size;
        addTo(in.byFolder[file.categoryFolder], file);
        addTo(in.byKind[static_cast<std::size_t>(file.kind)], file);
        keepTop(in.newest, view.files, i, newer);
        keepTop(in.largest, view.files, i, larger);
        if (!naming.follows(file)) in.offNaming.push_back(i);
        if (now.secondsSince(file.identity.modified) > StudioInsights::kStaleSeconds) in.stale.push_back(i);
    }
    return view;
}

std::vector<std::size_t> StudioProjectView::filtered(const StudioFilter& filter) const {
    std::vector<std::size_t> out;
    for (std::size_t i = 0; i < files.size(); ++i)
        if (filter.matches(files[i], readAt)) out.push_back(i);
    return out;
}

}  // namespace kelo
