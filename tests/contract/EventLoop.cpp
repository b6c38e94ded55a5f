#include "contract/EventLoop.h"

#include <QEventLoop>
#include <QTimer>

namespace test {

bool turnUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    QEventLoop loop;
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.setTimerType(Qt::PreciseTimer);
    deadline.start(limit);
    while (!done() && deadline.isActive()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

void turnFor(std::chrono::milliseconds time) {
    turnUntil([] { return false; }, time);
}

}  // namespace test
