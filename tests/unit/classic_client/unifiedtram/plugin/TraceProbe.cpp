// Shows what the trace facility found relative to this program's location: at the entry point, and again after the
// facility's exit handler has run.
#include "unifiedtram/unifiedtram.h"

#include <cstdio>
#include <cstdlib>

namespace {

void show(const char* when) {
    const char* const fileName = MacTraceFileName2();
    const std::int32_t traced = MacInfoTrace2("RecordConverter", "%s: %s", "-[Probe show]", when);
    const std::int32_t raw = KTRTRACERAW(4, "a", "b", "c");
    std::printf("%s: trace %d raw %d file %s\n", when, traced, raw, fileName != nullptr ? fileName : "(null)");
    std::fflush(stdout);
}

// Before every other initialiser, so its handler runs after all others.
[[gnu::constructor(101)]] void registerLastHandler() {
    std::atexit([] { show("after the exit handler"); });
}

// During static initialisation, which includes the facility's: traced or not, it must not crash.
[[maybe_unused]] const std::int32_t early = MacInfoTrace2("RecordConverter", "early");

}  // namespace

int main() {
    show("main");
    return 0;
}
