#pragma once

#include <memory>
#include <string>

namespace platform::qt {

/// Moves this process into a scope of its own: the end of the service or scope of whoever has launched it then is not
/// its end. Main thread.
class OwnScope final {
public:
    OwnScope();
    ~OwnScope();

    OwnScope(const OwnScope&) = delete;
    OwnScope& operator=(const OwnScope&) = delete;

    /// Asks the user's service manager for the scope "app-`applicationId`-<process id>.scope", and does not wait. Where
    /// none runs, or it does not want to, nothing is said and nothing changes; none is ever started for this. Once.
    void ask(const std::string& applicationId);

private:
    struct Request;
    std::unique_ptr<Request> request_;
};

}  // namespace platform::qt
