#pragma once

#include "KTRConverterReportProtocol.h"

#include <cstdint>
#include <memory>

namespace platform {
class Application;
class NotificationCenter;
class Workspace;
}  // namespace platform

class AuroraBubbleMaker;

/// Makes the reporter. Made, asked once and dropped by the application delegate. Main thread.
class KTRConverterReporterFactory {
public:
    KTRConverterReporterFactory(platform::Application& application, platform::NotificationCenter& notificationCenter,
                                platform::Workspace& workspace, AuroraBubbleMaker& bubbleMaker);

    /// Type 0 is the bubble manager; null for any other type.
    std::shared_ptr<KTRConverterReportProtocol> createConverterReporterWithType(std::uint64_t type) const;

private:
    platform::Application& application_;
    platform::NotificationCenter& notificationCenter_;
    platform::Workspace& workspace_;
    AuroraBubbleMaker& bubbleMaker_;
};
