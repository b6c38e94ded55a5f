#pragma once

#include "mediaconverter/worker/Reporter.h"

namespace worker {

/// What the worker gives up before it looks at a recording.
namespace barriers {

/// Dies with the thread that started the worker; ends at once when that has gone already. First of all.
void bindToParent(int reportDescriptor);

/// Low priority for processor and disk, limits on memory and descriptors, no core files, no new privileges.
/// Limits that the kernel refuses are said in the log.
void limitResources(Reporter& reporter);

}  // namespace barriers

}  // namespace worker
