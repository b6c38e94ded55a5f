#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace test {

/// What the fakes and the trace were asked to do, in one common order: a test of an order between two of them reads it
/// here. Records from its creation to its end; one at a time. Events may come from any thread.
class Sequence {
public:
    Sequence();
    ~Sequence();
    Sequence(const Sequence&) = delete;
    Sequence& operator=(const Sequence&) = delete;

    /// Called by the fakes before they act. Does nothing while no sequence records.
    static void add(const std::string& event);

    std::vector<std::string> events() const;

    /// Those that begin with `beginning`.
    std::vector<std::string> events(const std::string& beginning) const;

    /// Whether both occurred, and the first `one` before the first `other`. Beginnings of events suffice.
    bool isBefore(const std::string& one, const std::string& other) const;

    /// Called for each event, on its thread: lets a test look, or throw, at exactly that moment.
    void setOnEvent(std::function<void(const std::string&)> onEvent);

private:
    mutable std::mutex mutex_;
    std::vector<std::string> events_;
    std::function<void(const std::string&)> onEvent_;
};

}  // namespace test
