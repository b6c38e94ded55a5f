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

/// Everything that the application asks of the platform, gathered by the one place that knows every provider. All of
/// it outlives the application delegate, which hands each object it makes only what that object uses.
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
