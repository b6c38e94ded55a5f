#include "mediaconverter/Converters.h"

#include <dlfcn.h>
#include <stdexcept>

namespace mediatest {

namespace {

void* symbolOfLibrary(const char* name) {
    static void* const library = dlopen(shippedLibrary().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return dlsym(library, name);
}

}  // namespace

CreateFunction shippedConverter() {
    return reinterpret_cast<CreateFunction>(symbolOfLibrary("CreateMediaConverter"));
}

RemoveFunction shippedRemoval() {
    return reinterpret_cast<RemoveFunction>(symbolOfLibrary("RemoveConvertedSource"));
}

std::string shippedLibrary() {
    return MEDIACONVERTER_LIBRARY;
}

std::string applicationFolder() {
    return MEDIACONVERTER_APPLICATION_FOLDER;
}

std::string convertOne() {
    return MEDIACONVERTER_CONVERT_ONE;
}

ConverterPointer make(CreateFunction create, zed::IZedMediaConverterSink& sink) {
    zed::IZedMediaConverter* converter = nullptr;
    create(&converter, &sink);
    return ConverterPointer(converter);
}

int convert(const std::string& source, const std::string& destination, RecordingSink& sink) {
    return make(shippedConverter(), sink)->Convert(source.c_str(), destination.c_str(), 3, 4);
}

}  // namespace mediatest
