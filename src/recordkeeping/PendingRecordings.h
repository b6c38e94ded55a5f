#pragma once

#include "recordkeeping/PendingFolder.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace recordkeeping {

/// Every recording that this converter is in charge of, from its announcement until the user knows its final result, in
/// memory and in the state folder. Any thread.
class PendingRecordings final {
public:
    /// Number of attempts after which a converter leaves an entry alone.
    static constexpr int mostAttempts = 2;

    /// Both outlive this object. `converter` is this process.
    PendingRecordings(PendingFolder& folder, const platform::ProcessIdentities& processes, std::int32_t converter);

    struct Announcement {
        std::string source;
        std::int32_t processId = 0;
        std::int32_t language = 1;
        bool keep = false;
    };

    /// The process has started to write `source`. When this returns, the entry survives the end of this process.
    void announce(const Announcement& announcement);

    /// The file that the process was writing is complete.
    void noteStopped(std::int32_t processId);

    /// The process is done, and everything it has written is to be converted.
    void noteDue(std::int32_t processId);

    /// Takes charge of every entry in the folder whose converter has ended, and returns these entries, oldest first.
    std::vector<PendingEntry> takeOver();

    /// The running converters that are in charge of other entries, as of the last `takeOver`.
    std::vector<std::int32_t> otherConverters() const;

    /// The entry for `source`; absent if there is none.
    std::optional<PendingEntry> entryFor(const std::string& source) const;

    /// The recordings that are to be converted, by their paths; without the one that is being converted.
    std::vector<std::string> waiting() const;

    /// Whether the application knows the recording.
    bool isSpokenFor(const std::string& source) const;

    /// The application knows the recording under this process id.
    void noteSpokenFor(const std::string& source, std::int32_t processId);

    /// A conversion to `destination` starts: until it has ended it counts as an attempt. Waits for the disk.
    void noteConverting(const std::string& source, const std::string& destination);

    /// The MP4 is complete under its name, and the recording may be removed.
    void noteSaved(const std::string& source);

    /// The recording is left to be converted by hand.
    void noteLeft(const std::string& source);

    /// The user knows the result of this process's job: removes the entry, unless the path has been announced again.
    void noteOutcomeShown(const std::string& source, std::int32_t processId);
    void remove(const std::string& source);

    /// This process ends in an orderly way, so a conversion in progress does not count as a failed attempt. Returns
    /// what is left for the next start.
    std::vector<std::string> noteEnding();

private:
    struct Kept {
        std::string name;
        PendingEntry entry;
        /// The id under which the application knows it; absent if it does not.
        std::optional<std::int32_t> spokenFor;
        bool isConverting = false;
    };

    void raiseStates(std::int32_t processId, PendingEntry::State state);
    void store(Kept& kept);
    void write(const Kept& kept);

    PendingFolder& folder_;
    const platform::ProcessIdentities& processes_;
    const platform::ProcessIdentity converter_;
    mutable std::mutex mutex_;
    /// By the recording's path.
    std::map<std::string, Kept> kept_;
    std::vector<std::int32_t> otherConverters_;
};

}  // namespace recordkeeping
