#pragma once

namespace platform::qt {

/// The toolkit splits large images among threads that would wait half a minute for the next one, and then wake up only
/// to end. From here on each thread ends with its image, and there is at most one: a bubble has no work for more. Call
/// once, after the application object exists.
void endDrawingThreadsWithTheirPicture();

}  // namespace platform::qt
