#include "recordkeeping/PendingRecordings.h"

#include <algorithm>
#include <utility>

namespace recordkeeping {

PendingRecordings::PendingRecordings(PendingFolder& folder, const platform::ProcessIdentities& processes,
                                     std::int32_t converter)
    : folder_(folder), processes_(processes), converter_(processes.identityOf(converter)) {}

void PendingRecordings::announce(const Announcement& announcement) {
    const std::lock_guard lock(mutex_);
    auto& kept = kept_[announcement.source];
    const auto& known = kept.entry;
    if (!kept.name.empty() && known.state == PendingEntry::State::recording &&
        kept.spokenFor == announcement.processId && (known.keep || !announcement.keep)) {
        return;
    }
    // A path that is announced again keeps its entry's name, so there is one entry per recording.
    kept.entry = {announcement.source,
                  processes_.identityOf(announcement.processId),
                  converter_,
                  announcement.language,
                  announcement.keep,
                  PendingEntry::State::recording,
                  0,
                  {}};
    kept.spokenFor = announcement.processId;
    kept.isConverting = false;
    store(kept);
}

void PendingRecordings::store(Kept& kept) {
    if (!kept.name.empty()) {
        folder_.replace(kept.name, kept.entry);
    } else if (const auto name = folder_.add(kept.entry)) {
        kept.name = *name;
    }
}

void PendingRecordings::write(const Kept& kept) {
    if (!kept.name.empty()) {
        folder_.replace(kept.name, kept.entry);
    }
}

void PendingRecordings::noteStopped(std::int32_t processId) {
    raiseStates(processId, PendingEntry::State::written);
}

void PendingRecordings::noteDue(std::int32_t processId) {
    raiseStates(processId, PendingEntry::State::due);
}

void PendingRecordings::raiseStates(std::int32_t processId, PendingEntry::State state) {
    const std::lock_guard lock(mutex_);
    for (auto& [source, kept] : kept_) {
        if (kept.spokenFor == processId && kept.entry.state < state) {
            kept.entry.state = state;
            write(kept);
        }
    }
}

std::vector<PendingEntry> PendingRecordings::takeOver() {
    const std::lock_guard lock(mutex_);
    const PendingFolder::Lock alone(folder_);
    std::vector<PendingEntry> taken;
    otherConverters_.clear();
    for (auto& [name, entry] : folder_.read()) {
        const bool isOwn = std::any_of(kept_.begin(), kept_.end(),
                                       [&entryName = name](const auto& kept) { return kept.second.name == entryName; });
        if (isOwn) {
            continue;
        }
        if (entry.converter != converter_ && processes_.isAlive(entry.converter)) {
            otherConverters_.push_back(entry.converter.processId);
            continue;
        }
        if (kept_.contains(entry.source)) {
            // The same path has been announced to this converter too.
            folder_.remove(name);
            continue;
        }
        folder_.adoptFresh(name);
        entry.converter = converter_;
        const auto source = entry.source;
        const auto& kept = kept_[source] = {name, entry, std::nullopt, false};
        write(kept);
        taken.push_back(entry);
    }
    return taken;
}

std::vector<std::int32_t> PendingRecordings::otherConverters() const {
    const std::lock_guard lock(mutex_);
    return otherConverters_;
}

std::optional<PendingEntry> PendingRecordings::entryFor(const std::string& source) const {
    const std::lock_guard lock(mutex_);
    const auto found = kept_.find(source);
    return found == kept_.end() ? std::nullopt : std::optional(found->second.entry);
}

std::vector<std::string> PendingRecordings::waiting() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> sources;
    for (const auto& [source, kept] : kept_) {
        if (kept.entry.state == PendingEntry::State::due && !kept.isConverting) {
            sources.push_back(source);
        }
    }
    return sources;
}

bool PendingRecordings::isSpokenFor(const std::string& source) const {
    const std::lock_guard lock(mutex_);
    const auto found = kept_.find(source);
    return found != kept_.end() && found->second.spokenFor.has_value();
}

void PendingRecordings::noteSpokenFor(const std::string& source, std::int32_t processId) {
    const std::lock_guard lock(mutex_);
    if (const auto found = kept_.find(source); found != kept_.end()) {
        found->second.spokenFor = processId;
    }
}

void PendingRecordings::noteConverting(const std::string& source, const std::string& destination) {
    std::string name;
    {
        const std::lock_guard lock(mutex_);
        const auto found = kept_.find(source);
        if (found == kept_.end()) {
            return;
        }
        auto& kept = found->second;
        kept.isConverting = true;
        ++kept.entry.attempts;
        kept.entry.destination = destination;
        write(kept);
        name = kept.name;
    }
    // If the MP4 reached the disk before its name is in the entry, a power cut would have it made a second time.
    folder_.syncNow(name);
}

void PendingRecordings::noteSaved(const std::string& source) {
    const std::lock_guard lock(mutex_);
    if (const auto found = kept_.find(source); found != kept_.end()) {
        found->second.entry.state = PendingEntry::State::saved;
        write(found->second);
    }
}

void PendingRecordings::noteLeft(const std::string& source) {
    const std::lock_guard lock(mutex_);
    if (const auto found = kept_.find(source); found != kept_.end()) {
        found->second.entry.state = PendingEntry::State::left;
        write(found->second);
    }
}

void PendingRecordings::noteOutcomeShown(const std::string& source, std::int32_t processId) {
    const std::lock_guard lock(mutex_);
    const auto found = kept_.find(source);
    if (found != kept_.end() && found->second.spokenFor == processId) {
        folder_.remove(found->second.name);
        kept_.erase(found);
    }
}

void PendingRecordings::remove(const std::string& source) {
    const std::lock_guard lock(mutex_);
    if (const auto found = kept_.find(source); found != kept_.end()) {
        folder_.remove(found->second.name);
        kept_.erase(found);
    }
}

std::vector<std::string> PendingRecordings::noteEnding() {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> left;
    for (auto& [source, kept] : kept_) {
        if (kept.isConverting && kept.entry.state != PendingEntry::State::saved) {
            kept.isConverting = false;
            --kept.entry.attempts;
            write(kept);
        }
        left.push_back(source);
    }
    return left;
}

}  // namespace recordkeeping
