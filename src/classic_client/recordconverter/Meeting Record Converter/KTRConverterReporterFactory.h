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

/// Creates the reporter. The application delegate creates the factory, calls it once and drops it. Main thread.
class KTRConverterReporterFactory {
public:
    KTRConverterReporterFactory(platform::Application& application, platform::NotificationCenter& notificationCenter,
                                platform::Workspace& workspace, AuroraBubbleMaker& bubbleMaker);

    /// Type 0 gives the bubble manager; any other type gives null.
    std::shared_ptr<KTRConverterReportProtocol> createConverterReporterWithType(std::uint64_t type) const;

private:
    platform::Application& application_;
    platform::NotificationCenter& notificationCenter_;
    platform::Workspace& workspace_;
    AuroraBubbleMaker& bubbleMaker_;
};
