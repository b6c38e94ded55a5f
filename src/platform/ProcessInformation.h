#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

/// Facts about the running process. Any thread.
class ProcessInformation {
public:
    virtual ~ProcessInformation() = default;

    /// This process's id.
    virtual std::int32_t processIdentifier() const = 0;

    /// The full argument list, program path first.
    virtual std::vector<std::string> arguments() const = 0;
};

/// Process information from the entry point's argument vector.
class MainProcessInformation final : public ProcessInformation {
public:
    MainProcessInformation(int argc, char* argv[]);

    std::int32_t processIdentifier() const override;
    std::vector<std::string> arguments() const override;

private:
    std::vector<std::string> arguments_;
};

}  // namespace platform
