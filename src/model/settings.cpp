#include "model/settings.h"

#include "model/unicode_text.h"

namespace kelo {

const UsagePresetValues& presetValues(UsagePreset preset) {
    static const UsagePresetValues kStudy{
        "Học tập", "graduationcap.fill", "Toan-BaiTap-Bai1.pdf", "Bai",
        {"Bài giảng", "Bài tập", "Tài liệu", "Nộp bài"}};
    static const UsagePresetValues kDesign{
        "Thiết kế", "paintpalette.fill", "HY-Social-Post1.png", "Post", {"Social", "Packaging", "Reference", "Export"}};
    static const UsagePresetValues kPersonal{
        "Cá nhân", "sparkles", "DuLich-LichTrinh-Tep1.pdf", "Tep", {"Giấy tờ", "Ảnh", "Kế hoạch", "Lưu trữ"}};
    switch (preset) {
        case UsagePreset::study: return kStudy;
        case UsagePreset::design: return kDesign;
        case UsagePreset::personal: return kPersonal;
    }
    return kPersonal;
}

std::string Settings::suggestedNamingDetail() const {
    if (namingDetail) return *namingDetail;
    if (usagePreset) return std::string(presetValues(*usagePreset).detail);
    return "Tep";
}

std::optional<std::string> Settings::normalizeName(std::string_view text) {
    std::string joined;
    for (const auto& piece : splitOnWhitespace(text)) {
        if (!joined.empty()) joined += ' ';
        joined += piece;
    }
    if (joined.empty()) return std::nullopt;
    return graphemePrefix(joined, 40);
}

void to_json(Json& out, const Thresholds& t) {
    JsonWriter w(out);
    w.put("ready", t.ready);
    w.put("probably", t.probably);
}

void from_json(const Json& in, Thresholds& t) {
    JsonReader r(in);
    t.ready = r.required<int>("ready");
    t.probably = r.required<int>("probably");
}

void to_json(Json& out, const ZipCleanupRule& z) {
    JsonWriter w(out);
    w.put("id", z.id);
    w.put("folderGrantID", z.folderGrantID);
    w.put("enabledAt", z.enabledAt);
}

void from_json(const Json& in, ZipCleanupRule& z) {
    JsonReader r(in);
    z.id = r.required<Uuid>("id");
    z.folderGrantID = r.required<Uuid>("folderGrantID");
    z.enabledAt = r.required<Date>("enabledAt");
}

void to_json(Json& out, const Settings& s) {
    JsonWriter w(out);
    w.put("thresholds", s.thresholds);
    w.put("dryRun", s.dryRun);
    w.put("debug", s.debug);
    w.put("zipCleanupRule", s.zipCleanupRule);
    w.put("displayName", s.displayName);
    w.put("usagePreset", s.usagePreset);
    w.put("namingDetail", s.namingDetail);
    w.put("onboardingCompleted", s.onboardingCompleted);
    w.put("groupBySubjob", s.groupBySubjob);
}

void from_json(const Json& in, Settings& s) {
    JsonReader r(in);
    s.thresholds = r.required<Thresholds>("thresholds");
    s.dryRun = r.required<bool>("dryRun");
    s.debug = r.required<bool>("debug");
    s.zipCleanupRule = r.optional<ZipCleanupRule>("zipCleanupRule");
    s.displayName = r.optional<std::string>("displayName");
    s.usagePreset = r.optional<UsagePreset>("usagePreset");
    s.namingDetail = r.optional<std::string>("namingDetail");
    s.onboardingCompleted = r.optional<bool>("onboardingCompleted");
    s.groupBySubjob = r.optional<bool>("groupBySubjob");
}

}  // namespace kelo
