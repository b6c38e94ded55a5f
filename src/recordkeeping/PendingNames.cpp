#include "recordkeeping/PendingNames.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <string_view>

namespace recordkeeping::pendingnames {

namespace {

constexpr std::string_view unfinishedEnd = ".new";

}  // namespace

std::string madeNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    std::array<char, 32> text{};
    static_cast<void>(
        std::snprintf(text.data(), text.size(), "%020lld",
                      static_cast<long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count())));
    return text.data();
}

std::string fresh(const std::string& name) {
    return "." + name;
}

std::string unfinished(const std::string& name) {
    return fresh(name).append(unfinishedEnd);
}

bool isFresh(const std::string& file) {
    return file.starts_with('.');
}

bool isUnfinished(const std::string& file) {
    return isFresh(file) && file.ends_with(unfinishedEnd);
}

std::string nameOf(const std::string& file) {
    return isFresh(file) ? file.substr(1) : file;
}

}  // namespace recordkeeping::pendingnames
