#include "mediaconverter/WorkerMessage.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

// A worker program that misbehaves in the way its argument names. Tests replace the worker with a script that starts it
// with the worker's descriptors.

namespace {

using mediaconverter::WorkerMessage;
namespace given = mediaconverter::descriptor;

void send(WorkerMessage::Kind kind, float fraction = 0, std::string_view text = {}) {
    WorkerMessage message;
    message.kind = kind;
    message.fraction = fraction;
    std::copy(text.begin(), text.end(), message.text.begin());
    if (::write(given::report, &message, sizeof message) != static_cast<ssize_t>(sizeof message)) {
        ::_exit(EXIT_FAILURE);
    }
}

[[noreturn]] void stay() {
    while (true) {
        ::pause();
    }
}

[[noreturn]] void compute() {
    while (true) {
        static_cast<void>(::getppid());
    }
}

void sendHalfAMessage() {
    const char bytes[200] = {};
    static_cast<void>(!::write(given::report, bytes, sizeof bytes));
}

/// Keeps reporting, but makes no progress.
[[noreturn]] void reportTheSameForEver() {
    while (true) {
        send(WorkerMessage::Kind::progress, 0.25F);
        ::sleep(1);
    }
}

/// While a child shares its memory, the process is in a sleep that only a deadly signal ends.
void sleepUninterruptibly(unsigned seconds) {
    const pid_t child = ::vfork();
    if (child == 0) {
        ::sleep(seconds);
        ::_exit(0);
    }
}

[[noreturn]] void flood(WorkerMessage::Kind kind, long count) {
    for (long index = 0; index < count; ++index) {
        send(kind, 0, "line " + std::to_string(index));
    }
    ::_exit(EXIT_FAILURE);
}

void reportLimits() {
    rlimit limit = {};
    // The application sets it right after the start.
    for (int wait = 0; wait < 1000; ++wait) {
        ::getrlimit(RLIMIT_CPU, &limit);
        if (limit.rlim_cur != RLIM_INFINITY) {
            break;
        }
        ::usleep(5000);
    }
    send(WorkerMessage::Kind::note, 0, "processor seconds " + std::to_string(limit.rlim_cur));
}

void reportEnvironment() {
    for (char** entry = environ; *entry != nullptr; ++entry) {
        send(WorkerMessage::Kind::note, 0, std::string("environment ").append(*entry).substr(0, 400));
    }
}

/// Makes the output larger than any MP4 without writing data, like inserting room, to which no kernel limit applies.
void growOutput() {
    for (off_t gibibytes = 1; gibibytes <= 1024; gibibytes *= 2) {
        static_cast<void>(!::ftruncate(given::output, gibibytes << 30U));
    }
}

void goBackAndForth() {
    for (const float fraction : {0.5F, 0.2F, -3.0F, 0.6F, 0.1F, 70.0F, 0.3F}) {
        send(WorkerMessage::Kind::progress, fraction);
    }
}

}  // namespace

int main(int, char** arguments) {
    const std::string_view how = arguments[1];
    if (how == "half a message, then silence") {
        sendHalfAMessage();
        stay();
    } else if (how == "half a message, then the end") {
        sendHalfAMessage();
    } else if (how == "closed reports") {
        ::close(given::report);
        stay();
    } else if (how == "closed reports, computing") {
        ::close(given::report);
        compute();
    } else if (how == "done without ending") {
        send(WorkerMessage::Kind::done);
        stay();
    } else if (how == "done, then a crash") {
        send(WorkerMessage::Kind::done);
        std::abort();
    } else if (how == "done, computing") {
        send(WorkerMessage::Kind::done);
        compute();
    } else if (how == "the same progress") {
        reportTheSameForEver();
    } else if (how == "notes without end") {
        flood(WorkerMessage::Kind::note, 1000);
    } else if (how == "messages without end") {
        flood(WorkerMessage::Kind::progress, 10'000'000);
    } else if (how == "computing") {
        compute();
    } else if (how == "uninterruptible") {
        sleepUninterruptibly(36);
    } else if (how == "limits") {
        reportLimits();
    } else if (how == "growing") {
        growOutput();
        stay();
    } else if (how == "done, then growing") {
        send(WorkerMessage::Kind::done);
        ::close(given::report);
        ::usleep(300'000);  // for the checks that this report and its end cause
        growOutput();
        return EXIT_SUCCESS;
    } else if (how == "environment") {
        reportEnvironment();
    } else if (how == "back and forth") {
        goBackAndForth();
    }
    return EXIT_FAILURE;
}
