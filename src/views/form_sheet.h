#pragma once

#include "views/controls.h"
#include "views/sheet.h"

class QHBoxLayout;
class QVBoxLayout;

namespace larkspool {

/// A sheet with a title, rows of fields that have their names at the left, and two buttons, of which the right one confirms.
class FormSheet : public Sheet {
public:
    /// What the sheet is called, and what is written on the button that confirms.
    struct Words {
        QString title;
        QString confirm;
    };

    FormSheet(QWidget& window, const Words& words, int width = 456);

    /// @name What it ends with. Either may be absent. Confirming does nothing while there is an obstacle.
    /// @{
    std::function<void()> confirmed;
    std::function<void()> cancelled;
    /// @}

protected:
    static constexpr int padding = 24, rowGap = 16, labelColumn = 104, labelTop = 6;

    /// The parts of the card between the title and the buttons.
    QWidget* body() { return body_; }
    QVBoxLayout& form();

    /// What stands beside the title.
    void showFacts(const QString& facts);
    /// A row of the form, with its name at the left. The result is shown and hidden as one.
    QWidget* addRow(const QString& name, QWidget* field);
    /// Puts something over the whole width.
    void addWide(QWidget* widget);
    /// The same, with a line of words below it, which is the result.
    QLabel* addWithWords(QWidget* widget);
    /// Another button, at the left. The keyboard comes by it behind the fields that there are by then.
    QPushButton* addButton(const QString& words);
    /// Why the sheet cannot be confirmed; empty for nothing. It stands as a tooltip on the button.
    void showObstacle(const QString& reason);

private:
    void buildHead(const QString& title);
    void buildButtons(const QString& confirm);
    void tryToConfirm();

    QWidget* body_;
    QLabel* facts_ = nullptr;
    QHBoxLayout* buttons_ = nullptr;
    int buttonsAtLeft_ = 0;
    QPushButton* confirm_ = nullptr;
};

/// The words as the toolkit has them.
QString inWords(std::string_view text);

} // namespace larkspool
