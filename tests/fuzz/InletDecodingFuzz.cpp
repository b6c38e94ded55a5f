// Whatever a client puts into a notification, it is acknowledged exactly if it names a process, with the value that
// came, and reported exactly if its name is known.
#include "Input.h"
#include "KTRAppInlet.h"
#include "platform/DistributedNotificationCenter.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakeDistributedNotificationCenter.h"
#include "support/FakeProcessInformation.h"

#include <bit>
#include <cmath>
#include <memory>
#include <string>

namespace {

using platform::UserInfoValue;

UserInfoValue value(fuzz::Input& input) {
    switch (input.byte() % 11) {
    case 0:
        return static_cast<std::int32_t>(input.number());
    case 1:
        return static_cast<std::uint32_t>(input.number());
    case 2:
        return static_cast<std::int64_t>(input.number());
    case 3:
        return input.number();
    case 4:
        return static_cast<std::int16_t>(input.number());
    case 5:
        return static_cast<std::uint16_t>(input.number());
    case 6:
        return input.byte();
    case 7:
        return std::bit_cast<double>(input.number());
    case 8:
        return input.text();
    case 9:
        return input.byte() % 2 == 0;
    default:
        const auto text = input.text();
        return platform::Bytes(text.begin(), text.end());
    }
}

std::string key(fuzz::Input& input) {
    switch (input.byte() % 4) {
    case 0:
        return kMeetingRecordNotificationKey_MeetingProcessId;
    case 1:
        return kMeetingRecordNotificationKey_RecordIntermediatePath;
    case 2:
        return kMeetingRecordNotificationKey_AckToProcessId;
    default:
        return input.text();
    }
}

bool isSame(const UserInfoValue& left, const UserInfoValue& right) {
    const auto* const number = std::get_if<double>(&left);
    const bool isNan = number != nullptr && std::isnan(*number);
    return left.index() == right.index() && (isNan ? std::isnan(std::get<double>(right)) : left == right);
}

class Events final : public KTRAppInletDelegate {
public:
    void appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(KTRAppInlet&, std::int32_t pid,
                                                                           const std::optional<std::string>&) override {
        note(pid);
    }
    void appInletSeesMeetingRecordStopedInProcess(KTRAppInlet&, std::int32_t pid) override { note(pid); }
    void appInletSeesMeetingQuitFromProcess(KTRAppInlet&, std::int32_t pid) override { note(pid); }

    int count = 0;
    std::int32_t lastPid = 0;

private:
    void note(std::int32_t pid) {
        ++count;
        lastPid = pid;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    test::FakeDistributedNotificationCenter center;
    const test::FakeProcessInformation processInformation;
    KTRAppInlet inlet(center, processInformation);
    const auto events = std::make_shared<Events>();
    inlet.setDelegate(events);

    const char* const names[] = {kMeetingRecordNotificationName_RecordingStarted,
                                 kMeetingRecordNotificationName_RecordingStopped,
                                 kMeetingRecordNotificationName_MeetingAppQuit};
    const auto choice = input.byte() % 4U;
    platform::DistributedNotification notification{choice < 3 ? names[choice] : input.text(), std::nullopt,
                                                   std::nullopt};
    while (!input.isEmpty()) {
        if (!notification.userInfo) {
            notification.userInfo.emplace();
        }
        auto itsKey = key(input);
        notification.userInfo->insert_or_assign(std::move(itsKey), value(input));
    }
    inlet.onExternalNotification(notification);

    const UserInfoValue* pid = nullptr;
    if (notification.userInfo) {
        const auto found = notification.userInfo->find(kMeetingRecordNotificationKey_MeetingProcessId);
        pid = found == notification.userInfo->end() ? nullptr : &found->second;
    }
    fuzz::require(center.posted().size() == (pid != nullptr ? 1U : 0U), "one acknowledgement for one process id");
    if (pid != nullptr) {
        const auto& back = *center.posted()[0].userInfo;
        fuzz::require(back.size() == 3, "an acknowledgement has three entries");
        fuzz::require(isSame(back.at(kMeetingRecordNotificationKey_AckToProcessId), *pid),
                      "the id goes back as it came");
        fuzz::require(back.at(kMeetingRecordNotificationKey_AckNotificationName) == UserInfoValue(notification.name),
                      "the acknowledged name is the one that came");
    }
    const bool isKnown =
        notification.name == names[0] || notification.name == names[1] || notification.name == names[2];
    fuzz::require(events->count == (isKnown ? 1 : 0), "the delegate is told exactly of the known names");
    if (isKnown) {
        fuzz::require(events->lastPid == (pid != nullptr ? platform::integerValue(*pid) : 0), "with the id's number");
    }
    return 0;
}
