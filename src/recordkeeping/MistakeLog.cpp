#include "recordkeeping/MistakeLog.h"

#include "platform/SystemLog.h"
#include "recordkeeping/Mistakes.h"

namespace recordkeeping {

void MistakeLog::noteLaunch(const std::vector<std::string>& arguments) {
    for (const auto& mistake : mistakesInLaunch(arguments)) {
        write("a mistake in the launch: " + mistake);
    }
}

void MistakeLog::notificationArrived(const platform::DistributedNotification& notification, const std::string& sender) {
    const auto mistakes = mistakesIn(notification);
    if (mistakes.empty()) {
        return;
    }
    const auto poster = describedSender(sender);
    for (const auto& mistake : mistakes) {
        write("a mistake in \"" + notification.name + "\" from " + poster + ": " + mistake);
    }
}

void MistakeLog::malformedArrived(const std::string& signature, const std::string& sender) {
    write("a notification from " + describedSender(sender) + " has the arguments (" + signature +
          "); it is ignored, because they must be (ssa{sv}): name, object, user info");
}

std::string MistakeLog::describedSender(const std::string& sender) const {
    const auto process = bus_.processIdOf(sender);
    return sender + (process ? " (process " + std::to_string(*process) + ")" : " (which has left the bus)");
}

void MistakeLog::write(const std::string& line) {
    if (line != last_) {
        last_ = line;
        platform::SystemLog::standard().write(line, platform::Severity::warning);
    }
}

}  // namespace recordkeeping
