// A fixed scenario for counting instructions: a start-up, then as many meetings of two recordings as the argument says,
// with fakes only, without threads, display, bus or disk.

#include "AppDelegate.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "support/FakePlatform.h"
#include "support/ScriptedMediaConverter.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

void deliver(test::FakePlatform& fake, const char* name, std::int32_t pid, const std::string& path = {}) {
    platform::UserInfo userInfo{{kMeetingRecordNotificationKey_MeetingProcessId, pid}};
    if (!path.empty()) {
        userInfo[kMeetingRecordNotificationKey_RecordIntermediatePath] = path;
    }
    fake.distributedCenter.deliver({name, std::nullopt, userInfo});
}

void recordOnce(test::FakePlatform& fake, std::int32_t pid, const std::string& path) {
    fake.fileManager.addFile(path);
    deliver(fake, kMeetingRecordNotificationName_RecordingStarted, pid, path);
    deliver(fake, kMeetingRecordNotificationName_RecordingStopped, pid);
}

}  // namespace

int main(int argc, char* argv[]) {
    const int meetings = argc > 1 ? std::atoi(argv[1]) : 1;
    test::FakePlatform fake;
    fake.processInformation.setArguments({"record-converter", "-locale", "9"});
    const auto app = std::make_shared<AppDelegate>(fake.platform(), fake.bubbleMaker);
    fake.application.setDelegate(app);
    app->applicationDidFinishLaunching();

    for (std::int32_t pid = 1; pid <= meetings; ++pid) {
        recordOnce(fake, pid, "/rec/one.mkv");
        recordOnce(fake, pid, "/rec/two.mkv");
        deliver(fake, kMeetingRecordNotificationName_MeetingAppQuit, pid);
        fake.serialQueues.last().drain();
        fake.mainQueue.drain();
        for (const auto& bubble : fake.bubbleMaker.bubbles()) {
            bubble->close();
        }
        fake.bubbleMaker.finishClosing();
    }
    return fake.bubbleMaker.bubbles().size() == static_cast<std::size_t>(2 * meetings + 1) ? EXIT_SUCCESS
                                                                                           : EXIT_FAILURE;
}
