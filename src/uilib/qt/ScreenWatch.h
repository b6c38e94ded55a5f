#pragma once

#include <QDBusConnection>
#include <QObject>
#include <functional>

namespace uilib::qt {

/// Whether the user can see the screen: false while a screen saver or lock covers it, as far as the session bus tells.
/// Costs nothing between its changes. Main thread.
class ScreenWatch final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called with the new answer, never from inside this call.
    explicit ScreenWatch(std::function<void(bool)> changed);
    ~ScreenWatch() override;

    bool isVisible() const { return isVisible_; }

private Q_SLOTS:
    void onSaverActiveChanged(bool isActive);

private:
    void askSaver(const QString& service, const QString& path);

    const std::function<void(bool)> changed_;
    QDBusConnection bus_;
    bool isVisible_ = true;
};

}  // namespace uilib::qt
