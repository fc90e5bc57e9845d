#pragma once

#include "document/tween_scene.h"
#include "timeline/span_arrange_sheets.h"
#include "views/form_sheet.h"

namespace larkspool {

class SpansArrangePreview;
class StepperField;

/// What the sheets that arrange spans are opened on. The scene stays as it is until one is confirmed.
struct SpansToArrange {
    TweenScene scene;
    std::vector<ResolvedSpanRef> resolved;
};

/// The sheet that chains the selected spans.
class DistributeSpansSheetView final : public FormSheet {
public:
    struct Steps {
        std::function<void(double gap)> apply;
        std::function<void()> closed; ///< Called when a person is done with the sheet, either way.
    };

    /// `sheet` keeps what is typed, unless the sheet is cancelled. It outlives the view.
    DistributeSpansSheetView(QWidget& window, DistributeSpansSheet& sheet, SpansToArrange spans, const Steps& steps);

    void present();

private:
    void showOutcome();

    DistributeSpansSheet& sheet_;
    SpansToArrange spans_;
    StepperField* gap_ = nullptr;
    QLabel* note_ = nullptr;
    SpansArrangePreview* preview_ = nullptr;
};

/// The sheet that lets them set off one after the other.
class StaggerSpansSheetView final : public FormSheet {
public:
    struct Steps {
        StaggerSpansSheet::OnApply apply;
        std::function<void()> closed;
    };

    /// As above.
    StaggerSpansSheetView(QWidget& window, StaggerSpansSheet& sheet, SpansToArrange spans, const Steps& steps);

    void present();

private:
    StepperField* addNumber(const QString& name, const QString& unit, const QString& help, std::string& input);
    void showOutcome();

    StaggerSpansSheet& sheet_;
    SpansToArrange spans_;
    StepperField* amount_ = nullptr;
    QLabel* note_ = nullptr;
    SpansArrangePreview* preview_ = nullptr;
};

} // namespace larkspool
