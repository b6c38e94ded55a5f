#pragma once

#include "platform/ProcessInformation.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace test {

class FakeProcessInformation final : public platform::ProcessInformation {
public:
    FakeProcessInformation() = default;
    FakeProcessInformation(std::int32_t processIdentifier, std::vector<std::string> arguments)
        : processIdentifier_(processIdentifier), arguments_(std::move(arguments)) {}

    std::int32_t processIdentifier() const override { return processIdentifier_; }
    std::vector<std::string> arguments() const override { return arguments_; }

    void setProcessIdentifier(std::int32_t identifier) { processIdentifier_ = identifier; }

    /// The program path comes first.
    void setArguments(std::vector<std::string> arguments) { arguments_ = std::move(arguments); }

private:
    std::int32_t processIdentifier_ = 4242;
    std::vector<std::string> arguments_{"/opt/record-converter/bin/record-converter"};
};

}  // namespace test
