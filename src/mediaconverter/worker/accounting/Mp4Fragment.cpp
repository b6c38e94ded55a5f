#include "mediaconverter/BoxFields.h"
#include "mediaconverter/Boxes.h"
#include "mediaconverter/worker/accounting/Mp4Samples.h"

#include <algorithm>
#include <array>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;
using mediaconverter::BoxFields;
using mediaconverter::boxType;
using mediaconverter::childOf;
using mediaconverter::popBox;

constexpr std::array<std::uint32_t, 6> inFragment = {boxType("mfhd"), boxType("traf"), boxType("pssh"),
                                                     boxType("uuid"), boxType("free"), boxType("meta")};

/// The tracks of one fragment, each of which may continue where the data of the last one ended.
class FragmentWalk {
public:
    FragmentWalk(std::int64_t start, const std::vector<Mp4Track>& tracks, const Mp4SampleVisitor& visit)
        : start_(start), next_(start), tracks_(tracks), visit_(visit) {}

    bool readTrack(Bytes box) {
        bool isFine = readHeader(childOf(box, boxType("tfhd")));
        while (isFine) {
            const auto inner = popBox(box);
            if (!inner) {
                break;
            }
            isFine = inner->type != boxType("trun") || readRun(inner->content);
        }
        isFirst_ = false;
        return isFine;
    }

private:
    /// 8.8.7
    bool readHeader(Bytes box) {
        BoxFields fields(box);
        const std::uint64_t flags = fields.next(4);
        track_ = static_cast<std::uint32_t>(fields.next(4));
        const auto known =
            std::find_if(tracks_.begin(), tracks_.end(), [this](const Mp4Track& track) { return track.id == track_; });
        usualSize_ = known == tracks_.end() ? 0 : known->usualSize;
        base_ = (flags & 0x20000U) != 0 || isFirst_ ? start_ : next_;
        if ((flags & 0x1U) != 0) {
            base_ = static_cast<std::int64_t>(fields.next(8));
        }
        fields.next((flags & 0x2U) != 0 ? 4 : 0);
        fields.next((flags & 0x8U) != 0 ? 4 : 0);
        if ((flags & 0x10U) != 0) {
            usualSize_ = static_cast<std::uint32_t>(fields.next(4));
        }
        next_ = base_;
        return !fields.isShort() && known != tracks_.end() && base_ >= 0;
    }

    /// 8.8.8
    bool readRun(Bytes box) {
        BoxFields fields(box);
        const std::uint64_t flags = fields.next(4);
        const std::uint64_t count = fields.next(4);
        if ((flags & 0x1U) != 0) {
            next_ = base_ + static_cast<std::int32_t>(fields.next(4));
        }
        fields.next((flags & 0x4U) != 0 ? 4 : 0);
        const std::size_t before = (flags & 0x100U) != 0 ? 4 : 0;
        const std::size_t after = ((flags & 0x400U) != 0 ? 4U : 0U) + ((flags & 0x800U) != 0 ? 4U : 0U);
        const std::size_t size = (flags & 0x200U) != 0 ? 4 : 0;
        if (count * (before + after + size) > fields.left() || next_ < 0) {
            return false;
        }
        if (size == 0) {
            visitSample(static_cast<std::int64_t>(count * usualSize_));
            return true;
        }
        for (std::uint64_t sample = 0; sample < count; ++sample) {
            fields.next(before);
            visitSample(static_cast<std::int64_t>(fields.next(4)));
            fields.next(after);
        }
        return true;
    }

    void visitSample(std::int64_t size) {
        visit_({track_, next_, size});
        next_ += size;
    }

    std::int64_t start_;
    std::int64_t next_;
    const std::vector<Mp4Track>& tracks_;
    const Mp4SampleVisitor& visit_;
    bool isFirst_ = true;
    std::uint32_t track_ = 0;
    std::uint32_t usualSize_ = 0;
    std::int64_t base_ = 0;
};

}  // namespace

bool visitMp4Fragment(Bytes moof, std::int64_t start, const std::vector<Mp4Track>& tracks,
                      const Mp4SampleVisitor& visit) {
    FragmentWalk walk(start, tracks, visit);
    bool isFine = true;
    while (!moof.empty()) {
        const auto box = popBox(moof);
        if (!box) {
            return false;
        }
        isFine = isFine && std::find(inFragment.begin(), inFragment.end(), box->type) != inFragment.end();
        if (box->type == boxType("traf")) {
            isFine = walk.readTrack(box->content) && isFine;
        }
    }
    return isFine;
}

}  // namespace worker
