#include "platform/linux/ProcProcessTable.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

namespace fs = std::filesystem;

int processIds(std::vector<std::int32_t>& ids) {
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::int32_t id = 0;
        const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (failure == std::errc() && rest == name.data() + name.size()) {
            ids.push_back(id);
        }
    }
    std::sort(ids.begin(), ids.end());
    return error.value();
}

std::string folderOf(std::int32_t processId) {
    return "/proc/" + std::to_string(processId);
}

/// False if the process has ended meanwhile.
bool readRecord(std::int32_t processId, KernelProcess& record) {
    record = {processId, {}, 0};
    std::string command;
    if (!std::getline(std::ifstream(folderOf(processId) + "/comm"), command, '\0')) {
        return false;
    }
    if (!command.empty() && command.back() == '\n') {
        command.pop_back();
    }
    command.resize(std::min(command.size(), record.command.size() - 1));
    std::copy(command.begin(), command.end(), record.command.begin());

    std::ifstream status(folderOf(processId) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("Uid:")) {
            std::istringstream ids(line.substr(4));
            ::uid_t realUser = 0;
            return static_cast<bool>(ids >> realUser >> record.effectiveUserId);
        }
    }
    return false;
}

}  // namespace

int ProcProcessTable::size(std::size_t& bytes) const {
    std::vector<std::int32_t> ids;
    const int error = processIds(ids);
    bytes = ids.size() * sizeof(KernelProcess);
    return error;
}

int ProcProcessTable::read(KernelProcess* room, std::size_t& bytes) const {
    std::vector<std::int32_t> ids;
    if (const int error = processIds(ids)) {
        return error;
    }
    const std::size_t capacity = bytes / sizeof(KernelProcess);
    std::size_t count = 0;
    for (const std::int32_t id : ids) {
        KernelProcess record{};
        if (!readRecord(id, record)) {
            continue;
        }
        if (count == capacity) {
            return ENOMEM;
        }
        room[count++] = record;
    }
    bytes = count * sizeof(KernelProcess);
    return 0;
}

std::size_t ProcProcessTable::listProcessIds(std::int32_t* room, std::size_t bytes) const {
    std::vector<std::int32_t> ids;
    processIds(ids);
    if (room == nullptr) {
        return ids.size() * sizeof(std::int32_t);
    }
    const std::size_t count = std::min(ids.size(), bytes / sizeof(std::int32_t));
    std::copy_n(ids.begin(), count, room);
    return count * sizeof(std::int32_t);
}

std::string ProcProcessTable::executablePath(std::int32_t processId) const {
    std::error_code error;
    const auto path = fs::read_symlink(folderOf(processId) + "/exe", error);
    return error ? std::string() : path.string();
}

std::optional<std::string> ProcProcessTable::loginName(std::uint32_t userId) const {
    // The reentrant form, because any thread may call this.
    std::vector<char> texts(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(userId, &entry, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(texts.size() * 2);
    }
    return found != nullptr ? std::optional<std::string>(found->pw_name) : std::nullopt;
}

}  // namespace platform
