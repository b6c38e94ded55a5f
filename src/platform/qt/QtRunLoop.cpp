#include "platform/qt/QtRunLoop.h"

#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <unistd.h>
#include <utility>

namespace platform::qt {

namespace {

class QtTimer final : public Timer, public std::enable_shared_from_this<QtTimer> {
public:
    QtTimer(std::chrono::milliseconds interval, std::function<void()> fire) : fire_(std::move(fire)) {
        // Coarse timers may fire up to a twentieth too early.
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setInterval(interval);
    }

    void start() {
        self_ = shared_from_this();
        QObject::connect(&timer_, &QTimer::timeout, [this] { tick(); });
        timer_.start();
    }

    void invalidate() override {
        valid_ = false;
        if (QThread::currentThread() == timer_.thread() && !firing_) {
            stop();
        }
    }

    bool isValid() const override { return valid_; }

private:
    void tick() {
        const auto keptForThisCall = self_;
        if (valid_) {
            firing_ = true;
            fire_();
            firing_ = false;
        }
        if (!valid_) {
            stop();
        }
    }

    // On the loop's thread. May destroy this object.
    void stop() {
        timer_.stop();
        const auto last = std::move(self_);
    }

    QTimer timer_;
    const std::function<void()> fire_;
    std::atomic<bool> valid_{true};
    bool firing_ = false;
    // The reference with which the loop keeps the timer alive.
    std::shared_ptr<QtTimer> self_;
};

}  // namespace

std::shared_ptr<Timer> QtRunLoop::scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                         std::function<void()> fire) {
    const auto timer =
        std::make_shared<QtTimer>(std::chrono::ceil<std::chrono::milliseconds>(interval), std::move(fire));
    timer->start();
    return timer;
}

void QtRunLoop::addOneShotReadSource(int descriptor, std::function<void()> readable) {
    auto* const notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [=, readable = std::move(readable)] {
        notifier->setEnabled(false);
        notifier->deleteLater();
        readable();
        close(descriptor);
    });
}

}  // namespace platform::qt
