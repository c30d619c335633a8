#include "operations/trash_policy.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/file_status.h"
#include "scan/metadata.h"
#include "scan/package_names.h"

namespace kelo::TrashPolicy {

namespace fs = std::filesystem;

void validateFile(const FileRecord& record, const AccessScope& scope) {
    // The link walk takes the path as written, so a ".." after a link cannot hide
    // it; once it passes, the standardized path names the same file.
    const fs::path file = PathSafety::standardized(record.url);
    if (!scope.allows(file)) throw KeloError::unsafe("Cấp quyền lại cho thư mục chứa tệp trước khi xóa.");
    PathSafety::noSymbolicComponents(record.url);
    if (Metadata::identity(file) != record.identity) throw KeloError::unsafe("Tệp đã thay đổi. Làm mới trước khi xóa.");
}

void validateProject(const Project& project, const AccessScope& scope) {
    const fs::path folder = PathSafety::standardized(project.destinationFolder);
    const auto isHome = [&](const fs::path& path) {
        return std::any_of(scope.homes.begin(), scope.homes.end(),
                           [&](const fs::path& home) { return PathSafety::key(home) == PathSafety::key(path); });
    };
    const bool insideAHome = std::any_of(scope.homes.begin(), scope.homes.end(),
                                         [&](const fs::path& home) { return PathSafety::contains(home, folder); });
    if (!insideAHome)
        throw KeloError::unsafe(
            "Job này nằm ngoài thư mục dự án đang được cấp quyền. Vào Cài đặt → Thư mục → Chọn thư mục chứa job, rồi "
            "chọn thư mục cha của job này. Không cần cấp quyền toàn bộ ổ đĩa.");
    if (!isHome(folder.parent_path()) || isHome(folder))
        throw KeloError::unsafe(
            "Chỉ xóa thư mục job trực tiếp trong thư mục dự án đã cấp quyền; không xóa thư mục gốc.");
    PathSafety::noSymbolicComponents(project.destinationFolder);
    const FileStatus status = readStatus(AT_FDCWD, folder.c_str(), folder);
    if (!S_ISDIR(status.mode) || isPackageName(folder.filename().native()))
        throw KeloError::unsafe("Job không còn là thư mục thông thường. Hãy quét lại.");
}

}  // namespace kelo::TrashPolicy
