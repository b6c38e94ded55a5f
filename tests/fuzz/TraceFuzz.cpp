// Whatever texts a trace call carries, they reach the plug-in unchanged, and do no harm without one.
#include "Input.h"
#include "support/RecordingTrace.h"
#include "unifiedtram/unifiedtram.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto method = input.cText();
    const auto text = input.cText();
    const auto module = input.cText();
    const auto number = static_cast<int>(input.number());
    const char* const moduleOrNull = module.empty() ? nullptr : module.c_str();

    fuzz::require(MacInfoTrace2(moduleOrNull, "%s: %s %d", method.c_str(), text.c_str(), number) == -1,
                  "without a plug-in the answer is -1");

    test::RecordingTrace trace;
    trace.setResult(number);
    fuzz::require(MacErrorTrace2(moduleOrNull, "%s: %s %d", method.c_str(), text.c_str(), number) == number,
                  "the answer is the plug-in's");
    KTRWARN("%s", text.c_str());
    const auto lines = trace.lines();
    fuzz::require(lines.size() == 2, "one line a call");
    fuzz::require(lines[0].text == method + ": " + text + ' ' + std::to_string(number), "the texts arrive as given");
    fuzz::require(lines[0].module == (module.empty() ? std::nullopt : std::optional(module)), "and the module");
    fuzz::require(lines[0].level == 8 && lines[1].level == 4, "with their levels");
    fuzz::require(lines[1].text == text && !lines[1].module, "and without a module where there is none");
    return 0;
}
