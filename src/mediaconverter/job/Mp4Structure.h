#pragma once

namespace mediaconverter {

/// Looks at the file that the worker calls a finished MP4, without trusting the worker: the file type comes first, one
/// index with a movie header and a track comes before the data, there is data, and the top-level boxes fill the file
/// exactly. Reads the headers of these boxes only, and a bounded number of them. Throws JobFailure (proofFailed).
void requireWholeMp4(int descriptor);

}  // namespace mediaconverter
