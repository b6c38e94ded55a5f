#pragma once

namespace mediaconverter {

/// Checks the file that the worker reports as a finished MP4, without trusting the worker: the file type comes first,
/// one index with a movie header and a track comes before the data, there is data, and the top-level boxes fill the
/// file exactly. Reads only the headers of these boxes, and a bounded number of them. Throws JobFailure (proofFailed).
void requireWholeMp4(int descriptor);

}  // namespace mediaconverter
