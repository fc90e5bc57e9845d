#include "views/export_progress_view.h"

#include "views/find_control.h"
#include "views/window_test.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(ExportProgressSheet, SaysThatItPreparesUntilTheFirstFrameIsFinished)
{
    QWidget window;
    window.resize(900, 700);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    auto* sheet = new ExportProgressSheet(window, {.onStop = [] {}, .onDismiss = [] {}});
    sheet->show({.exportProgress = 0});
    EXPECT_TRUE(showsWords(*sheet, "Preparing…"));
    EXPECT_FALSE(showsWords(*sheet, "0%"));
    sheet->show({.exportProgress = 0.004});
    EXPECT_FALSE(showsWords(*sheet, "Preparing…"));
    EXPECT_TRUE(showsWords(*sheet, "0%"));
    sheet->show({.exportProgress = 0.25});
    EXPECT_TRUE(showsWords(*sheet, "25%"));
}

} // namespace
} // namespace larkspool
