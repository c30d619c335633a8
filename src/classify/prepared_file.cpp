#include "classify/prepared_file.h"

#include "classify/tokens.h"

namespace kelo {

PreparedFile PreparedFile::make(FileRecord record) {
    PreparedFile out;
    out.fingerprint = record.fingerprint();
    out.tokens = Tokens::all(Tokens::withoutExtension(record.filename()));
    out.meaningful = Tokens::meaningfulOf(out.tokens);
    out.record = std::move(record);
    return out;
}

}  // namespace kelo
