#pragma once

#include "KTRAppInlet.h"
#include "KTRMeetingAppRepresentative.h"
#include "KTRProcessGuard.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class KTRMeetingPool;

/// Main thread.
class KTRMeetingPoolDelegate {
public:
    virtual ~KTRMeetingPoolDelegate() = default;

    /// The process has started to write this recording.
    virtual void meetingPoolDidReceiveJobFromProcessWritingTo(KTRMeetingPool&, std::int32_t /*processId*/,
                                                              const std::optional<std::string>& /*path*/) {}
    /// The process has finished writing this file, which is converted only on request.
    virtual void meetingPoolDidStashJobFromProcessSavedAt(KTRMeetingPool&, std::int32_t /*processId*/,
                                                          const std::optional<std::string>& /*path*/) {}
    /// The process is done: these files are to be converted, oldest first; the list may be empty.
    virtual void meetingPoolDidReceiveRequestFromProcessToConvertRecords(KTRMeetingPool&, std::int32_t /*processId*/,
                                                                         const std::vector<std::string>& /*paths*/) {}
    /// The last representative has retired. Quits and exits do not call this; use `countOfMeetingProcesses`.
    virtual void meetingPoolDidExhaust(KTRMeetingPool&) {}
};

/// The registry of the meeting processes that the converter serves: one representative a process, guarded against its
/// end. Owned by the application delegate, to which it reports. Main thread but for `countOfMeetingProcesses`.
class KTRMeetingPool final : public KTRAppInletDelegate,
                             public KTRMeetingAppRepresentativeDelegate,
                             public KTRProcessGuardDelegate,
                             public std::enable_shared_from_this<KTRMeetingPool> {
public:
    using MeetingApps = std::map<std::int32_t, std::shared_ptr<KTRMeetingAppRepresentative>>;

    /// The pool is its own guard's delegate.
    static std::shared_ptr<KTRMeetingPool> create(platform::ProcessExitWatch& exitWatch);

    std::shared_ptr<KTRMeetingPoolDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingPoolDelegate>& delegate) { delegate_ = delegate; }

    /// The process's representative, made if there is none. Does not guard the process. Never null.
    std::shared_ptr<KTRMeetingAppRepresentative> meetingAppRepresentativeForProcess(std::int32_t pid);

    /// Guards the process and makes `path` its file, unless another is still being written.
    void onReceiveJobFromMeetingProcessSavingToFile(std::int32_t pid, const std::optional<std::string>& path);
    void onStashJobFromMeetingProcess(std::int32_t pid);

    /// The process and file named on the command line.
    void fletchWithFirstMeetingProcessSavingToIntermediateFile(std::int32_t pid,
                                                               const std::optional<std::string>& path);

    /// Processes known now; 0 lets the application finish once its jobs are done. Any thread.
    std::size_t countOfMeetingProcesses() const { return countOfMeetingProcesses_; }

    void expellMeetingAppRepresentativeWithProcessId(std::int32_t pid);

    const MeetingApps& meetingApps() const { return meetingApps_; }
    void setMeetingApps(MeetingApps meetingApps);
    const std::shared_ptr<KTRProcessGuard>& processGuard() const { return processGuard_; }
    void setProcessGuard(std::shared_ptr<KTRProcessGuard> guard) { processGuard_ = std::move(guard); }

    void
    appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(KTRAppInlet& inlet, std::int32_t pid,
                                                                      const std::optional<std::string>& path) override;
    void appInletSeesMeetingRecordStopedInProcess(KTRAppInlet& inlet, std::int32_t pid) override;
    void appInletSeesMeetingQuitFromProcess(KTRAppInlet& inlet, std::int32_t pid) override;

    void processGuardLostProcess(std::int32_t pid) override;

    void meetingAppRepresentativeRequestsToConvertRecords(KTRMeetingAppRepresentative& representative,
                                                          const std::vector<std::string>& paths) override;
    void meetingAppRepresentativeDidRetire(KTRMeetingAppRepresentative& representative) override;

private:
    KTRMeetingPool();

    void removeMeetingApp(std::int32_t pid);

    std::weak_ptr<KTRMeetingPoolDelegate> delegate_;
    MeetingApps meetingApps_;
    // Separate from the table, because the conversion queue reads the count while the main thread changes the table.
    std::atomic<std::size_t> countOfMeetingProcesses_ = 0;
    std::shared_ptr<KTRProcessGuard> processGuard_;
};
