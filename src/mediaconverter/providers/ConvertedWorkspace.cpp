#include "mediaconverter/providers/ConvertedWorkspace.h"

#include "mediaconverter/IZedMediaConverterDestination.h"

namespace mediaconverter {

bool ConvertedWorkspace::openURL(const platform::FileURL& url) {
    if (!url.item().empty()) {
        const auto item = platform::FileURL::fileURLWithPath(FittingDestination(url.item()), false);
        return workspace_.openURL(item.deletingLastPathComponent());
    }
    return workspace_.openURL(platform::FileURL::fileURLWithPath(FittingDestination(url.path()), url.isDirectory()));
}

}  // namespace mediaconverter
