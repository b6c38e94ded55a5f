#pragma once

#include <memory>
#include <string>

namespace platform::ui {

/// An image of the application's resources. Only the drawing provider knows the file's format.
struct Image {
    std::string name;
    std::string file;
};

/// The application's images by name. Main thread.
class ImageCatalog {
public:
    virtual ~ImageCatalog() = default;

    /// Null if the resources hold no image of that name.
    virtual std::shared_ptr<const Image> imageNamed(const std::string& name) const = 0;

    /// The catalogue that the provider installed; one without images by default.
    static const ImageCatalog& standard();

    /// Installs `catalog`, which must outlive every use; null removes it.
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
