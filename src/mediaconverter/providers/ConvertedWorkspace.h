#pragma once

#include "platform/Workspace.h"

namespace mediaconverter {

/// A workspace that opens an MP4 under the name that it has got, where the one that was asked for is longer than a name
/// can be. Main thread, as the workspace behind it, which must outlive it.
class ConvertedWorkspace final : public platform::Workspace {
public:
    explicit ConvertedWorkspace(platform::Workspace& workspace) : workspace_(workspace) {}

    bool openURL(const platform::FileURL& url) override;

private:
    platform::Workspace& workspace_;
};

}  // namespace mediaconverter
