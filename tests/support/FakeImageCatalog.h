#pragma once

#include "platform/ui/Image.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace test {

/// Has every image, except those that the test marks as missing; the same name gives the same image. Installs itself as
/// the standard catalogue for its lifetime.
class FakeImageCatalog final : public platform::ui::ImageCatalog {
public:
    FakeImageCatalog() { setStandard(this); }
    ~FakeImageCatalog() override { setStandard(nullptr); }
    FakeImageCatalog(const FakeImageCatalog&) = delete;
    FakeImageCatalog& operator=(const FakeImageCatalog&) = delete;

    void setMissing(const std::string& name) { missing_.insert(name); }

    std::shared_ptr<const platform::ui::Image> imageNamed(const std::string& name) const override {
        if (missing_.contains(name)) {
            return nullptr;
        }
        auto& image = images_[name];
        if (!image) {
            image = std::make_shared<const platform::ui::Image>(platform::ui::Image{name, "/images/" + name + ".svg"});
        }
        return image;
    }

private:
    std::set<std::string> missing_;
    mutable std::map<std::string, std::shared_ptr<const platform::ui::Image>> images_;
};

}  // namespace test
