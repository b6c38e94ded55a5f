#pragma once

#include "platform/Workspace.h"

namespace mediaconverter {

/// A workspace that opens an MP4 under its actual name if the requested name was too long. Main thread, like the
/// workspace it forwards to, which must outlive it.
class ConvertedWorkspace final : public platform::Workspace {
public:
    explicit ConvertedWorkspace(platform::Workspace& workspace) : workspace_(workspace) {}

    bool openURL(const platform::FileURL& url) override;

private:
    platform::Workspace& workspace_;
};

}  // namespace mediaconverter
