#pragma once

#include "platform/Workspace.h"

namespace platform::qt {

/// Opens things through the desktop's own opener (xdg-open), and a folder with an item through the file manager's D-Bus
/// interface (org.freedesktop.FileManager1) where there is one. The opened program is independent: it gets its own
/// session, and none of this process's output. A failure is written to the system log.
class QtWorkspace final : public Workspace {
public:
    bool openURL(const FileURL& url) override;
};

}  // namespace platform::qt
