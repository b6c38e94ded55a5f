#pragma once

#include "mediaconverter/job/UniqueDescriptor.h"

#include <string>

namespace mediaconverter::hiddenfiles {

struct HiddenFile {
    UniqueDescriptor descriptor;  ///< none when it could not be made; errno says why
    std::string name;
};

/// Makes a hidden file in the folder, for its owner alone, open for reading and writing and locked for as long as any
/// descriptor of it is open, in this process or the worker. Those that killed converters left in the folder are removed
/// before. A file made here is removed when the process exits, unless forgotten.
HiddenFile make(int folder);

/// The file has its final name or is removed already.
void forget(int folder, const std::string& name);

}  // namespace mediaconverter::hiddenfiles
