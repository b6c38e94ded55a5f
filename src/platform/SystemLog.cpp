#include "platform/SystemLog.h"

#include <atomic>
#include <cstdio>

namespace platform {

namespace {

class StandardErrorLog final : public SystemLog {
public:
    void write(const std::string& text) override { (void)std::fprintf(stderr, "record-converter: %s\n", text.c_str()); }
};

std::atomic<SystemLog*> installed{nullptr};

}  // namespace

SystemLog& SystemLog::standard() {
    static StandardErrorLog standardError;
    SystemLog* const log = installed.load();
    if (log != nullptr) {
        return *log;
    }
    return standardError;
}

void SystemLog::setStandard(SystemLog* log) {
    installed.store(log);
}

}  // namespace platform
