#include "model/file_record.h"

#include <algorithm>

namespace kelo {

std::string pathExtension(const std::string& filename) {
    auto dot = filename.rfind('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == filename.size()) return {};
    return filename.substr(dot + 1);
}

std::string FileRecord::filename() const { return url.filename().string(); }

std::string FileRecord::fileExtension() const {
    std::string ext = pathExtension(filename());
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

std::string FileRecord::fingerprint() const {
    std::string out = url.native();
    out += '|';
    out += std::to_string(identity.device);
    out += '|';
    out += std::to_string(identity.inode);
    out += '|';
    out += std::to_string(identity.size);
    out += '|';
    out += shortestDecimal(identity.modified.sinceUnixEpoch());
    return out;
}

void to_json(Json& out, const FileIdentity& i) {
    JsonWriter w(out);
    w.put("device", i.device);
    w.put("inode", i.inode);
    w.put("size", i.size);
    w.put("modified", i.modified);
}

void from_json(const Json& in, FileIdentity& i) {
    JsonReader r(in);
    i.device = r.required<std::uint64_t>("device");
    i.inode = r.required<std::uint64_t>("inode");
    i.size = r.required<std::uint64_t>("size");
    i.modified = r.required<Date>("modified");
}

void to_json(Json& out, const FileRecord& f) {
    JsonWriter w(out);
    w.putUrl("url", f.url);
    w.putUrl("sourceFolder", f.sourceFolder);
    w.put("identity", f.identity);
    w.put("created", f.created);
    w.put("contentType", f.contentType);
}

void from_json(const Json& in, FileRecord& f) {
    JsonReader r(in);
    f.url = r.requiredUrl("url");
    f.sourceFolder = r.requiredUrl("sourceFolder");
    f.identity = r.required<FileIdentity>("identity");
    f.created = r.required<Date>("created");
    f.contentType = r.optional<std::string>("contentType");
}

}  // namespace kelo
