#include "platform/qt/EndingSignals.h"

#include <QSocketNotifier>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace platform::qt {

namespace {

constexpr int endingSignals[] = {SIGTERM, SIGINT, SIGHUP};

// The only state that the signal handler can reach.
std::atomic<int> eventDescriptor{-1};
std::atomic<bool> hasCome{false};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void onSignal(int) {
    hasCome = true;
    const int savedError = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(eventDescriptor.load(), &one, sizeof one);
    errno = savedError;
}

}  // namespace

struct EndingSignals::Source {
    explicit Source(std::function<void()> asked)
        : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), notifier(descriptor, QSocketNotifier::Read) {
        eventDescriptor = descriptor;
        QObject::connect(&notifier, &QSocketNotifier::activated, [this, asked = std::move(asked)] {
            std::uint64_t count = 0;
            if (read(descriptor, &count, sizeof count) == sizeof count) {
                asked();
            }
        });
        for (const int number : endingSignals) {
            struct sigaction previous = {};
            sigaction(number, nullptr, &previous);
            if (previous.sa_handler == SIG_IGN) {
                continue;
            }
            struct sigaction action = {};
            action.sa_handler = onSignal;
            action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
            sigaction(number, &action, nullptr);
        }
    }

    ~Source() {
        for (const int number : endingSignals) {
            struct sigaction current = {};
            sigaction(number, nullptr, &current);
            if (current.sa_handler == onSignal) {
                static_cast<void>(std::signal(number, SIG_DFL));
            }
        }
        notifier.setEnabled(false);
        close(eventDescriptor.exchange(-1));
    }

    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    const int descriptor;
    QSocketNotifier notifier;
};

EndingSignals::EndingSignals(std::function<void()> asked) : source_(std::make_unique<Source>(std::move(asked))) {}

EndingSignals::~EndingSignals() = default;

bool EndingSignals::haveCome() {
    return hasCome;
}

}  // namespace platform::qt
