#include "recordkeeping/MeetingProcessWatch.h"

#include <utility>

namespace recordkeeping {

MeetingProcessWatch::MeetingProcessWatch(platform::ProcessExitWatch& watch, Barrier afterDelivery)
    : watch_(watch), afterDelivery_(std::move(afterDelivery)) {}

void MeetingProcessWatch::setEndHandler(EndHandler handler) {
    ended_ = std::move(handler);
}

void MeetingProcessWatch::watch(std::int32_t processId, std::function<void(std::int32_t)> exited) {
    ++armed_[processId];
    watch_.watch(processId, [this, exited = std::move(exited)](std::int32_t ended) {
        if (--armed_[ended] <= 0) {
            armed_.erase(ended);
        }
        afterDelivery_([this, exited, ended] {
            exited(ended);
            end(ended);
        });
    });
}

void MeetingProcessWatch::watchIfUnwatched(std::int32_t processId) {
    if (!armed_.contains(processId)) {
        watch(processId, [](std::int32_t) {});
    }
}

void MeetingProcessWatch::noteGone(std::int32_t processId) {
    armed_.erase(processId);
    afterDelivery_([this, processId] { end(processId); });
}

void MeetingProcessWatch::end(std::int32_t processId) {
    if (ended_) {
        ended_(processId);
    }
}

}  // namespace recordkeeping
