#include "mediaconverter/worker/sharing/SharedLane.h"

#include "mediaconverter/worker/sharing/NotShareable.h"
#include "mediaconverter/worker/sharing/PayloadMove.h"
#include "mediaconverter/worker/sharing/SharedProof.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"
#include "mediaconverter/worker/writing/FileDescription.h"

#include <string_view>

namespace worker {

namespace {

/// The track of the MP4 for each stream, negative for those that are left out.
std::vector<int> assignTracks(const AVFormatContext& format, const TrackChoice& choice) {
    std::vector<int> tracks;
    int next = 0;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVStream& stream = *format.streams[index];
        if (!isKnown(stream) && !isAttachedPicture(stream)) {
            throw NotShareable{describe(stream) + " is not known yet"};
        }
        const Treatment treatment = treatmentOf(stream);
        tracks.push_back(treatment == Treatment::leave ? -1 : next++);
        if (treatment == Treatment::leave || isAttachedPicture(stream)) {
            continue;
        }
        if (treatment == Treatment::transcode || !choice.isCopied(stream)) {
            throw NotShareable{describe(stream) + " is re-encoded", true};
        }
        if (!LibraryFields::arePredictable(stream)) {
            throw NotShareable{describe(stream) + " may not be stored as it is"};
        }
    }
    return tracks;
}

}  // namespace

SharedLane::SharedLane(int source, int output, const Recording& recording, Beginning& beginning,
                       const TrackChoice& choice)
    : format_(recording.format()),
      source_(source),
      output_(output),
      size_(recording.size()),
      trackOfStream_(assignTracks(recording.format(), choice)),
      packets_(source, recording, beginning, trackOfStream_),
      sharesBlocks_(canShareBlocks(source, output)) {}

bool SharedLane::isPossible(const AVFormatContext& format) {
    return std::string_view(format.iformat->name).starts_with("matroska");
}

std::unique_ptr<MuxerFile> SharedLane::makeFile() {
    const std::int64_t reserve = sharesBlocks_ ? 0 : estimateIndex(format_, size_);
    auto file = std::make_unique<SharedFile>(source_, output_, size_, packets_, reserve);
    file_ = file.get();
    return file;
}

void SharedLane::prove() const {
    proveSharedMp4(source_, output_, packets_.list(), trackOfStream_, file_->payloadStart());
}

}  // namespace worker
