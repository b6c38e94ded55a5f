#include "platform/qt/DrawingThreads.h"

#include <QThreadPool>
#include <dlfcn.h>

namespace platform::qt {

namespace {

void endThreadsAtOnce(QThreadPool& pool) {
    pool.setMaxThreadCount(1);
    pool.setExpiryTimeout(0);
}

/// The pool that QtGui draws with in newer releases (6.8 has it, 6.4 does not); null if there is none. It has no public
/// name and can be reached only through its symbol.
QThreadPool* drawingPool() {
    void* const symbol = ::dlsym(RTLD_DEFAULT, "_ZN18QThreadPoolPrivate13qtGuiInstanceEv");
    return symbol == nullptr ? nullptr : reinterpret_cast<QThreadPool* (*)()>(symbol)();
}

}  // namespace

void endDrawingThreadsWithTheirPicture() {
    endThreadsAtOnce(*QThreadPool::globalInstance());
    if (QThreadPool* const pool = drawingPool()) {
        endThreadsAtOnce(*pool);
    }
}

}  // namespace platform::qt
