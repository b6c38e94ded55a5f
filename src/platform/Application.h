#pragma once

#include <memory>

namespace platform {

class StatusItem;

/// How the platform's application main notifies the one object that runs the program. Main thread.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    /// Called once, when the main run loop is about to start.
    virtual void applicationDidFinishLaunching() {}

    /// Called once, when the application has been asked to terminate and the process is about to end.
    virtual void applicationWillTerminate() {}

    /// The application's icon in the status bar; null if there is none.
    virtual std::shared_ptr<StatusItem> statusItem() const { return nullptr; }
};

/// The running application.
class Application {
public:
    virtual ~Application() = default;

    /// The delegate given to the application main; it lives until the process ends. Main thread.
    virtual std::shared_ptr<ApplicationDelegate> delegate() const = 0;

    /// Asks the application to end: the delegate is notified, then the process ends. Returns before that. Does nothing
    /// while work is in progress that must not be interrupted; the caller has to ask again. `sender` is the caller.
    /// Main thread.
    virtual void terminate(const ApplicationDelegate* sender) = 0;
};

}  // namespace platform
