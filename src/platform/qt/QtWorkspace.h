#pragma once

#include "platform/Workspace.h"

#include <memory>

namespace platform::qt {

class PrivateConnection;

/// Opens things through the desktop's own opener (xdg-open), and a folder with an item through the file manager's D-Bus
/// interface (org.freedesktop.FileManager1) where there is one. The opened program is independent: it gets its own
/// session, and none of this process's output. A failure is written to the system log.
class QtWorkspace final : public Workspace {
public:
    QtWorkspace();
    ~QtWorkspace() override;

    bool openURL(const FileURL& url) override;

private:
    bool selectsInFileManager(const FileURL& item);

    /// From the first folder on; it must outlive the request's way to the bus.
    std::unique_ptr<PrivateConnection> fileManager_;
};

}  // namespace platform::qt
