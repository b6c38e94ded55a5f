#pragma once

#include <QObject>
#include <QPoint>
#include <QSize>
#include <QTimer>
#include <functional>
#include <string>

class QWidget;

namespace uilib::qt {

/// Looks whether the desktop lets a window be seen where it was put: once it has had the time to show it, and whenever
/// it shows or hides it later. Sleeps in between. Main thread.
class WindowInspection final : public QObject {
public:
    /// `window` has just been shown; it and `place`, its top left corner as it is asked for from time to time, outlive
    /// this. `seen` is called once, `unseen` with the reason each time that it is not seen; not from inside this call.
    /// Either may end this.
    WindowInspection(const QWidget& window, const QPoint& place, std::function<void()> seen,
                     std::function<void(const std::string& reason)> unseen);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void wait();
    void inspect();
    std::string faultOfDesktop() const;

    const QWidget& window_;
    const QPoint& place_;
    const QSize size_;
    std::function<void()> seen_;
    std::function<void(const std::string& reason)> unseen_;
    QTimer timer_;
    bool wasExposed_ = false;  ///< when the timer was started
};

}  // namespace uilib::qt
