#pragma once

#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/job/UniqueDescriptor.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace mediaconverter {

/// One run of the worker program. Used by the thread that made it: the worker dies with that thread.
/// Throws JobFailure.
class WorkerProcess {
public:
    /// Starts `program` with the two descriptors, a pipe and nothing else of this process but its environment.
    WorkerProcess(const std::string& program, int source, int output);

    /// Kills the worker where it still runs, and waits for its end.
    ~WorkerProcess();

    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    /// Readable when a message waits or the worker has ended.
    int descriptor() const { return report_.get(); }

    /// The next message; none at the end of the worker's reports. Waits for a whole one.
    std::optional<WorkerMessage> read();

    void kill();

    /// Waits for the worker's end: its wait status, or none where this process lets the kernel reap its children.
    std::optional<int> wait();

    /// Processor time used so far, in the kernel's ticks; none when it can't be told.
    std::optional<std::uint64_t> processorTime() const;

    /// True where the worker waits for a disk, which no signal shortens.
    bool waitsForDisk() const;

private:
    std::string statusFields() const;

    pid_t pid_ = -1;
    UniqueDescriptor report_;
};

/// Where the worker program stands: beside the library's own folder, wherever the two were put.
std::string workerProgram();

}  // namespace mediaconverter
