// Runs one stored plan through the executor and writes the ids it reports as
// completed, one per line. The fault harness runs it under strace with failures
// injected into its system calls.
//
// kelo_fault_batch JOURNAL PLAN RESULT INBOX HOME NOW
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <sstream>

#include "operations/operation_executor.h"

constexpr const char* kBatchBeginsMarker = "/kelo-fault-harness/batch-begins";

int main(int argc, char** argv) {
    if (argc != 7) return 2;
    try {
        std::stringstream text;
        text << std::ifstream(argv[2]).rdbuf();
        const auto plan = kelo::decodeValue<kelo::OperationPlan>(kelo::parseDocument(text.str()));
        const kelo::Date now{std::stod(argv[6])};
        const kelo::AccessScope scope{{argv[4]}, {argv[5]}};
        // A marker the harness finds in the trace: calls before it are the loader's
        // and the harness's own, and faults there prove nothing about Kelo.
        ::access(kBatchBeginsMarker, F_OK);
        auto journal = std::make_unique<kelo::OperationJournal>(argv[1], [now] { return now; });
        kelo::OperationExecutor executor(std::move(journal), [now] { return now; });
        const auto result = executor.execute(plan, scope, false);
        std::ofstream out(argv[3]);
        for (const auto& id : result.completed) out << id.text() << "\n";
        out.close();
        return out ? 0 : 4;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
