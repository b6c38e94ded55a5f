#pragma once

namespace platform {

class Application;
class DispatchQueue;
class DistributedNotificationCenter;
class FileManager;
class NotificationCenter;
class ProcessExitWatch;
class ProcessInformation;
class RunLoop;
class SerialQueueMaker;
class StatusBar;
class Workspace;

/// Everything that the application asks of the platform, assembled by the one file that knows every provider. All of it
/// outlives the application delegate, which passes to each object it creates only what that object uses.
struct Platform {
    Application& application;
    RunLoop& runLoop;
    DispatchQueue& mainQueue;
    SerialQueueMaker& serialQueueMaker;
    DistributedNotificationCenter& distributedCenter;
    NotificationCenter& notificationCenter;
    ProcessExitWatch& exitWatch;
    ProcessInformation& processInformation;
    FileManager& fileManager;
    StatusBar& statusBar;
    Workspace& workspace;
};

}  // namespace platform
