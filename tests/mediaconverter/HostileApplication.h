#pragma once

#include "mediaconverter/Converters.h"
#include "mediaconverter/Samples.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace mediatest {

/// An application folder with the hostile worker.
class HostileApplication {
public:
    explicit HostileApplication(const std::string& how) {
        std::filesystem::create_directories(folder_.file("lib"));
        std::filesystem::create_directories(folder_.file("libexec"));
        std::filesystem::copy_file(shippedLibrary(), library());
        const std::string worker = folder_.file("libexec/mediaconverter-worker");
        writeFile(worker, "#!/bin/sh\nexec '" HOSTILE_WORKER "' '" + how + "'\n");
        ::chmod(worker.c_str(), 0755);
        writeFile(folder_.file("a.mkv"), contentOf(samples::matroska()));
    }

    std::string library() const { return folder_.file("lib/libmediaconverter.so"); }
    std::string source() const { return folder_.file("a.mkv"); }
    std::string destination() const { return folder_.file("out.mp4"); }

    bool isAsBefore() const {
        return contentOf(source()) == contentOf(samples::matroska()) &&
               folder_.names() == std::vector<std::string>{"a.mkv", "lib", "libexec"};
    }

private:
    TemporaryFolder folder_;
};

}  // namespace mediatest
