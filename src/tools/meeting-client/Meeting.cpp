#include "tools/meeting-client/Meeting.h"

#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "tools/meeting-client/ChildProcess.h"
#include "tools/meeting-client/MeetingBus.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

void say(const std::string& line) {
    // Flushed: a reader on a pipe must get the line before the next step starts.
    std::cout << "meeting-client: " << line << std::endl;
}

std::string reason() {
    return std::generic_category().message(errno);
}

}  // namespace

Meeting::Meeting(MeetingBus& bus, MeetingPlan plan) : bus_(bus), plan_(std::move(plan)) {
    plan_.out = std::filesystem::absolute(plan_.out).lexically_normal().native();
}

std::string Meeting::pathOfRecording(int number) const {
    if (number == 1) {
        return plan_.out;
    }
    const std::filesystem::path out(plan_.out);
    return (out.parent_path() / out.stem()).native() + '-' + std::to_string(number) + out.extension().native();
}

ExitStatus Meeting::run() {
    if (!bus_.isConnected()) {
        say("there is no session bus: the converter learns only of the first recording and of the end of this process");
    }
    for (int number = 1; number <= plan_.recordings; ++number) {
        const std::string path = pathOfRecording(number);
        Recorder recorder(plan_.ffmpeg, plan_.picture);
        if (!record(recorder, path)) {
            return ExitStatus::failed;
        }
        // A launch announces the first recording; if there is no launch, and for later recordings, a notification does.
        const bool known = number == 1 && !bus_.converterRuns() ? launchConverter(path) : announce(path);
        if (!known) {
            recorder.finish();
            return ExitStatus::failed;
        }
        bus_.waitUntil([&recorder] { return !recorder.isRunning(); },
                       std::chrono::milliseconds(static_cast<long long>(plan_.seconds * 1000)));
        if (!recorder.isRunning()) {
            say("the recorder has ended too early");
            return ExitStatus::failed;
        }
        if (plan_.crash && number == plan_.recordings) {
            recorder.breakOff();
            say("dying without a quit, in the middle of " + path);
            kill(getpid(), SIGKILL);
        }
        if (!recorder.finish()) {
            say("the recorder could not finish " + path);
            return ExitStatus::failed;
        }
        say("recording stopped: " + path);
        post(kMeetingRecordNotificationName_RecordingStopped);
    }
    post(kMeetingRecordNotificationName_MeetingAppQuit);
    say("meeting over");
    return everyAnswerCame_ ? ExitStatus::done : ExitStatus::notAcknowledged;
}

bool Meeting::record(Recorder& recorder, const std::string& path) {
    if (access(path.c_str(), F_OK) == 0) {
        say(path + " exists already; choose another file with --out");
        return false;
    }
    if (!recorder.start(path)) {
        say(plan_.ffmpeg + " can't be started: " + reason());
        return false;
    }
    bus_.waitUntil([&recorder] { return recorder.isWriting() || !recorder.isRunning(); }, 10s);
    if (!recorder.isWriting()) {
        say("the recorder has not written anything to " + path);
        return false;
    }
    say("recording to " + path + " (process " + std::to_string(getpid()) + ")");
    return true;
}

bool Meeting::announce(const std::string& path) {
    if (!bus_.isConnected()) {
        say("without a session bus nothing can announce " + path);
        everyAnswerCame_ = false;
        return true;
    }
    post(kMeetingRecordNotificationName_RecordingStarted, path);
    if (bus_.acknowledgedBy(kMeetingRecordNotificationName_RecordingStarted, getpid()) != 0) {
        return true;
    }
    // The converter may have been quitting. A launch is right in any case: if one still runs, the second one notifies
    // it.
    return launchConverter(path);
}

bool Meeting::launchConverter(const std::string& path) {
    std::vector<std::string> arguments{kMeetingRecordLaunchParamKey_ProcessId,   std::to_string(getpid()),
                                       kMeetingRecordLaunchParamKey_ProcessName, plan_.processName,
                                       kMeetingRecordLaunchParamKey_Locale,      plan_.locale,
                                       kMeetingRecordLaunchParamKey_Path,        path};
    if (!plan_.keep.empty()) {
        arguments.insert(arguments.end(), {kMeetingRecordLaunchParamKey_KeepsIntermediateFile, plan_.keep});
    }
    // The converter outlives this process; if it kept a pipe open, a reader of that pipe would never see its end.
    const std::string log = plan_.converterLog.empty() && isatty(STDERR_FILENO) == 0 ? "/dev/null" : plan_.converterLog;
    bus_.forget();
    const pid_t launched = startDetached(plan_.converter, arguments, log);
    if (launched < 0) {
        say(plan_.converter + " can't be started: " + reason());
        return false;
    }
    say("launched " + plan_.converter + " (process " + std::to_string(launched) + ")");
    if (!bus_.isConnected()) {
        return true;
    }
    bus_.waitUntil([this] { return bus_.confirmedBy(getpid()) != 0; }, plan_.wait);
    const pid_t converter = bus_.confirmedBy(getpid());
    if (converter == 0) {
        complain(kMeetingRecordNotificationName_AppSpawnConfirm);
    } else {
        say("converter " + std::to_string(converter) + " confirms its start");
    }
    return true;
}

void Meeting::post(const char* name, const std::string& path) {
    if (!bus_.isConnected()) {
        return;
    }
    Notification notification{name, {}, {{kMeetingRecordNotificationKey_MeetingProcessId, int{getpid()}}}};
    if (!path.empty()) {
        notification.userInfo.insert(kMeetingRecordNotificationKey_RecordIntermediatePath, pathValue(path));
    }
    bus_.forget();
    bus_.post(notification);
    bus_.waitUntil([this, name] { return bus_.acknowledgedBy(name, getpid()) != 0; }, plan_.wait);
    const pid_t converter = bus_.acknowledgedBy(name, getpid());
    if (converter == 0) {
        complain(name);
    } else {
        say("converter " + std::to_string(converter) + " acknowledges " + name);
    }
}

void Meeting::complain(const char* name) {
    everyAnswerCame_ = false;
    say("no acknowledgement within " + std::to_string(plan_.wait.count()) + " ms: " + name);
}
