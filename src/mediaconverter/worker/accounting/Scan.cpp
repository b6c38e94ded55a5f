#include "mediaconverter/worker/accounting/Scan.h"

namespace worker {

std::vector<Expectation> expectBytesById(const Ledger& ledger, const AVFormatContext& format) {
    std::vector<Expectation> expected;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const auto payload = ledger.payloads().find(static_cast<std::uint32_t>(format.streams[index]->id));
        if (payload != ledger.payloads().end()) {
            expected.push_back({index, -1, payload->second.bytes});
        }
    }
    return expected;
}

}  // namespace worker
