#pragma once

#include "platform/Workspace.h"

#include <QObject>
#include <chrono>
#include <functional>
#include <map>
#include <memory>

class QString;

namespace platform::qt {

class PrivateConnection;

/// Opens things through the desktop's own opener (xdg-open), and a folder with an item through the file manager's D-Bus
/// interface (org.freedesktop.FileManager1) where there is one. The opened program is independent: it gets its own
/// session, and none of this process's output. A failure is written to the system log.
class QtWorkspace final : public Workspace {
public:
    /// An opener that fails later than this after its start has opened something, which then failed.
    static constexpr std::chrono::milliseconds standardPatience{5000};

    explicit QtWorkspace(std::chrono::milliseconds patience = standardPatience);
    ~QtWorkspace() override;

    bool openURL(const FileURL& url) override;

    /// `failed` is called when nothing could open `url`: once, from inside `openURL` or later from the event loop.
    void setFailureHandler(std::function<void(const FileURL& url)> failed);

    /// Whether the outcome of an opening is still unknown.
    bool isOpening() const;

private:
    bool asksFileManager(const FileURL& folder);
    bool opensByProgram(const FileURL& url);
    void startOpener(const QString& opener, const FileURL& url);
    void end(int opening);
    void fail(const FileURL& url, const std::string& reason);

    const std::chrono::milliseconds patience_;
    std::function<void(const FileURL&)> failed_;
    /// When each opening whose outcome is unknown began, by its number.
    std::map<int, std::chrono::steady_clock::time_point> openings_;
    int lastOpening_ = 0;
    /// From the first folder on; it must outlive the request's way to the bus.
    std::unique_ptr<PrivateConnection> fileManager_;
    /// Whatever replies after this object has gone is ignored.
    QObject context_;
};

}  // namespace platform::qt
