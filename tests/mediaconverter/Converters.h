#pragma once

#include "mediaconverter/IZedMediaConverter.h"
#include "mediaconverter/RecordingSink.h"

#include <memory>
#include <string>

namespace mediatest {

using CreateFunction = int (*)(zed::IZedMediaConverter**, zed::IZedMediaConverterSink*);

/// CreateMediaConverter of the library that ships, as this build made it.
CreateFunction shippedConverter();

/// RemoveConvertedSource of the library that ships.
using RemoveFunction = int (*)(const char*, char*, std::size_t);
RemoveFunction shippedRemoval();

/// The path of that library.
std::string shippedLibrary();

/// The application folder that it is in.
std::string applicationFolder();

/// The program that converts one file in a process of its own.
std::string convertOne();

struct Releaser {
    void operator()(zed::IZedMediaConverter* converter) const { converter->Release(); }
};
using ConverterPointer = std::unique_ptr<zed::IZedMediaConverter, Releaser>;

ConverterPointer make(CreateFunction create, zed::IZedMediaConverterSink& sink);

/// Converts with the library that ships and the given sink. Returns the result of Convert.
int convert(const std::string& source, const std::string& destination, RecordingSink& sink);

}  // namespace mediatest
