#include "views/style.h"

#include "views/controls.h"
#include "views/form_controls.h"
#include "views/icons.h"
#include "views/theme.h"
#include "views/window_test.h"

#include <QBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QStyleOption>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

/// A theme for as long as this lives.
class InScheme {
public:
    explicit InScheme(Theme::Scheme scheme) : before_(theme().scheme) { chooseTheme(scheme); }
    ~InScheme() { chooseTheme(before_); }

private:
    Theme::Scheme before_;
};

TEST(Style, ButtonsKeepTheirWordsAwayFromTheirEdges)
{
    QWidget window;
    for (const auto& [height, padding] : {std::pair(32, 16), std::pair(28, 12), std::pair(24, 10)}) {
        QPushButton* button = wordButton("Open Preferences", ButtonRole::plain, &window, height);
        const int words = button->fontMetrics().horizontalAdvance(button->text());
        EXPECT_EQ(button->sizeHint(), QSize(words + 2 * padding, height));
        button->setIcon(buttonIcon("folder"));
        EXPECT_EQ(button->sizeHint().width(), words + 2 * padding + 22) << "an icon of 16 and a gap of 6";
    }
}

/// Where the pixels of about that colour begin and end in a picture, from left to right.
std::pair<int, int> extent(const QImage& picture, const QColor& color)
{
    int first = picture.width(), last = -1;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const QColor at = picture.pixelColor(x, y);
            if (std::abs(at.red() - color.red()) + std::abs(at.green() - color.green()) + std::abs(at.blue() - color.blue()) > 12) continue;
            first = std::min(first, x);
            last = std::max(last, x);
        }
    return {first, last};
}

TEST(Style, WhatFloatsHasAQuietLineOfTheSameWidthOnAllSides)
{
    struct Case {
        const char* what;
        QStyle::PrimitiveElement element;
        QColor Theme::* ground;
    };
    for (const Theme::Scheme scheme : {Theme::Scheme::dark, Theme::Scheme::light})
        for (const Case& c : {Case{"a tooltip", QStyle::PE_PanelTipLabel, &Theme::overlay}, Case{"a menu", QStyle::PE_PanelMenu, &Theme::raised},
                              Case{"its frame", QStyle::PE_FrameMenu, &Theme::raised}}) {
            SCOPED_TRACE(c.what);
            const InScheme in(scheme);
            const Style ours;
            const QStyle& style = ours;
            QImage picture(80, 40, QImage::Format_RGB32); // 40 by 20 on a screen of twice the pixels.
            picture.setDevicePixelRatio(2);
            QPainter painter(&picture);
            QStyleOptionFrame option;
            option.rect = {0, 0, 40, 20};
            style.drawPrimitive(c.element, &option, &painter);
            painter.end();
            for (const QPoint edge : {QPoint(1, 20), QPoint(78, 20), QPoint(40, 1), QPoint(40, 38)})
                EXPECT_EQ(picture.pixelColor(edge), theme().hairlineStrong);
            for (const QPoint inside : {QPoint(2, 20), QPoint(77, 20), QPoint(40, 2), QPoint(40, 37)})
                EXPECT_EQ(picture.pixelColor(inside), theme().*c.ground);
        }
}

TEST(Style, TheListOfAFieldHasTheGroundOfAMenuThroughout)
{
    for (const Theme::Scheme scheme : {Theme::Scheme::dark, Theme::Scheme::light}) {
        const InScheme in(scheme);
        const Style ours;
        const QStyle& style = ours;
        QImage picture(160, 26, QImage::Format_RGB32);
        picture.fill(theme().panel);
        QPainter painter(&picture);
        QStyleOptionMenuItem item;
        item.menuItemType = QStyleOptionMenuItem::Normal;
        item.rect = picture.rect();
        item.text = "Board";
        style.drawControl(QStyle::CE_MenuItem, &item, &painter);
        painter.end();
        for (const QPoint corner : {QPoint(0, 0), QPoint(159, 0), QPoint(0, 25), QPoint(159, 25)})
            EXPECT_EQ(picture.pixelColor(corner), theme().raised);
    }
}

TEST(Style, AnIconOfAMainActionIsSeenWhetherOrNotItIsEnabled)
{
    for (const Theme::Scheme scheme : {Theme::Scheme::dark, Theme::Scheme::light}) {
        const InScheme in(scheme);
        QPushButton button("");
        button.resize(28, 28);
        makePrimary(button);
        const QIcon icon = buttonIcon("export", 16, IconGround::accent);
        EXPECT_GT(extent(icon.pixmap(16, QIcon::Normal).toImage().convertToFormat(QImage::Format_RGB32), theme().textOnAccent).second, 0);
        EXPECT_GT(extent(icon.pixmap(16, QIcon::Disabled).toImage().convertToFormat(QImage::Format_RGB32), theme().iconDisabled).second, 0);
    }
}

TEST(Style, TheChosenOneOfARowStandsOutInBothThemes)
{
    for (const auto& [scheme, fill] : {std::pair(Theme::Scheme::dark, &Theme::pressed), std::pair(Theme::Scheme::light, &Theme::raised)}) {
        const InScheme in(scheme);
        SegmentedChoice choice("Size", {"Full", "Half"}, nullptr);
        choice.choose(0);
        choice.resize(200, 28);
        choice.show();
        const auto [first, last] = extent(choice.grab().toImage().copy(0, 4, 200, 3), theme().*fill); // Above the words.
        EXPECT_LE(first, 6);
        EXPECT_GE(last, 90);
        EXPECT_LT(last, 102) << "the left half alone";
    }
}

TEST(Style, APlaceholderInAListIsQuieterThanAChoice)
{
    ChoiceField field("Font", nullptr);
    field.addItem("Inter");
    field.setPlaceholderText("Choose a font");
    field.setCurrentIndex(-1);
    field.resize(200, 28);
    EXPECT_EQ(extent(field.grab().toImage(), theme().text).second, -1);
    field.setCurrentIndex(0);
    EXPECT_GT(extent(field.grab().toImage(), theme().text).second, 0);
}

TEST(Style, AQuestionHasATitleAndItsMainActionAtTheRight)
{
    QMessageBox box(QMessageBox::NoIcon, "Larkspool", "Do you want to save the changes to “Board”?",
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    box.setInformativeText("They are lost if you do not save them.");
    box.setDefaultButton(QMessageBox::Save);
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    QAbstractButton* const save = box.button(QMessageBox::Save);
    for (QAbstractButton* each : box.buttons()) {
        EXPECT_EQ(each->height(), 32);
        EXPECT_GE(each->width(), 96);
        EXPECT_EQ(each->property("primary").toBool(), each == save);
        if (each == save) continue;
        EXPECT_LT(each->geometry().right(), save->geometry().left());
    }
    EXPECT_EQ(box.findChild<QLabel*>("qt_msgbox_label")->font().pixelSize(), textFont(TextStyle::title).pixelSize());
    EXPECT_EQ(box.findChild<QLabel*>("qt_msgbox_label")->mapTo(&box, QPoint()).x(), 24);
    EXPECT_EQ(box.width() - save->mapTo(&box, save->rect().topRight()).x() - 1, 24);
}

TEST(Style, LabelsOnAButtonKeepTheirTone)
{
    QPushButton button;
    QLabel* quiet = label("4 changes", TextStyle::caption, LabelTone::secondary, &button);
    button.resize(100, 40);
    quiet->resize(100, 20);
    EXPECT_EQ(extent(button.grab().toImage(), theme().text).second, -1);
    EXPECT_GT(extent(button.grab().toImage(), theme().textSecondary).second, 0);
}

} // namespace
} // namespace larkspool
