#pragma once

#include <string>

#include <sys/types.h>

/// What a recording's picture is made with.
enum class PictureCodec {
    h264,  ///< goes into an MP4 as it is
    vp8    ///< has to be transcoded, as recordings made in browsers have
};

/// Writes a recording in real time, as a meeting client does: a moving test picture and a tone into a Matroska file.
/// The work is done by an ffmpeg program, which dies with this process. Owned by the meeting; main thread.
class Recorder {
public:
    Recorder(std::string ffmpeg, PictureCodec codec) : ffmpeg_(std::move(ffmpeg)), codec_(codec) {}
    ~Recorder();

    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Begins to write `path`, which must not exist. False with errno set when the program can't be started.
    bool start(const std::string& path);

    /// Whether the file holds something already.
    bool isWriting() const;

    /// Whether the program runs; it ends by itself only when it fails.
    bool isRunning();

    /// Finishes the file properly. False when the program had ended before, or had to be killed.
    bool finish();

    /// Ends in the middle of the file, as when the power goes. The file has lost its last moments and its index.
    void breakOff();

private:
    std::string ffmpeg_;
    PictureCodec codec_;
    std::string path_;
    pid_t child_ = -1;
};
