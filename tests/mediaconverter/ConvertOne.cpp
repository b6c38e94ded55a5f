#include "mediaconverter/IZedMediaConverter.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

// Converts one file through a media converter library, in a process of its own, and prints what the sink hears, one
// line each. For tests that kill, limit or trace a whole converting process.
//   convert-one LIBRARY SOURCE DESTINATION

namespace {

class PrintingSink final : public zed::IZedMediaConverterSink {
public:
    void OnConvertProgress(float progress) override {
        std::printf("progress %g\n", static_cast<double>(progress));
        std::fflush(stdout);
    }
    void OnConvertError(int error) override {
        std::printf("error %d\n", error);
        std::fflush(stdout);
    }
};

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        std::fprintf(stderr, "usage: convert-one LIBRARY SOURCE DESTINATION\n");
        return EXIT_FAILURE;
    }
    void* const library = dlopen(arguments[1], RTLD_NOW);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return EXIT_FAILURE;
    }
    const auto create = reinterpret_cast<decltype(&CreateMediaConverter)>(dlsym(library, "CreateMediaConverter"));
    PrintingSink sink;
    zed::IZedMediaConverter* converter = nullptr;
    if (create == nullptr || create(&converter, &sink) != 0) {
        return EXIT_FAILURE;
    }
    converter->Convert(arguments[2], arguments[3], 3, 4);
    converter->Release();
    std::printf("released\n");
    return EXIT_SUCCESS;
}
