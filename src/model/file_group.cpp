#include "model/file_group.h"

namespace kelo {

void to_json(Json& out, const FileGroup& group) {
    out = Json{{"id", group.id}, {"title", group.title}, {"files", group.files}};
}

}  // namespace kelo
