#pragma once

#include <memory>

namespace platform {

class StatusItem;

/// What the platform's application main tells the one object that runs the program. Main thread.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    /// Once, when the main run loop is about to turn.
    virtual void applicationDidFinishLaunching() {}

    /// Once, when the application has been asked to terminate and the process is about to end.
    virtual void applicationWillTerminate() {}

    /// The application's icon in the status bar; null when it shows none.
    virtual std::shared_ptr<StatusItem> statusItem() const { return nullptr; }
};

/// The running application.
class Application {
public:
    virtual ~Application() = default;

    /// The delegate given to the application main; it lives until the process ends. Main thread.
    virtual std::shared_ptr<ApplicationDelegate> delegate() const = 0;

    /// Asks the application to end: the delegate hears that it will terminate, then the process ends. Returns first.
    /// While work goes on that must not be broken off, nothing happens, and who asks has to ask again. `sender` is who
    /// asks. Main thread.
    virtual void terminate(const ApplicationDelegate* sender) = 0;
};

}  // namespace platform
