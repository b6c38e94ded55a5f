#pragma once

#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/job/SourceFile.h"
#include "mediaconverter/job/UniqueDescriptor.h"

#include <sys/resource.h>
#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace mediaconverter {

/// How a worker has ended.
struct WorkerEnd {
    std::optional<int> status;  ///< wait status; none where this process lets the kernel reap its children
    rlim_t processorSeconds = 0;
};

/// One run of the worker program. Used by the thread that made it: the worker dies with that thread. Nothing here waits
/// for the worker, but for the destructor, which does for a moment. Throws JobFailure.
class WorkerProcess {
public:
    /// Starts `program` in a process group of its own, with the two descriptors, a pipe, a bounded processor time and
    /// the few variables of the environment that loaders and sanitizers read. It inherits nothing else.
    WorkerProcess(const std::string& program, const SourceFile& source, int output);

    /// Kills the worker where it still runs. One that not even this ends within some seconds, because a file system
    /// holds it, is left to itself and reaped when a later object is made.
    ~WorkerProcess();

    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    /// Readable when a message waits, or a part of one, or the worker has closed its reports.
    int reportDescriptor() const { return report_.get(); }

    /// Readable once the worker has ended; -1 where the kernel has no such descriptors.
    int endDescriptor() const { return end_.get(); }

    /// The next message, if the whole of it is there.
    std::optional<WorkerMessage> tryRead();

    /// True once nothing can come any more.
    bool hasClosedReports() const { return closed_; }

    /// True where a message has begun and not ended.
    bool hasPartOfMessage() const { return have_ > 0; }

    /// How the worker has ended; none while it runs. Not again after that.
    std::optional<WorkerEnd> tryWait();

    /// True where the worker was ended for the processor time that it has used.
    bool isOverBudget(const WorkerEnd& end) const;

    /// Processor time used so far, in the kernel's ticks; none when it can't be told.
    std::optional<std::uint64_t> processorTime() const;

    /// True where the worker waits for a disk, which no signal shortens.
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

/// Seconds of processor time that a worker may use for a recording of `size` bytes. A picture of a still screen in 4K
/// takes a few hundred bytes and, re-encoded by a slow processor, a tenth of a second.
rlim_t processorBudget(std::int64_t size);

/// Where the worker program stands: beside the library's own folder, wherever the two were put.
std::string workerProgram();

}  // namespace mediaconverter
