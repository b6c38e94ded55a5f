#pragma once

#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/job/SourceFile.h"
#include "mediaconverter/job/UniqueDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>

namespace mediaconverter {

/// How a worker has ended.
struct WorkerEnd {
    std::optional<int> status;  ///< wait status; none if this process lets the kernel reap its children
    rlim_t processorSeconds = 0;
};

/// One run of the worker program. Used by the thread that created it: the worker dies with that thread. Nothing here
/// waits for the worker, except the destructor, for a moment. Throws JobFailure.
class WorkerProcess {
public:
    /// Starts `program` in a process group of its own, with the two descriptors, a pipe, a limit on processor time and
    /// the few environment variables that loaders and sanitizers read. It inherits nothing else.
    WorkerProcess(const std::string& program, const SourceFile& source, int output);

    /// Kills the worker if it still runs. If it does not die within some seconds, because it hangs in a file system, it
    /// is abandoned and reaped when a later object is created.
    ~WorkerProcess();

    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    /// Readable when a message or a part of one waits, or the worker has closed its end.
    int reportDescriptor() const { return report_.get(); }

    /// Readable once the worker has ended; -1 if the kernel has no such descriptors.
    int endDescriptor() const { return end_.get(); }

    /// The next message, if it has arrived completely.
    std::optional<WorkerMessage> tryRead();

    /// True once nothing more can arrive.
    bool hasClosedReports() const { return closed_; }

    /// True if a message has arrived in part.
    bool hasPartOfMessage() const { return have_ > 0; }

    /// How the worker has ended; none while it runs. Do not call again after that.
    std::optional<WorkerEnd> tryWait();

    /// Whether the worker was ended for the processor time that it has used.
    bool isOverBudget(const WorkerEnd& end) const;

    /// Processor time used so far, in the kernel's ticks; none if unknown.
    std::optional<std::uint64_t> processorTime() const;

    /// Whether the worker waits for a disk, which no signal interrupts.
    bool waitsForDisk() const;

private:
    void start(const std::string& program, int source, int output, int report);
    void end();
    void limitProcessorTime(rlim_t seconds);
    std::string statusFields() const;

    pid_t pid_ = -1;
    UniqueDescriptor report_;
    UniqueDescriptor end_;
    rlim_t processorSeconds_ = RLIM_INFINITY;
    WorkerMessage message_;
    std::size_t have_ = 0;
    bool closed_ = false;
};

/// Seconds of processor time that a worker may use for a recording of `size` bytes. A frame of a still screen in 4K
/// takes a few hundred bytes and, re-encoded on a slow processor, a tenth of a second.
rlim_t processorBudget(std::int64_t size);

/// The path of the worker program: beside the library's own folder, wherever the two are installed.
std::string workerProgram();

}  // namespace mediaconverter
