#pragma once

#include "platform/RunningApplications.h"

namespace platform {

/// Every process of this user is an application, from its start until it ends; a zombie has ended. Stateless.
class LinuxRunningApplications final : public RunningApplications {
public:
    bool isRunning(std::int32_t processId) const override;
};

}  // namespace platform
