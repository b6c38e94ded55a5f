#pragma once

#include "tools/meeting-client/ExitStatus.h"
#include "tools/meeting-client/Recorder.h"

#include <chrono>
#include <string>
#include <vector>

class MeetingBus;

/// The plan of a played meeting.
struct MeetingPlan {
    std::string out = "meeting.mkv";  ///< the first recording; later ones have -2, -3, ... before the extension
    int recordings = 1;
    double seconds = 5.0;  ///< of each recording
    bool crash = false;    ///< die in the middle of the last recording instead of stopping it and quitting
    std::string converter;
    std::string converterLog;  ///< takes a launched converter's standard error; empty: chosen by `Meeting`
    std::string processName = "meeting-client";
    std::string locale = "1";
    std::string keep;  ///< value of "-keepsIntermediateFile"; empty: the option is not given
    std::string ffmpeg = "ffmpeg";
    PictureCodec picture = PictureCodec::h264;
    std::chrono::milliseconds wait{5000};  ///< for each acknowledgement
};

/// A whole meeting in this process: records, sends the converter what a meeting client sends, and prints each step as
/// one line on standard output. Main thread.
class Meeting {
public:
    Meeting(MeetingBus& bus, MeetingPlan plan);

    /// Plays the meeting. Does not return if the plan is to crash and everything before went well.
    ExitStatus run();

    /// Path of recording `number`, counted from 1; absolute.
    std::string pathOfRecording(int number) const;

private:
    bool record(Recorder& recorder, const std::string& path);
    bool announce(const std::string& path);
    bool launchConverter(const std::string& path);
    void post(const char* name, const std::string& path = {});
    void complain(const char* name);

    MeetingBus& bus_;
    MeetingPlan plan_;
    bool everyAnswerCame_ = true;
};
