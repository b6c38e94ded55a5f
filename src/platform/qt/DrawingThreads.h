#pragma once

namespace platform::qt {

/// The toolkit shares large pictures out among threads that would wait half a minute for the next one, and then wake up
/// just to end. From here on each ends with its picture, and there is one at most: a bubble gives no work to more.
/// Once, after the application object exists.
void endDrawingThreadsWithTheirPicture();

}  // namespace platform::qt
