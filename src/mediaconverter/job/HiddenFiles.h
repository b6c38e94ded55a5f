#pragma once

#include "mediaconverter/job/UniqueDescriptor.h"

#include <string>

namespace mediaconverter::hiddenfiles {

struct HiddenFile {
    UniqueDescriptor descriptor;  ///< none if it could not be created; errno says why
    std::string name;
};

/// Creates a hidden file in the folder, accessible only to its owner, open for reading and writing and locked for as
/// long as any descriptor of it is open, in this process or the worker. First removes those that killed converters have
/// left in the folder. A file created here is removed when the process exits, unless forgotten.
HiddenFile make(int folder);

/// The file has got its final name, or has been removed.
void forget(int folder, const std::string& name);

}  // namespace mediaconverter::hiddenfiles
