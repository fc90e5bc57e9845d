#pragma once

#include "canvas/mix_match.h"
#include "rendering/drawing_style.h"
#include "views/form_sheet.h"

namespace larkspool {

class ScenePreview;
class Slider;
class Switch;

/// The sheet that deals the look of the selected layers out again. It shows what comes of it, and the document stays as it is
/// until it is confirmed.
class MixMatchSheetView final : public FormSheet {
public:
    /// What it is opened on.
    struct Subject {
        TweenScene scene;
        LayerIDs selection;
        double playhead = 0;             ///< Scene seconds.
        VideoPictures* videos = nullptr; ///< Outlives the sheet.
    };
    struct Steps {
        /// The random bits are those of the deal that is shown.
        std::function<void(const MixMatchSettings& settings, RandomSource& random)> apply;
        std::function<void()> closed; ///< Called when a person is done with the sheet, either way.
    };

    /// Only confirming saves the sheet's settings to `defaults`, which outlives it.
    MixMatchSheetView(QWidget& window, UserDefaults& defaults, Subject subject, Steps steps);

    void present();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildSheet(UserDefaults& defaults, Steps steps);
    void buildPreview();
    void fitPreview();
    void buildSections();
    void addSection(QWidget* parent, QVBoxLayout& column, std::string_view section);
    void buildBias();
    void buildTexts();
    void buildSet();
    void showBias();
    void showOutcome();
    void showCategories();
    TweenScene outcome();

    MixMatchSheet sheet_;
    Subject subject_;
    RepeatableRandom random_;
    ScenePreview* preview_ = nullptr;
    std::vector<std::pair<MixMatchCategory, Switch*>> switches_;
    Slider* bias_ = nullptr;
    std::vector<QLabel*> biasLabels_;
    QWidget* texts_ = nullptr;
};

} // namespace larkspool
