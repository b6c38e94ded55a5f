#pragma once

#include <memory>
#include <string>

namespace platform::qt {

/// Moves this process into a scope of its own, so that it survives the end of the service or scope that launched it.
/// Main thread.
class OwnScope final {
public:
    OwnScope();
    ~OwnScope();

    OwnScope(const OwnScope&) = delete;
    OwnScope& operator=(const OwnScope&) = delete;

    /// Asks the user's service manager for the scope "app-`applicationId`-<process id>.scope", and does not wait. If no
    /// manager runs, or it refuses, nothing changes and nothing is logged; none is started for this. Once.
    void ask(const std::string& applicationId);

private:
    struct Request;
    std::unique_ptr<Request> request_;
};

}  // namespace platform::qt
