// OperationPlan and PlannedOperation: the one currency of every file change. A plan
// is an ordered list of operations built by a planner, shown as a preview, checked,
// journaled and carried out. Plain values; any thread may copy or read them.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "model/date.h"
#include "model/file_record.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

enum class OperationType { move, rename, undo, createDirectory };

inline constexpr std::array<std::pair<OperationType, std::string_view>, 4> rawValues(OperationType) {
    return {{{OperationType::move, "move"},
             {OperationType::rename, "rename"},
             {OperationType::undo, "undo"},
             {OperationType::createDirectory, "createDirectory"}}};
}

enum class OperationStatus { planned, started, completed, failed, undone };

inline constexpr std::array<std::pair<OperationStatus, std::string_view>, 5> rawValues(OperationStatus) {
    return {{{OperationStatus::planned, "planned"},
             {OperationStatus::started, "started"},
             {OperationStatus::completed, "completed"},
             {OperationStatus::failed, "failed"},
             {OperationStatus::undone, "undone"}}};
}

struct PlannedOperation {
    Uuid id;
    Uuid batchID;
    std::filesystem::path source;       // the existing item (for createDirectory: the parent folder)
    std::filesystem::path destination;  // the full target path, name included
    // The source's identity as the scanner recorded it; absent for createDirectory.
    std::optional<FileIdentity> expected;
    OperationType type = OperationType::move;
    std::optional<Uuid> reverses;  // for an undo: the id of the operation it reverses

    friend bool operator==(const PlannedOperation&, const PlannedOperation&) = default;
};

struct OperationPlan {
    Uuid id;
    Date createdAt;
    std::vector<PlannedOperation> operations;  // in execution order

    friend bool operator==(const OperationPlan&, const OperationPlan&) = default;
};

void to_json(Json& out, const PlannedOperation& operation);
void from_json(const Json& in, PlannedOperation& operation);
void to_json(Json& out, const OperationPlan& plan);
void from_json(const Json& in, OperationPlan& plan);

}  // namespace kelo
