#pragma once

#include <QObject>
#include <QPoint>
#include <QSize>
#include <QTimer>
#include <functional>
#include <string>

class QWidget;

namespace uilib::qt {

/// Checks whether the desktop shows a window where it was put: once the desktop has had time to show it, and whenever
/// it shows or hides it later. Sleeps in between. Main thread.
class WindowInspection final : public QObject {
public:
    /// `window` has just been shown; it and `place`, the requested position of its top left corner, which may change,
    /// outlive this object. `seen` is called once, `unseen` with the reason each time that the window is not visible;
    /// neither from inside this call. Either may destroy this object.
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
