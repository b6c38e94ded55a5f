#pragma once

#include <memory>
#include <string>

namespace platform::qt {

/// Asks the computer to wait a moment with sleeping and shutting down (the login manager's delay lock), and the desktop
/// to ask before it logs out (the Inhibit portal), while work is under way. Where one of them is not there, or does not
/// want to, nothing is said and nothing else happens; neither is ever started for this. Main thread.
class WorkInhibitor final {
public:
    /// Both are shown to the user: who works, and at what.
    WorkInhibitor(std::string who, std::string why);
    ~WorkInhibitor();

    WorkInhibitor(const WorkInhibitor&) = delete;
    WorkInhibitor& operator=(const WorkInhibitor&) = delete;

    /// Asks both, and does not wait for their answers.
    void hold();

    /// Both are free at once, even where an answer is still on its way.
    void release();

private:
    struct Request;

    const std::string who_;
    const std::string why_;
    std::unique_ptr<Request> logout_;
    std::unique_ptr<Request> sleep_;
};

}  // namespace platform::qt
