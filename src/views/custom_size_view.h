#pragma once

#include "shell/welcome.h"
#include "views/form_sheet.h"

namespace larkspool {

class StepperField;

/// The sheet that asks for the size of a new canvas. It is gone when it hands the size over.
class CustomSizeSheetView final : public FormSheet {
public:
    CustomSizeSheetView(QWidget& window, CustomSizeSheet::OnFinish onFinish);

    void present();

private:
    StepperField* addSide(CustomSizeSheet::Field which, std::string& text);
    void showOutcome();

    CustomSizeSheet sheet_;
    StepperField* width_ = nullptr;
};

} // namespace larkspool
