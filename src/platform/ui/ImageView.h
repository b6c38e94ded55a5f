#pragma once

#include "platform/ui/Image.h"
#include "platform/ui/View.h"

#include <memory>
#include <utility>

namespace platform::ui {

enum class ImageScaling { none = 2, proportionallyUpOrDown = 3 };

/// Shows one image in its frame; an absent image shows nothing.
class ImageView final : public View {
public:
    using View::View;

    const std::shared_ptr<const Image>& image() const { return image_; }
    void setImage(std::shared_ptr<const Image> image) { image_ = std::move(image); }

    ImageScaling imageScaling() const { return scaling_; }
    void setImageScaling(ImageScaling scaling) { scaling_ = scaling; }

private:
    std::shared_ptr<const Image> image_;
    ImageScaling scaling_ = ImageScaling::none;
};

}  // namespace platform::ui
