#pragma once

#include "timeline/dilate_items_sheet.h"
#include "timeline/move_items_sheet.h"
#include "views/form_sheet.h"

namespace larkspool {

class ChoiceField;
class SegmentedChoice;
class StepperField;
class TimesPreview;

/// What the sheets that move items have in common: they show rows before and after, and ripple.
class MovingSheet : public FormSheet {
public:
    struct Steps {
        std::function<void()> changed; ///< Called when the settings have changed, for the timeline behind the sheet.
        std::function<void()> closed;  ///< Called when a person is done with the sheet, either way.
    };

    MovingSheet(QWidget& window, const Words& words, double sceneDuration, std::vector<RetimeRow> before, Steps steps);

protected:
    QWidget* addRipple(SheetRipple& ripple, std::string_view help);
    void addPreview();
    void showMoved(const std::vector<RetimeRow>& after);
    /// What is wrong with what was typed. Nothing can be confirmed meanwhile.
    void showProblem(const QString& problem);
    /// Words in place of the preview, with which nothing can be confirmed.
    void showMessage(std::string_view message);
    /// The sheet ends with what its logic makes of the button.
    template <typename Sheet>
    void endWith(Sheet& sheet)
    {
        confirmed = [this, &sheet] {
            sheet.confirm();
            steps_.closed();
        };
        cancelled = [this, &sheet] {
            sheet.cancel();
            steps_.closed();
        };
    }

private:
    double sceneDuration_;
    std::vector<RetimeRow> before_;
    Steps steps_;
    TimesPreview* preview_ = nullptr;
    QLabel* outcome_ = nullptr;
};

/// The sheet that moves the selected items of the timeline.
class MoveItemsSheetView final : public MovingSheet {
public:
    MoveItemsSheetView(QWidget& window, MoveItemsSheet sheet, double sceneDuration, Steps steps);

    void present();

private:
    StepperField* addValue(const QString& name, QWidget*& row);
    void chooseMode(MoveItemsSheet::Mode mode);
    void type(StepperField& field, const QString& text);
    void showMode();
    void showOutcome();

    MoveItemsSheet sheet_;
    StepperField* delta_ = nullptr;
    StepperField* time_ = nullptr;
    QWidget* deltaRow_ = nullptr;
    QWidget* timeRow_ = nullptr;
    QWidget* rippleRow_ = nullptr;
    QWidget* noteRow_ = nullptr;
};

/// The sheet that stretches or squeezes their spacing.
class DilateItemsSheetView final : public MovingSheet {
public:
    DilateItemsSheetView(QWidget& window, DilateItemsSheet sheet, double sceneDuration, Steps steps);

    void present();

private:
    void addScale();
    void type(const QString& text);
    void showOutcome();

    DilateItemsSheet sheet_;
    StepperField* scale_ = nullptr;
    QLabel* range_ = nullptr;
};

} // namespace larkspool
