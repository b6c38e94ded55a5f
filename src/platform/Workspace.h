#pragma once

#include "platform/FileURL.h"

namespace platform {

/// Opens files and folders on the user's desktop. Main thread.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens a file in the application that the user has chosen for its type, or a folder in the file manager, which
    /// selects the folder's item where it can.
    /// Returns before that application runs; false when none could be asked.
    virtual bool openURL(const FileURL& url) = 0;
};

}  // namespace platform
