#pragma once

#include "platform/ProcessIdentity.h"

namespace platform {

/// Process identities as /proc shows them.
class LinuxProcessIdentities final : public ProcessIdentities {
public:
    LinuxProcessIdentities();

    ProcessIdentity identityOf(std::int32_t processId) const override;
    bool isAlive(const ProcessIdentity& identity) const override;

private:
    const std::string bootId_;
};

}  // namespace platform
