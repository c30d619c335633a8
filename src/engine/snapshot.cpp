#include "engine/snapshot.h"

namespace kelo {

const Classification* Snapshot::classificationOf(const std::string& fingerprint) const {
    if (!classifications) return nullptr;
    for (const auto& classification : *classifications)
        if (classification.file.fingerprint() == fingerprint) return &classification;
    return nullptr;
}

}  // namespace kelo
