#include "support/Sequence.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace test {

namespace {

std::atomic<Sequence*> current{nullptr};

}  // namespace

Sequence::Sequence() {
    current = this;
}

Sequence::~Sequence() {
    current = nullptr;
}

void Sequence::add(const std::string& event) {
    Sequence* const sequence = current.load();
    if (sequence == nullptr) {
        return;
    }
    std::function<void(const std::string&)> onEvent;
    {
        const std::lock_guard lock(sequence->mutex_);
        sequence->events_.push_back(event);
        onEvent = sequence->onEvent_;
    }
    if (onEvent) {
        onEvent(event);
    }
}

std::vector<std::string> Sequence::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

std::vector<std::string> Sequence::events(const std::string& beginning) const {
    auto found = events();
    std::erase_if(found, [&](const std::string& event) { return !event.starts_with(beginning); });
    return found;
}

bool Sequence::isBefore(const std::string& one, const std::string& other) const {
    const auto all = events();
    const auto find = [&](const std::string& beginning) {
        return std::find_if(all.begin(), all.end(),
                            [&](const std::string& event) { return event.starts_with(beginning); });
    };
    return find(other) != all.end() && find(one) < find(other);
}

void Sequence::setOnEvent(std::function<void(const std::string&)> onEvent) {
    const std::lock_guard lock(mutex_);
    onEvent_ = std::move(onEvent);
}

}  // namespace test
