#pragma once

#include "platform/Application.h"

#include <functional>
#include <memory>

namespace platform::qt {

/// The application main on Qt. Chooses a display that answers, or the off-screen platform, which it reports to the
/// system log. Leaves this program's own options alone, never ends because a window closed, never starts a session bus.
/// SIGTERM, SIGINT, SIGHUP and the end of the desktop session end it as its own request does, but are never refused; a
/// broken output pipe does not end it. One per process, on the main thread.
class QtApplication final : public Application {
public:
    QtApplication(int argc, char* argv[]);

    /// For tests; a running application ends with its process instead.
    ~QtApplication() override;

    void setDelegate(std::shared_ptr<ApplicationDelegate> delegate);
    std::shared_ptr<ApplicationDelegate> delegate() const override;

    void terminate(const ApplicationDelegate* sender) override;

    /// Decides whether `terminate` may end the application now; without a check it always may.
    void setTerminationCheck(std::function<bool()> check);

    /// Runs as soon as a signal, the desktop session or `terminate` has asked the application to end, before the events
    /// that are still queued.
    void setTerminationHandler(std::function<void()> handler);

    /// Runs last, just before the process ends through its exit handlers, whatever made it end.
    void setEndingHandler(std::function<void()> handler);

    /// Runs after the delegate has been notified that launching has finished.
    void setLaunchedHandler(std::function<void()> handler);

    /// Notifies the delegate that launching has finished, runs the main run loop until the application is asked to
    /// terminate, notifies the delegate, and ends the process with status 0 through its exit handlers. Nothing is
    /// destroyed before that: other threads may still be working.
    [[noreturn]] void run();

private:
    struct Toolkit;

    /// Every request to end comes here.
    void end();

    const std::unique_ptr<Toolkit> toolkit_;
    std::shared_ptr<ApplicationDelegate> delegate_;
    std::function<bool()> terminationCheck_;
    std::function<void()> terminationHandler_;
    std::function<void()> launchedHandler_;
    std::function<void()> endingHandler_;
};

}  // namespace platform::qt
