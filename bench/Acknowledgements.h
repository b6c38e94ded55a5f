#pragma once

#include "BusClient.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// Measures in `pairs` pairs how fast the converter and the echo program acknowledge each of `notifications`
/// notifications; prints the medians and the slowest hundredths.
void printLatencies(const std::vector<std::string>& converter, const std::vector<std::string>& echo, std::size_t pairs,
                    int notifications);

/// The acknowledgements of a burst of notifications.
struct Burst {
    double seconds = 0;
    bool inOrder = true;  ///< those of each sender
    int lost = 0;
};

/// Posts `count` notifications to `command`, in turns from `senders` senders, and waits for the acknowledgements, for a
/// minute at most.
Burst burstSeconds(BusClient& client, const std::vector<std::string>& command, int count, int senders);

}  // namespace bench
