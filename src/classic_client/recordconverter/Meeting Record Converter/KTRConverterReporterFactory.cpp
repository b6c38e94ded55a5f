#include "KTRConverterReporterFactory.h"

#include "KTRConverterProcessNotificationMgr.h"

KTRConverterReporterFactory::KTRConverterReporterFactory(platform::Application& application,
                                                         platform::NotificationCenter& notificationCenter,
                                                         platform::Workspace& workspace, AuroraBubbleMaker& bubbleMaker)
    : application_(application),
      notificationCenter_(notificationCenter),
      workspace_(workspace),
      bubbleMaker_(bubbleMaker) {}

std::shared_ptr<KTRConverterReportProtocol>
KTRConverterReporterFactory::createConverterReporterWithType(std::uint64_t type) const {
    if (type != 0) {
        return nullptr;
    }
    return std::make_shared<KTRConverterProcessNotificationMgr>(application_, notificationCenter_, workspace_,
                                                                bubbleMaker_);
}
