#include "uilib/CAuroraBubbleDescription.h"

std::shared_ptr<CAuroraBubbleDescription> CAuroraBubbleDescription::defaultDescription() {
    return std::make_shared<CAuroraBubbleDescription>();
}

AuroraArrowDescription CAuroraBubbleDescription::packArrowDescription(const AuroraArrowRecord& record) const {
    return std::make_shared<const AuroraArrowRecord>(record);
}

AuroraFadeDescription CAuroraBubbleDescription::packFadeDescription(const AuroraFadeRecord& record) const {
    return std::make_shared<const AuroraFadeRecord>(record);
}
