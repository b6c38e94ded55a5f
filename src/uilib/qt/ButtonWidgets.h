#pragma once

#include "uilib/AuroraRoundedButton.h"
#include "uilib/AuroraXStatesButton.h"

#include <QAbstractButton>
#include <memory>

namespace uilib::qt {

/// A button of the view model. A click leaves the keyboard where it is; the tab key reaches it once the bubble has it.
class ControlWidget : public QAbstractButton {
public:
    ControlWidget(std::shared_ptr<const platform::ui::Control> control, QWidget* parent);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

    /// Which of the five looks the button has now.
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

/// The one image button of a bubble is its close button, so that is what screen readers call it. The picture stands in
/// the middle of the widget, at the view's own size.
class StatesButtonWidget final : public ControlWidget {
public:
    StatesButtonWidget(std::shared_ptr<const AuroraXStatesButton> button, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const AuroraXStatesButton> button_;
};

}  // namespace uilib::qt
