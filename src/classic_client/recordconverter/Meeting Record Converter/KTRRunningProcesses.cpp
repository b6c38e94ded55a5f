#include "KTRRunningProcesses.h"

#include "platform/ProcessTable.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

using platform::KernelProcess;
using platform::ProcessTable;

struct FreeMemory {
    void operator()(KernelProcess* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<KernelProcess, FreeMemory>;

/// Returns an error code, 0 for success. `list` is null only on an error.
int GetBSDProcessList(Memory& list, std::size_t& count) {
    const auto& table = ProcessTable::standard();
    int error = 0;
    do {
        list = nullptr;
        std::size_t bytes = 0;
        error = table.size(bytes);
        if (error != 0) {
            break;
        }
        // An empty table needs a buffer too: null means an error.
        list.reset(static_cast<KernelProcess*>(std::malloc(bytes != 0 ? bytes : 1)));
        if (!list) {
            error = ENOMEM;
            break;
        }
        error = table.read(list.get(), bytes);
        count = bytes / sizeof(KernelProcess);
        // ENOMEM means that the table has grown since it was measured: measure again.
    } while (error == ENOMEM);
    if (error != 0) {
        list = nullptr;
        count = 0;
    }
    requireListExactlyWithoutError(error, list.get());
    return error;
}

KTRRunningProcesses::Record recordOf(const KernelProcess& process) {
    KTRRunningProcesses::Record record{{"processID", process.processId},
                                       {"processName", std::string(process.command.data())}};
    if (auto user = ProcessTable::standard().loginName(process.effectiveUserId)) {
        record["userID"] = process.effectiveUserId;
        record["userName"] = std::move(*user);
    }
    return record;
}

}  // namespace

std::vector<KTRRunningProcesses::Record> KTRRunningProcesses::getBSDProcessList() {
    Memory list;
    std::size_t count = 0;
    std::vector<Record> records;
    if (GetBSDProcessList(list, count) == 0) {
        records.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            records.push_back(recordOf(list.get()[i]));
        }
    }
    return records;
}

void KTRRunningProcesses::printProcesses() {
    const auto& table = ProcessTable::standard();
    // The result is in bytes but is used as a number of ids: this gives four times the room needed, so that processes
    // started meanwhile still fit. Ids that stay 0 are no processes.
    const std::size_t count = table.listProcessIds(nullptr, 0);
    std::vector<std::int32_t> ids(count, 0);
    table.listProcessIds(ids.data(), count * sizeof(std::int32_t));
    for (const std::int32_t id : ids) {
        if (id == 0) {
            continue;
        }
        const std::string path = table.executablePath(id);
        if (!path.empty()) {
            std::printf("path: %s\n", path.c_str());
        }
    }
}

void requireListExactlyWithoutError(int error, const void* list) {
    if ((error == 0) == (list != nullptr)) {
        return;
    }
    // Readers of crash reports know this check by its function, unit and line.
    static_cast<void>(
        std::fputs("Assertion failed: ((err == 0) == (*procList != NULL)), function GetBSDProcessList, file "
                   "KTRRunningProcesses, line 109.\n",
                   stderr));
    std::abort();
}
