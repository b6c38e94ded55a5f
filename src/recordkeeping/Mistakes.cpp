#include "recordkeeping/Mistakes.h"

#include "platform/IntegerReading.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace recordkeeping {

namespace {

const std::string pathKey = kMeetingRecordNotificationKey_RecordIntermediatePath;
const std::string processKey = kMeetingRecordNotificationKey_MeetingProcessId;

/// Of LanguageManager.
constexpr std::int32_t languageCount = 20;

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

const platform::UserInfoValue* valueOf(const platform::UserInfo& userInfo, const std::string& key) {
    const auto found = userInfo.find(key);
    return found == userInfo.end() ? nullptr : &found->second;
}

void addMistakeOfProcess(const platform::UserInfo& userInfo, std::vector<std::string>& mistakes) {
    const auto* const value = valueOf(userInfo, processKey);
    if (value == nullptr) {
        mistakes.push_back(processKey + " is missing: add the id of the process that records, as an integer");
    } else if (const auto id = platform::integerValue(*value); id <= 0) {
        mistakes.push_back(processKey + " reads as " + std::to_string(id) +
                           ": it must be the id of the process that records, as an integer");
    }
}

void addMistakeOfPath(const platform::UserInfo& userInfo, std::vector<std::string>& mistakes) {
    const auto* const value = valueOf(userInfo, pathKey);
    if (value == nullptr) {
        mistakes.push_back(pathKey + " is missing: add the full path of the recording, as a string");
        return;
    }
    const auto path = platform::textValue(*value);
    if (!path) {
        mistakes.push_back(pathKey + " is not a text: it must be a string, or bytes if it is not UTF-8");
    } else if (path->empty()) {
        mistakes.push_back(pathKey + " is empty: it must be the full path of the recording");
    } else if (path->front() != '/') {
        mistakes.push_back(pathKey + " is the relative path " + quoted(*path) + ": send the full path");
    }
}

void addUnknownKeys(const platform::UserInfo& userInfo, const std::set<std::string>& known,
                    std::vector<std::string>& mistakes) {
    for (const auto& [key, value] : userInfo) {
        if (!known.contains(key)) {
            mistakes.push_back("the key " + quoted(key) + " means nothing here and is ignored");
        }
    }
}

bool isPostedByConverters(const std::string& name) {
    return name == kMeetingRecordNotificationName_AppSpawnConfirm ||
           name == kMeetingRecordNotificationName_AckNotification;
}

bool namesOption(std::string_view argument) {
    const std::array<const char*, 5> options{kMeetingRecordLaunchParamKey_ProcessId,
                                             kMeetingRecordLaunchParamKey_ProcessName,
                                             kMeetingRecordLaunchParamKey_Locale, kMeetingRecordLaunchParamKey_Path,
                                             kMeetingRecordLaunchParamKey_KeepsIntermediateFile};
    return std::ranges::find(options, argument) != options.end();
}

void addMistakeOfValue(const std::string& option, const std::string& value, std::vector<std::string>& mistakes) {
    const auto number = platform::integerReading(std::string_view(value));
    if (option == kMeetingRecordLaunchParamKey_ProcessId && number <= 0) {
        mistakes.push_back("-pid " + quoted(value) + " is no process: give the id of the process that records");
    } else if (option == kMeetingRecordLaunchParamKey_Locale && (number < 1 || number > languageCount)) {
        mistakes.push_back("-locale " + quoted(value) + " is no language: give a number from 1 to " +
                           std::to_string(languageCount));
    } else if (option == kMeetingRecordLaunchParamKey_Path && value.empty()) {
        mistakes.push_back("-path is empty: give the path of the recording");
    }
}

}  // namespace

std::vector<std::string> mistakesIn(const platform::DistributedNotification& notification) {
    std::vector<std::string> mistakes;
    if (isPostedByConverters(notification.name)) {
        return mistakes;
    }
    const auto userInfo = notification.userInfo.value_or(platform::UserInfo());
    std::set<std::string> keys{processKey};
    if (notification.name == kMeetingRecordNotificationName_RecordingStarted) {
        keys.insert(pathKey);
        addMistakeOfPath(userInfo, mistakes);
    } else if (notification.name != kMeetingRecordNotificationName_RecordingStopped &&
               notification.name != kMeetingRecordNotificationName_MeetingAppQuit) {
        mistakes.push_back("no notification has this name; the three that clients post are " +
                           std::string(kMeetingRecordNotificationName_RecordingStarted) + ", " +
                           kMeetingRecordNotificationName_RecordingStopped + " and " +
                           kMeetingRecordNotificationName_MeetingAppQuit);
        return mistakes;
    }
    addMistakeOfProcess(userInfo, mistakes);
    addUnknownKeys(userInfo, keys, mistakes);
    return mistakes;
}

std::vector<std::string> mistakesInLaunch(const std::vector<std::string>& arguments) {
    std::vector<std::string> mistakes;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const auto& argument = arguments[i];
        if (!namesOption(argument)) {
            mistakes.push_back(quoted(argument) +
                               " is no option and ignored; the options are -pid, -pname, -path, -locale and "
                               "-keepsIntermediateFile, each followed by its value");
        } else if (i + 1 == arguments.size() || namesOption(arguments[i + 1])) {
            mistakes.push_back(argument + " has no value");
        } else {
            addMistakeOfValue(argument, arguments[++i], mistakes);
        }
    }
    return mistakes;
}

}  // namespace recordkeeping
