#include "views/sheet.h"

#include "views/motion.h"
#include "views/theme.h"
#include "views/window_test.h"

#include <QBoxLayout>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr int patience = 10'000; ///< Milliseconds.

/// A white window with a button that is pressed for, and a sheet of one field over it.
class SheetTest : public testing::TestWithParam<Motion> {
protected:
    SheetTest()
    {
        chooseMotion(GetParam());
        QPalette white;
        white.setColor(QPalette::Window, Qt::white);
        window.setPalette(white);
        window.resize(600, 400);
        behind = new QPushButton("Behind", &window);
        behind->move(20, 20);
        QObject::connect(behind, &QPushButton::clicked, [this] { ++presses; });
        window.show();
        (void)QTest::qWaitForWindowExposed(&window);
        window.activateWindow();
        behind->setFocus();
        sheet = new Sheet(window, "Question", 200);
        field = new QLineEdit(sheet->card());
        (new QVBoxLayout(sheet->card()))->addWidget(field);
        sheet->onConfirm = [this] { ++confirmations; };
    }
    ~SheetTest() override { chooseMotion(Motion::reduced); }

    /// How bright the window is at its corner, far from the card: 255 without a sheet.
    int brightness() { return window.grab().toImage().pixelColor(3, 390).lightness(); }
    /// The same under the whole scrim.
    static int dimmed()
    {
        const QColor scrim = theme().scrim;
        return static_cast<int>(scrim.lightness() * scrim.alphaF() + 255 * (1 - scrim.alphaF()));
    }

    QWidget window;
    QPushButton* behind = nullptr;
    Sheet* sheet = nullptr;
    QLineEdit* field = nullptr;
    int presses = 0, confirmations = 0;
};
INSTANTIATE_TEST_SUITE_P(InBothMotions, SheetTest, testing::Values(Motion::full, Motion::reduced),
                         [](const auto& each) { return each.param == Motion::full ? "Full" : "Reduced"; });

TEST_P(SheetTest, TakesTheKeyboardAtOnceAndIsSeenWholeInTheEnd)
{
    sheet->present(field);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(window.focusWidget(), field);
    EXPECT_EQ(brightness() > 240, GetParam() == Motion::full) << "it begins to fade in, or is there";
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(confirmations, 1);
    ASSERT_TRUE(QTest::qWaitFor([this] { return std::abs(brightness() - dimmed()) <= 2; }, patience));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !sheet->card()->graphicsEffect(); }, patience)) << "an effect costs at every paint";
}

TEST_P(SheetTest, LeavesTheWindowToThePersonAtOnce)
{
    sheet->present(field);
    ASSERT_TRUE(QTest::qWaitFor([this] { return std::abs(brightness() - dimmed()) <= 2; }, patience));
    sheet->dismiss();
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(window.focusWidget(), behind);
    EXPECT_EQ(brightness() < 200, GetParam() == Motion::full) << "its picture fades out, or it is gone";
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, behind->geometry().center());
    EXPECT_EQ(presses, 1);
    ASSERT_TRUE(QTest::qWaitFor([this] { return brightness() == 255; }, patience));
    ASSERT_TRUE(QTest::qWaitFor([this] { return window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly).size() == 1; }, patience));
}

TEST_P(SheetTest, GoesInTheMidstOfItsFading)
{
    sheet->present(field);
    sheet->dismiss();
    ASSERT_TRUE(QTest::qWaitFor([this] { return brightness() == 255; }, patience));
    EXPECT_EQ(window.focusWidget(), behind);
}

TEST(Motion, IsWhatThePersonHasChosen)
{
    for (const auto& [chosen, expected] : {std::pair("full", Motion::full), std::pair("reduced", Motion::reduced)}) {
        qputenv("LARKSPOOL_MOTION", chosen);
        EXPECT_EQ(preferredMotion(), expected) << chosen;
    }
    qunsetenv("LARKSPOOL_MOTION");
}

} // namespace
} // namespace larkspool
