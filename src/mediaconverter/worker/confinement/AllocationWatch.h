#pragma once

namespace worker {

/// Whether an allocation has failed anywhere in this process. The media libraries ignore some of these failures and
/// drop the data they had no memory for, so a result produced after one proves nothing. Requests larger than any
/// recording can need are not counted: a damaged length asked for them. Always false in builds with a sanitizer.
bool wasMemoryRefused();

}  // namespace worker
