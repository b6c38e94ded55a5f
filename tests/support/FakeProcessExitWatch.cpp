#include "support/FakeProcessExitWatch.h"

#include "support/Sequence.h"

#include <algorithm>
#include <utility>

namespace test {

void FakeProcessExitWatch::watch(std::int32_t processId, std::function<void(std::int32_t)> exited) {
    Sequence::add("exit watch: " + std::to_string(processId));
    watched_.push_back(processId);
    if (processId > 0 && !gone_.contains(processId)) {
        armed_.push_back({processId, std::move(exited)});
    } else if (goneHandler_) {
        goneHandler_(processId);
    }
}

void FakeProcessExitWatch::exit(std::int32_t processId) {
    gone_.insert(processId);
    std::vector<Watch> fired;
    for (auto& watch : armed_) {
        if (watch.processId == processId) {
            fired.push_back(watch);
        }
    }
    std::erase_if(armed_, [&](const Watch& watch) { return watch.processId == processId; });
    for (const auto& watch : fired) {
        watch.exited(processId);
    }
}

std::size_t FakeProcessExitWatch::armedCount(std::int32_t processId) const {
    return static_cast<std::size_t>(
        std::count_if(armed_.begin(), armed_.end(), [&](const Watch& watch) { return watch.processId == processId; }));
}

}  // namespace test
