#pragma once

#include "document/tween_scene.h"
#include "editing/timeline_item.h"
#include "views/form_sheet.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspool {

class ChoiceField;

/// The sheet that replaces a font of the scene by another. The scene stays as it is until it is confirmed.
class ReplaceFontSheetView final : public FormSheet {
public:
    /// What it is opened on.
    struct Subject {
        TweenScene scene;
        LayerIDs selection; ///< The font of the first text among these layers is offered first.
    };
    struct Steps {
        std::function<void(const std::string& fontName, const std::string& replacement)> apply;
        std::function<void()> closed; ///< Called when a person is done with the sheet, either way.
    };

    ReplaceFontSheetView(QWidget& window, Subject subject, Steps steps);

    void present();

private:
    class Sample;

    void fillFonts();
    void fillReplacements();
    void showOutcome();
    /// Nothing while none is chosen.
    std::optional<std::string> font() const;
    std::optional<std::string> replacement() const;

    Subject subject_;
    std::vector<std::string> fonts_;        ///< Of the scene, in the order of the list.
    std::vector<std::string> replacements_; ///< Those that there are.
    ChoiceField* from_ = nullptr;
    ChoiceField* to_ = nullptr;
    Sample* sample_ = nullptr;
    QLabel* note_ = nullptr;
};

} // namespace larkspool
