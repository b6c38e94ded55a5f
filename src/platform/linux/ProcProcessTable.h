#pragma once

#include "platform/ProcessTable.h"

namespace platform {

/// The process table from /proc, ascending by process id. Stateless; two calls may see two different tables.
class ProcProcessTable final : public ProcessTable {
public:
    int size(std::size_t& bytes) const override;
    int read(KernelProcess* room, std::size_t& bytes) const override;
    std::size_t listProcessIds(std::int32_t* room, std::size_t bytes) const override;
    std::string executablePath(std::int32_t processId) const override;
    std::optional<std::string> loginName(std::uint32_t userId) const override;
};

}  // namespace platform
