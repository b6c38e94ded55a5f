#pragma once

namespace mediaconverter {

/// What a job asks of its owner, on the job's thread.
class JobOwner {
public:
    virtual ~JobOwner() = default;

    /// Progress of the job: percent, below 100.
    virtual void jobProgress(float percent) = 0;

    /// Readable once the job is to be abandoned.
    virtual int abandonDescriptor() const = 0;

    /// True once the job is to be abandoned.
    virtual bool isAbandoned() const = 0;
};

}  // namespace mediaconverter
