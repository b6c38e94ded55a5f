#include "platform/ui/TextMeasure.h"

#include "platform/Standard.h"

namespace platform::ui {

namespace {

class NoTextMeasure final : public TextMeasure {
public:
    Size sizeOfText(const std::string&, const Font&, double) const override { return {}; }
};

Standard<const TextMeasure> shared;

}  // namespace

const TextMeasure& TextMeasure::standard() {
    static const NoTextMeasure none;
    return shared.orElse(none);
}

void TextMeasure::setStandard(const TextMeasure* measure) {
    shared.install(measure);
}

}  // namespace platform::ui
