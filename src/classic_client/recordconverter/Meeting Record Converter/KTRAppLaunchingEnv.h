#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// The launch arguments as texts, owned by the application delegate, filled once at start-up. It only stores them:
/// callers that need a number use the integer reading. Main thread, except `assignmentBlock`, which is atomic.
///
/// An option takes exactly the one argument that follows it, whatever it looks like, unless that is itself an option
/// name. Unknown arguments are ignored; the last value of a repeated option wins.
class KTRAppLaunchingEnv {
public:
    using AssignmentBlock = std::function<void(const std::string&)>;

    /// Processes the texts in order; the program path may come first.
    void parseArguments(const std::vector<std::string>& arguments);
    void processArgument(const std::string& argument);

    // The values are absent until given.
    const std::optional<std::string>& parentProcessId() const { return parentProcessId_; }
    const std::optional<std::string>& parentProcessName() const { return parentProcessName_; }
    const std::optional<std::string>& localeId() const { return localeId_; }
    const std::optional<std::string>& filePath() const { return filePath_; }
    const std::optional<std::string>& keepsIntermediateFile() const { return keepsIntermediateFile_; }

    /// Receives the next argument that is not an option name; empty when no option waits for a value.
    AssignmentBlock assignmentBlock() const;
    void setAssignmentBlock(AssignmentBlock block);

private:
    std::optional<std::string> parentProcessId_;
    std::optional<std::string> parentProcessName_;
    std::optional<std::string> localeId_;
    std::optional<std::string> filePath_;
    std::optional<std::string> keepsIntermediateFile_;

    mutable std::mutex assignmentMutex_;
    AssignmentBlock assignmentBlock_;
};
