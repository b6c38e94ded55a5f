#pragma once

#include "platform/ProcessTable.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

/// A table that the test fills, and lets grow between two calls. Installs itself as the standard one for its lifetime.
class FakeProcessTable final : public platform::ProcessTable {
public:
    FakeProcessTable() { setStandard(this); }
    ~FakeProcessTable() override { setStandard(nullptr); }
    FakeProcessTable(const FakeProcessTable&) = delete;
    FakeProcessTable& operator=(const FakeProcessTable&) = delete;

    void add(std::int32_t processId, std::string_view command, std::uint32_t userId, std::string path = {}) {
        platform::KernelProcess process{processId, {}, userId};
        std::copy_n(command.begin(), std::min(command.size(), process.command.size() - 1), process.command.begin());
        processes_.push_back(process);
        paths_[processId] = std::move(path);
    }

    void setLoginName(std::uint32_t userId, const std::string& name) { names_[userId] = name; }

    void failSize(int error) { sizeError_ = error; }
    void failRead(int error) { readError_ = error; }

    /// Makes the table report this size, whatever it holds.
    void claimSize(std::size_t bytes) { claimedSize_ = bytes; }

    /// Called after each request for the size.
    void setAfterSize(std::function<void()> afterSize) { afterSize_ = std::move(afterSize); }

    int size(std::size_t& bytes) const override {
        ++sizeCount_;
        if (sizeError_ != 0) {
            return sizeError_;
        }
        bytes = claimedSize_.value_or(processes_.size() * sizeof(platform::KernelProcess));
        if (afterSize_) {
            afterSize_();
        }
        return 0;
    }

    int read(platform::KernelProcess* room, std::size_t& bytes) const override {
        ++readCount_;
        if (readError_ != 0) {
            return readError_;
        }
        if (bytes < processes_.size() * sizeof(platform::KernelProcess)) {
            return ENOMEM;
        }
        std::copy(processes_.begin(), processes_.end(), room);
        bytes = processes_.size() * sizeof(platform::KernelProcess);
        return 0;
    }

    std::size_t listProcessIds(std::int32_t* room, std::size_t bytes) const override {
        listings_.push_back(bytes);
        if (room == nullptr) {
            return processes_.size() * sizeof(std::int32_t);
        }
        const std::size_t count = std::min(processes_.size(), bytes / sizeof(std::int32_t));
        for (std::size_t i = 0; i < count; ++i) {
            room[i] = processes_[i].processId;
        }
        return count * sizeof(std::int32_t);
    }

    std::string executablePath(std::int32_t processId) const override {
        askedPaths_.push_back(processId);
        return paths_.at(processId);
    }

    std::optional<std::string> loginName(std::uint32_t userId) const override {
        const auto found = names_.find(userId);
        return found == names_.end() ? std::nullopt : std::optional<std::string>(found->second);
    }

    int sizeCount() const { return sizeCount_; }
    int readCount() const { return readCount_; }

    /// The buffer size, in bytes, of each request for the ids.
    const std::vector<std::size_t>& listings() const { return listings_; }
    const std::vector<std::int32_t>& askedPaths() const { return askedPaths_; }

private:
    std::vector<platform::KernelProcess> processes_;
    std::map<std::int32_t, std::string> paths_;
    std::map<std::uint32_t, std::string> names_;
    int sizeError_ = 0;
    int readError_ = 0;
    std::optional<std::size_t> claimedSize_;
    std::function<void()> afterSize_;
    mutable int sizeCount_ = 0;
    mutable int readCount_ = 0;
    mutable std::vector<std::size_t> listings_;
    mutable std::vector<std::int32_t> askedPaths_;
};

}  // namespace test
