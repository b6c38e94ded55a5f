#pragma once

#include <memory>
#include <string>

namespace platform::qt {

/// While work is in progress, asks the computer to delay sleep and shutdown (the login manager's delay lock) and the
/// desktop to ask before it logs out (the Inhibit portal). If one of them is missing or refuses, nothing happens and
/// nothing is logged; neither is started for this. Main thread.
class WorkInhibitor final {
public:
    /// Both are shown to the user: the program, and the work it does.
    WorkInhibitor(std::string who, std::string why);
    ~WorkInhibitor();

    WorkInhibitor(const WorkInhibitor&) = delete;
    WorkInhibitor& operator=(const WorkInhibitor&) = delete;

    /// Requests both, without waiting for the replies.
    void hold();

    /// Releases both at once, even if a reply is still pending.
    void release();

private:
    struct Request;

    const std::string who_;
    const std::string why_;
    std::unique_ptr<Request> logout_;
    std::unique_ptr<Request> sleep_;
};

}  // namespace platform::qt
