#pragma once

#include "uilib/AuroraRoundedButton.h"
#include "uilib/AuroraXStatesButton.h"

#include <QAbstractButton>
#include <memory>

namespace uilib::qt {

/// A button of the view model. A click does not move the keyboard focus; the tab key reaches the button once the bubble
/// has the focus.
class ControlWidget : public QAbstractButton {
public:
    ControlWidget(std::shared_ptr<const platform::ui::Control> control, QWidget* parent);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

    /// The state that selects one of the five looks.
    AuroraButtonState state() const;

private:
    const std::shared_ptr<const platform::ui::Control> control_;
};

class RoundedButtonWidget final : public ControlWidget {
public:
    /// With `moreContrast` the button has an outline in every look.
    RoundedButtonWidget(std::shared_ptr<const AuroraRoundedButton> button, QWidget* parent, bool moreContrast);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const AuroraRoundedButton> button_;
    const bool moreContrast_;
};

/// The only image button of a bubble is its close button, so screen readers call it that. The image is centred in the
/// widget, at the view's own size.
class StatesButtonWidget final : public ControlWidget {
public:
    StatesButtonWidget(std::shared_ptr<const AuroraXStatesButton> button, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const AuroraXStatesButton> button_;
};

}  // namespace uilib::qt
