#pragma once

#include "mediaconverter/worker/accounting/Scan.h"

#include <memory>

namespace worker {

/// The scan for recordings of `format`; null if its structure does not show whether everything was read. `view` and
/// `ledger` must outlive it.
std::unique_ptr<Scan> makeScan(const AVInputFormat& format, SourceView& view, Ledger& ledger);

}  // namespace worker
