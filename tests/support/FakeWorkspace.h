#pragma once

#include "platform/Workspace.h"

#include <functional>
#include <utility>
#include <vector>

namespace test {

class FakeWorkspace final : public platform::Workspace {
public:
    bool openURL(const platform::FileURL& url) override {
        opened_.push_back(url);
        if (onOpen_) {
            onOpen_(url);
        }
        return answer_;
    }

    /// The result of later openings; true by default.
    void setAnswer(bool answer) { answer_ = answer; }

    /// Called for each opening, after it was recorded.
    void setOnOpen(std::function<void(const platform::FileURL&)> onOpen) { onOpen_ = std::move(onOpen); }

    const std::vector<platform::FileURL>& opened() const { return opened_; }

private:
    bool answer_ = true;
    std::function<void(const platform::FileURL&)> onOpen_;
    std::vector<platform::FileURL> opened_;
};

}  // namespace test
