#include "mediaconverter/worker/Reporter.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace worker {

using mediaconverter::WorkerMessage;

namespace {

/// Each report wakes two processes; nobody sees more than this.
constexpr std::chrono::milliseconds leastInterval{25};

}  // namespace

void Reporter::progress(double fraction) {
    const auto now = std::chrono::steady_clock::now();
    if (fraction >= last_ + 0.001 && now >= lastTime_ + leastInterval) {
        last_ = fraction;
        lastTime_ = now;
        send(WorkerMessage::Kind::progress, 0, fraction, {});
    }
}

void Reporter::note(const std::string& text) {
    send(WorkerMessage::Kind::note, 0, 0, text);
}

void Reporter::damaged(const std::string& text) {
    send(WorkerMessage::Kind::damaged, 0, 0, text);
}

void Reporter::done() {
    send(WorkerMessage::Kind::done, 0, 1, {});
}

void Reporter::failed(mediaconverter::ConversionError error, const std::string& text) {
    send(WorkerMessage::Kind::failed, static_cast<int>(error), 0, text);
}

void Reporter::send(WorkerMessage::Kind kind, int code, double fraction, const std::string& text) const {
    WorkerMessage message;
    message.kind = kind;
    message.code = code;
    message.fraction = static_cast<float>(fraction);
    std::copy_n(text.begin(), std::min(text.size(), message.text.size() - 1), message.text.begin());
    ssize_t written = 0;
    do {
        written = ::write(descriptor_, &message, sizeof message);
    } while (written < 0 && errno == EINTR);
    if (written != static_cast<ssize_t>(sizeof message)) {
        ::_exit(EXIT_FAILURE);
    }
}

}  // namespace worker
