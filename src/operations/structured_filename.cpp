#include "operations/structured_filename.h"

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/trimming.h"

namespace kelo::StructuredFilename {

namespace {

constexpr const char* kBadPart = "Nhập đủ Job, mục đích và chi tiết; không dùng dấu chấm hoặc ký tự đường dẫn.";
constexpr const char* kBadName = "Tên tệp quá dài hoặc không hợp lệ.";

bool acceptablePart(const std::string& part) {
    return !part.empty() && PathSafety::validName(part) && part.find('.') == std::string::npos &&
           part.find('\\') == std::string::npos && part.front() != '-' && !containsControlCharacter(part);
}

}  // namespace

std::string make(const std::string& job, const std::string& purpose, const std::string& detail,
                 const std::string& extension) {
    const std::string parts[] = {trimmedWhitespace(job), trimmedWhitespace(purpose), trimmedWhitespace(detail)};
    for (const std::string& part : parts)
        if (!acceptablePart(part)) throw KeloError::unsafe(kBadPart);
    std::string name = parts[0] + "-" + parts[1] + "-" + parts[2];
    if (!extension.empty()) name += "." + extension;
    if (!PathSafety::validName(name)) throw KeloError::unsafe(kBadName);
    return name;
}

}  // namespace kelo::StructuredFilename
