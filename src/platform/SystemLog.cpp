#include "platform/SystemLog.h"

#include "platform/Standard.h"

#include <cstdio>

namespace platform {

namespace {

class StandardErrorLog final : public SystemLog {
    void writeLine(const std::string& text, Severity) override {
        static_cast<void>(std::fprintf(stderr, "record-converter: %s\n", text.c_str()));
    }
};

Standard<SystemLog> shared;

}  // namespace

SystemLog& SystemLog::standard() {
    static StandardErrorLog standardError;
    return shared.orElse(standardError);
}

void SystemLog::setStandard(SystemLog* log) {
    shared.install(log);
}

}  // namespace platform
