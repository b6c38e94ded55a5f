#pragma once

#include <memory>
#include <string>

namespace platform::ui {

/// A picture of the application's resources. What is in the file is the drawing provider's business.
struct Image {
    std::string name;
    std::string file;
};

/// The application's pictures by name. Main thread.
class ImageCatalog {
public:
    virtual ~ImageCatalog() = default;

    /// Null when the resources hold no image of that name.
    virtual std::shared_ptr<const Image> imageNamed(const std::string& name) const = 0;

    /// The catalogue that the provider installed; until then one without images.
    static const ImageCatalog& standard();

    /// Installs `catalog`, which must outlive every use; null takes it back.
    static void setStandard(const ImageCatalog* catalog);
};

/// Images as `<name>.svg` files in one folder.
class FolderImageCatalog final : public ImageCatalog {
public:
    explicit FolderImageCatalog(std::string folder);

    std::shared_ptr<const Image> imageNamed(const std::string& name) const override;

private:
    std::string folder_;
};

}  // namespace platform::ui
