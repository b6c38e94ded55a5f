#include "platform/ProcessTable.h"

#include "platform/Standard.h"

namespace platform {

namespace {

class NoProcesses final : public ProcessTable {
public:
    int size(std::size_t& bytes) const override {
        bytes = 0;
        return 0;
    }
    int read(KernelProcess*, std::size_t& bytes) const override {
        bytes = 0;
        return 0;
    }
    std::size_t listProcessIds(std::int32_t*, std::size_t) const override { return 0; }
    std::string executablePath(std::int32_t) const override { return {}; }
    std::optional<std::string> loginName(std::uint32_t) const override { return std::nullopt; }
};

Standard<const ProcessTable> shared;

}  // namespace

const ProcessTable& ProcessTable::standard() {
    static const NoProcesses none;
    return shared.orElse(none);
}

void ProcessTable::setStandard(const ProcessTable* table) {
    shared.install(table);
}

}  // namespace platform
