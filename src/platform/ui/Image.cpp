#include "platform/ui/Image.h"

#include "platform/PathOperations.h"
#include "platform/Standard.h"

#include <unistd.h>
#include <utility>

namespace platform::ui {

namespace {

class NoImages final : public ImageCatalog {
public:
    std::shared_ptr<const Image> imageNamed(const std::string&) const override { return nullptr; }
};

Standard<const ImageCatalog> shared;

}  // namespace

const ImageCatalog& ImageCatalog::standard() {
    static const NoImages none;
    return shared.orElse(none);
}

void ImageCatalog::setStandard(const ImageCatalog* catalog) {
    shared.install(catalog);
}

FolderImageCatalog::FolderImageCatalog(std::string folder) : folder_(std::move(folder)) {}

std::shared_ptr<const Image> FolderImageCatalog::imageNamed(const std::string& name) const {
    const std::string file = appendingPathComponent(folder_, name + ".svg");
    if (::access(file.c_str(), R_OK) != 0) {
        return nullptr;
    }
    return std::make_shared<const Image>(Image{name, file});
}

}  // namespace platform::ui
