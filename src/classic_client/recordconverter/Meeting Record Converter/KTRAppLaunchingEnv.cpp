#include "KTRAppLaunchingEnv.h"

#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <utility>

void KTRAppLaunchingEnv::parseArguments(const std::vector<std::string>& arguments) {
    for (const auto& argument : arguments) {
        processArgument(argument);
    }
}

void KTRAppLaunchingEnv::processArgument(const std::string& argument) {
    const std::pair<const char*, std::optional<std::string>*> options[] = {
        {kMeetingRecordLaunchParamKey_ProcessId, &parentProcessId_},
        {kMeetingRecordLaunchParamKey_ProcessName, &parentProcessName_},
        {kMeetingRecordLaunchParamKey_Locale, &localeId_},
        {kMeetingRecordLaunchParamKey_Path, &filePath_},
        {kMeetingRecordLaunchParamKey_KeepsIntermediateFile, &keepsIntermediateFile_},
    };
    for (const auto& [name, field] : options) {
        if (argument == name) {
            setAssignmentBlock([assigned = field](const std::string& value) { *assigned = value; });
            return;
        }
    }
    if (const auto assign = assignmentBlock()) {
        assign(argument);
        setAssignmentBlock(nullptr);
    }
}

KTRAppLaunchingEnv::AssignmentBlock KTRAppLaunchingEnv::assignmentBlock() const {
    const std::lock_guard lock(assignmentMutex_);
    return assignmentBlock_;
}

void KTRAppLaunchingEnv::setAssignmentBlock(AssignmentBlock block) {
    const std::lock_guard lock(assignmentMutex_);
    assignmentBlock_ = std::move(block);
}
