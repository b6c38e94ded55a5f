#pragma once

#include "platform/NotificationCenter.h"
#include "platform/Platform.h"
#include "support/FakeApplication.h"
#include "support/FakeAuroraBubbleMaker.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeDistributedNotificationCenter.h"
#include "support/FakeFileManager.h"
#include "support/FakeImageCatalog.h"
#include "support/FakeProcessExitWatch.h"
#include "support/FakeProcessInformation.h"
#include "support/FakeRunLoop.h"
#include "support/FakeStatusBar.h"
#include "support/FakeStringTables.h"
#include "support/FakeSystemLog.h"
#include "support/FakeTextMeasure.h"
#include "support/FakeUserDefaults.h"
#include "support/FakeWorkspace.h"

namespace test {

/// Everything that the application asks of a platform, all of it fake. Members that may hold the application delegate
/// come last, so that the rest still exists when the delegate is destroyed.
struct FakePlatform {
    FakeImageCatalog images;
    FakeStringTables texts;
    FakeTextMeasure textMeasure;
    FakeSystemLog systemLog;
    FakeUserDefaults userDefaults;
    FakeProcessExitWatch exitWatch;
    FakeProcessInformation processInformation;
    FakeFileManager fileManager;
    platform::NotificationCenter notificationCenter;
    FakeDistributedNotificationCenter distributedCenter;
    FakeSerialQueueMaker serialQueues;
    FakeWorkspace workspace;
    FakeAuroraBubbleMaker bubbleMaker{notificationCenter};
    FakeStatusBar statusBar;
    FakeRunLoop runLoop;
    FakeMainQueue mainQueue;
    FakeApplication application;

    platform::Platform platform() { return platformWith(serialQueues); }

    /// With other serial queues, such as real ones.
    platform::Platform platformWith(platform::SerialQueueMaker& queues) {
        return {application,        runLoop,     mainQueue, queues,   distributedCenter, notificationCenter, exitWatch,
                processInformation, fileManager, statusBar, workspace};
    }
};

}  // namespace test
