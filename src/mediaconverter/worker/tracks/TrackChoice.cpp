#include "mediaconverter/worker/tracks/TrackChoice.h"

#include "mediaconverter/worker/reading/Formats.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"

namespace worker {

bool TrackChoice::isCopied(const AVStream& stream) const {
    if (!isContent(stream)) {
        return true;
    }
    if (known_.copiesNothing || known_.unstorableStreams.contains(stream.index)) {
        return false;
    }
    // If changing parameters cannot be repeated in the stream, the track has to be re-encoded to one form.
    return !known_.changingStreams.contains(stream.index) || CopiedTrack::canRepeatParameters(stream);
}

int TrackChoice::countReencodedVideos() const {
    int count = 0;
    for (unsigned index = 0; index < format_.nb_streams; ++index) {
        const AVStream& stream = *format_.streams[index];
        const bool isVideo = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && isKnown(stream);
        count += isVideo && (treatmentOf(stream) == Treatment::transcode || !isCopied(stream)) ? 1 : 0;
    }
    return count;
}

FormPlan TrackChoice::planFor(const AVStream& stream) const {
    FormPlan plan = {TrackForm::of(stream), !known_.formsAreFinal, countReencodedVideos(),
                     formats::hasTimes(*format_.iformat)};
    if (const auto learned = known_.forms.find(stream.index); learned != known_.forms.end()) {
        plan.form.widen(learned->second);
    }
    return plan;
}

}  // namespace worker
