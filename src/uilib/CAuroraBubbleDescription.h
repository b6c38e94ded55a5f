#pragma once

#include "platform/ui/Color.h"

#include <cstdint>
#include <memory>
#include <utility>

/// The arrow with which a bubble points at its anchor. Lengths in points. A kit takes as much of it as it can: the Qt
/// kit reads width and height, puts the arrow at the edge that faces the anchor, and keeps its base off the corners.
struct AuroraArrowRecord {
    std::int64_t side = 0;         ///< 6: at the top edge, pointing up, under the anchor
    double width = 0;              ///< at its base
    double height = 0;             ///< how far it stands out of the body
    double leastFromLeading = 0;   ///< least distance of its tip from the body's left corner
    double leastFromTrailing = 0;  ///< least distance of its tip from the body's right corner

    friend bool operator==(const AuroraArrowRecord&, const AuroraArrowRecord&) = default;
};

/// What a bubble reports, for desktops that show it in their own way.
enum class AuroraBubbleKind { news, success, failure };

/// How long a bubble takes to appear, is shown, and takes to disappear. Seconds.
struct AuroraFadeRecord {
    double fadeIn = 0;
    double shown = 0;
    double fadeOut = 0;

    friend bool operator==(const AuroraFadeRecord&, const AuroraFadeRecord&) = default;
};

/// A record as a shared object, the form that the description's setters take.
using AuroraArrowDescription = std::shared_ptr<const AuroraArrowRecord>;
using AuroraFadeDescription = std::shared_ptr<const AuroraFadeRecord>;

/// The look and behaviour of one bubble. Created per bubble, never shared. Main thread.
class CAuroraBubbleDescription final {
public:
    /// The kit's defaults: no arrow, no fading, closable, opaque black without border, square corners, news.
    static std::shared_ptr<CAuroraBubbleDescription> defaultDescription();

    AuroraArrowDescription packArrowDescription(const AuroraArrowRecord& record) const;
    AuroraFadeDescription packFadeDescription(const AuroraFadeRecord& record) const;

    bool bHasArrow() const { return bHasArrow_; }
    void setBHasArrow(bool hasArrow) { bHasArrow_ = hasArrow; }

    const AuroraArrowDescription& arrowDescription() const { return arrowDescription_; }
    void setArrowDescription(AuroraArrowDescription arrow) { arrowDescription_ = std::move(arrow); }

    /// Whether the bubble fades according to its fade description; otherwise it stays until it is closed.
    bool bFade() const { return bFade_; }
    void setBFade(bool fades) { bFade_ = fades; }

    const AuroraFadeDescription& fadeDescription() const { return fadeDescription_; }
    void setFadeDescription(AuroraFadeDescription fade) { fadeDescription_ = std::move(fade); }

    const platform::ui::Color& bgColor() const { return bgColor_; }
    void setBgColor(const platform::ui::Color& color) { bgColor_ = color; }

    /// Points.
    double fCornerRadius() const { return fCornerRadius_; }
    void setFCornerRadius(double radius) { fCornerRadius_ = radius; }

    const platform::ui::Color& borderColor() const { return borderColor_; }
    void setBorderColor(const platform::ui::Color& color) { borderColor_ = color; }

    /// Whether the kit may add a close button of its own. The Qt kit adds none; the view has one.
    bool bClosable() const { return bClosable_; }
    void setBClosable(bool closable) { bClosable_ = closable; }

    /// Whether the kit may add an information image of its own. The Qt kit adds none.
    bool bInfoImage() const { return bInfoImage_; }
    void setBInfoImage(bool infoImage) { bInfoImage_ = infoImage; }

    AuroraBubbleKind kind() const { return kind_; }
    void setKind(AuroraBubbleKind kind) { kind_ = kind; }

private:
    bool bHasArrow_ = false;
    AuroraArrowDescription arrowDescription_;
    bool bFade_ = false;
    AuroraFadeDescription fadeDescription_;
    platform::ui::Color bgColor_;
    double fCornerRadius_ = 0;
    platform::ui::Color borderColor_;
    bool bClosable_ = true;
    bool bInfoImage_ = false;
    AuroraBubbleKind kind_ = AuroraBubbleKind::news;
};
