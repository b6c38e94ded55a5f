#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "tools/meeting-client/ExitStatus.h"
#include "tools/meeting-client/Meeting.h"
#include "tools/meeting-client/MeetingBus.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>

namespace {

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
}

std::string converterBesideThisProgram() {
    std::error_code error;
    return (std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / "record-converter").native();
}

ExitStatus complainOfNoBus() {
    std::cerr << "meeting-client: there is no session bus\n";
    return ExitStatus::noSessionBus;
}

/// Posts one notification on behalf of a meeting process and waits for its acknowledgement.
struct Post {
    int pid = 0;
    std::string path;
    std::string object;
    double wait = 5.0;

    ExitStatus run(const char* name) const {
        MeetingBus bus;
        if (!bus.isConnected()) {
            return complainOfNoBus();
        }
        Notification notification{
            name, QString::fromStdString(object), {{kMeetingRecordNotificationKey_MeetingProcessId, pid}}};
        if (!path.empty()) {
            const std::string full = std::filesystem::absolute(path).native();
            notification.userInfo.insert(kMeetingRecordNotificationKey_RecordIntermediatePath, pathValue(full));
        }
        bus.post(notification);
        if (wait <= 0) {
            return ExitStatus::done;
        }
        if (!bus.waitUntil([&] { return bus.acknowledgedBy(name, pid) != 0; }, milliseconds(wait))) {
            std::cerr << "meeting-client: no acknowledgement within " << wait << " s\n";
            return ExitStatus::notAcknowledged;
        }
        std::cout << "acknowledged by converter " << bus.acknowledgedBy(name, pid) << '\n';
        return ExitStatus::done;
    }
};

/// Prints every notification.
struct Watch {
    bool json = false;
    int count = 0;
    double timeout = 0;

    ExitStatus run() const {
        MeetingBus bus;
        if (!bus.isConnected()) {
            return complainOfNoBus();
        }
        const auto seen = std::make_shared<int>(0);
        bus.setListener([seen, json = json, count = count](const Notification& notification) {
            if (count > 0 && *seen == count) {
                return;
            }
            ++*seen;
            std::cout << (json ? asJson(notification) : asText(notification)) << std::endl;
        });
        std::cerr << "meeting-client: watching\n";
        const bool full = bus.waitUntil([&] { return (count > 0 && *seen >= count) || !std::cout; },
                                        timeout > 0 ? milliseconds(timeout) : std::chrono::milliseconds(-1));
        return full || count == 0 ? ExitStatus::done : ExitStatus::tooFewNotifications;
    }
};

void addPost(CLI::App& app, const char* command, const char* help, const char* name, Post& post, ExitStatus& status) {
    CLI::App* const sub = app.add_subcommand(command, help);
    sub->add_option("--pid", post.pid, "Process id of the meeting process")->required();
    if (name == kMeetingRecordNotificationName_RecordingStarted) {
        sub->add_option("--path", post.path, "The file that it is writing")->required();
    }
    sub->add_option("--object", post.object, "Object of the notification; the converter ignores it");
    sub->add_option("--wait", post.wait, "Seconds to wait for the acknowledgement; 0: don't wait")
        ->capture_default_str();
    sub->callback([&post, &status, name] { status = post.run(name); });
}

void addWatch(CLI::App& app, Watch& watch, ExitStatus& status) {
    CLI::App* const sub = app.add_subcommand("watch", "Print every notification, one per line");
    sub->add_flag("--json", watch.json, "One JSON object per line: name, object, userInfo with D-Bus types");
    sub->add_option("--count", watch.count, "End after this many notifications")->check(CLI::NonNegativeNumber);
    sub->add_option("--timeout", watch.timeout, "End after this many seconds")->check(CLI::NonNegativeNumber);
    sub->callback([&watch, &status] { status = watch.run(); });
}

void addRecord(CLI::App& app, MeetingPlan& plan, double& wait, ExitStatus& status) {
    CLI::App* const sub = app.add_subcommand("record", "Play a whole meeting: record, launch or notify the converter");
    sub->add_option("--out", plan.out, "The recording; later ones get -2, -3, ...")->capture_default_str();
    sub->add_option("--recordings", plan.recordings, "How many, one after the other")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    sub->add_option("--seconds", plan.seconds, "Length of each")->check(CLI::PositiveNumber)->capture_default_str();
    sub->add_flag("--crash", plan.crash, "Die by SIGKILL in the middle of the last one");
    sub->add_option("--converter", plan.converter, "The converter to launch if none runs")->capture_default_str();
    sub->add_option("--converter-log", plan.converterLog, "File for its standard error");
    sub->add_option("--keep", plan.keep, "Value of -keepsIntermediateFile; 1 keeps the recordings");
    sub->add_option("--locale", plan.locale, "The user's language, 1 to 20")->capture_default_str();
    sub->add_option("--pname", plan.processName, "Name of this meeting process")->capture_default_str();
    sub->add_option("--picture", plan.picture, "h264 is copied into the MP4, vp8 has to be re-encoded")
        ->transform(CLI::CheckedTransformer(
            std::map<std::string, PictureCodec>{{"h264", PictureCodec::h264}, {"vp8", PictureCodec::vp8}}));
    sub->add_option("--ffmpeg", plan.ffmpeg, "The program that records")->capture_default_str();
    sub->add_option("--wait", wait, "Seconds to wait for each acknowledgement")->capture_default_str();
    sub->callback([&plan, &wait, &status] {
        plan.wait = milliseconds(wait);
        MeetingBus bus;
        status = Meeting(bus, plan).run();
    });
}

}  // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    ExitStatus status = ExitStatus::done;
    Post started;
    Post stopped;
    Post quit;
    Watch watch;
    MeetingPlan plan;
    plan.converter = converterBesideThisProgram();
    double wait = 5.0;

    CLI::App app("Plays a meeting client for the record converter.", "meeting-client");
    app.set_version_flag("--version", std::string("meeting-client ") + MEETING_CLIENT_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 1 recording or launching failed, 2 wrong command line, 3 no acknowledgement in time,\n"
        "4 no session bus, 5 a watch ended before its count was reached.");
    addPost(app, "started", "Report that a process is writing a recording",
            kMeetingRecordNotificationName_RecordingStarted, started, status);
    addPost(app, "stopped", "Report that the file a process was writing is complete",
            kMeetingRecordNotificationName_RecordingStopped, stopped, status);
    addPost(app, "quit", "Report that a process quits, so its recordings may be converted",
            kMeetingRecordNotificationName_MeetingAppQuit, quit, status);
    addWatch(app, watch, status);
    addRecord(app, plan, wait, status);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(ExitStatus::badUsage);
    }
    return static_cast<int>(status);
}
