#include "tools/convert-recording/StandardErrorCapture.h"

#include <array>
#include <fcntl.h>
#include <iostream>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

StandardErrorCapture::StandardErrorCapture() {
    kept_ = ::memfd_create("standard error", MFD_CLOEXEC);
    original_ = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (kept_ < 0 || original_ < 0 || ::dup2(kept_, STDERR_FILENO) < 0) {
        ::close(std::exchange(kept_, -1));
        ::close(std::exchange(original_, -1));
    }
}

StandardErrorCapture::~StandardErrorCapture() {
    for (const std::string& line : lines()) {
        std::cerr << line << std::endl;
    }
}

std::vector<std::string> StandardErrorCapture::lines() {
    std::vector<std::string> lines;
    if (kept_ < 0) {
        return lines;
    }
    ::dup2(original_, STDERR_FILENO);
    ::close(original_);
    ::lseek(kept_, 0, SEEK_SET);
    std::stringstream text;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0; (got = ::read(kept_, buffer.data(), buffer.size())) > 0;) {
        text.write(buffer.data(), got);
    }
    ::close(std::exchange(kept_, -1));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}
