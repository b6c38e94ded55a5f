#pragma once

#include <string>

namespace worker {

/// Thrown when the payload of a recording cannot stay where it is, or nothing proves that it can. The packets are then
/// copied one by one.
struct NotShareable {
    std::string why;
    bool isNotedElsewhere = false;  ///< another note gives this reason
};

}  // namespace worker
