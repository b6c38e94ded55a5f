#include "mediaconverter/providers/ConvertedWorkspace.h"

#include "mediaconverter/IZedMediaConverterDestination.h"

namespace mediaconverter {

bool ConvertedWorkspace::openURL(const platform::FileURL& url) {
    return workspace_.openURL(platform::FileURL::fileURLWithPath(FittingDestination(url.path()), url.isDirectory()));
}

}  // namespace mediaconverter
