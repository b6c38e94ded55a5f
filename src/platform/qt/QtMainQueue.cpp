#include "platform/qt/QtMainQueue.h"

#include <QSocketNotifier>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <mutex>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace platform::qt {

// The event descriptor counts the waiting tasks, and each read takes one. Qt's own event posting would work too, but
// the thread sanitizer cannot see its locks; it sees these.
struct QtMainQueue::State {
    State()
        : descriptor(eventfd(0, EFD_SEMAPHORE | EFD_CLOEXEC | EFD_NONBLOCK)),
          notifier(descriptor, QSocketNotifier::Read) {
        if (descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), "main queue");
        }
        QObject::connect(&notifier, &QSocketNotifier::activated, [this] { runNext(); });
    }

    ~State() {
        notifier.setEnabled(false);
        close(descriptor);
    }

    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void runNext() {
        std::uint64_t one = 0;
        if (read(descriptor, &one, sizeof one) != sizeof one) {
            return;
        }
        std::function<void()> task;
        {
            const std::lock_guard lock(mutex);
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        task();
    }

    const int descriptor;
    QSocketNotifier notifier;
    std::mutex mutex;
    std::deque<std::function<void()>> tasks;
};

QtMainQueue::QtMainQueue() : state_(std::make_unique<State>()) {}

QtMainQueue::~QtMainQueue() = default;

void QtMainQueue::async(std::function<void()> task) {
    {
        const std::lock_guard lock(state_->mutex);
        state_->tasks.push_back(std::move(task));
    }
    const std::uint64_t one = 1;
    // Fails only if 2^64 tasks wait.
    [[maybe_unused]] const auto written = write(state_->descriptor, &one, sizeof one);
}

}  // namespace platform::qt
