#pragma once

#include <string>
#include <sys/types.h>

/// The video codec of a recording.
enum class PictureCodec {
    h264,  ///< copied into an MP4
    vp8    ///< has to be re-encoded, like recordings made in browsers
};

/// Writes a recording in real time, as a meeting client does: a moving test image and a tone in a Matroska file. An
/// ffmpeg program does the work and dies with this process. Owned by the meeting; main thread.
class Recorder {
public:
    Recorder(std::string ffmpeg, PictureCodec codec) : ffmpeg_(std::move(ffmpeg)), codec_(codec) {}
    ~Recorder();

    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Starts to write `path`, which must not exist. False with errno set if the program cannot be started.
    bool start(const std::string& path);

    /// Whether the file contains data yet.
    bool isWriting() const;

    /// Whether the program runs; it ends by itself only on failure.
    bool isRunning();

    /// Finishes the file properly. False if the program had ended before, or had to be killed.
    bool finish();

    /// Ends in the middle of the file, like a power failure. The file lacks its last moments and its index.
    void breakOff();

private:
    std::string ffmpeg_;
    PictureCodec codec_;
    std::string path_;
    pid_t child_ = -1;
};
