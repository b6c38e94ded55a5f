#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <string>
#include <vector>

namespace recordkeeping {

/// What is wrong with a notification that a meeting client has posted: a sentence for each mistake, with what to do
/// instead. Empty for a correct one, and for those that converters post. Mistakes change nothing in how the application
/// handles the notification.
std::vector<std::string> mistakesIn(const platform::DistributedNotification& notification);

/// The same for the arguments of a launch, of which the first is the program.
std::vector<std::string> mistakesInLaunch(const std::vector<std::string>& arguments);

}  // namespace recordkeeping
