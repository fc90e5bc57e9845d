#pragma once

#include "document/tween_scene.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace larkspool {

class StepperField;

/// The icon of a transition; without a kind, of none.
QString transitionIcon(std::optional<SceneTransition::Kind> kind);

/// How a scene goes over to the next one, and for how long. It floats over its window until a press beside it, Escape, which leaves
/// what was being typed, or Return there, which keeps it. What is chosen holds at once.
class TransitionPopover final : public QWidget {
public:
    explicit TransitionPopover(QWidget* parent);
    ~TransitionPopover() override;

    /// Shows the one that the scene has.
    void showTransition(const std::optional<SceneTransition>& transition);
    /// Opens beside the control, a rectangle of the screen.
    void openAt(const QRect& control);

    /// @name What a person chooses. The seconds are as they were typed.
    /// @{
    std::function<void(std::optional<SceneTransition::Kind> kind)> chooseKind{};
    std::function<void(double seconds)> chooseDuration{};
    /// @}

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Row;

    void takeDuration();
    void step(int steps);

    std::vector<Row*> rows_;
    StepperField* duration_ = nullptr;
    std::optional<SceneTransition> shown_;
};

} // namespace larkspool
