#include "support/recording_raster_context.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(RecordingRasterContext, TellsWhatWasDrawnLineByLine)
{
    RecordingRasterContext context;
    {
        SavedState saved(context);
        context.translateCTM(2, 0.5);
        context.setShadow(RasterShadow{{0, 12}, 18, {0, 0, 0, 0.4}});
        context.beginTransparencyLayer({.bounds = CGRect{{0, 0}, {9, 8}}, .coverage = {{{{{0, 0}, {9, 8}}, 2}, 0.5}}});
        Path ring = Path::roundedRect({{{0, 0}, {9, 8}}, 2});
        ring.add(Path::rect({{1, 1}, {7, 6}}));
        context.fillPath(ring, FillRule::evenOdd);
        context.endTransparencyLayer();
    }
    EXPECT_EQ(context.text(), "saveGState\n"
                              "  translateCTM 2 0.5\n"
                              "  setShadow offset(0 12) blur 18 rgba(0 0 0 0.4)\n"
                              "  beginTransparencyLayer bounds(0 0 9 8) 0.5*box(0 0 9 8 r2)\n"
                              "    fillPath box(0 0 9 8 r2) box(1 1 7 6) evenOdd\n"
                              "  endTransparencyLayer\n"
                              "restoreGState\n");
    EXPECT_TRUE(context.isBalanced());
    EXPECT_EQ(context.count<RasterOperation::FillPath>(), 1);
    EXPECT_EQ(context.ctm(), AffineTransform{});
}

TEST(RecordingRasterContext, IsNotBalancedWhereAnEndIsMissingOrCrossed)
{
    RecordingRasterContext open;
    open.saveGState();
    EXPECT_FALSE(open.isBalanced());

    RecordingRasterContext crossed;
    crossed.saveGState();
    crossed.beginTransparencyLayer({});
    crossed.restoreGState();
    crossed.endTransparencyLayer();
    EXPECT_FALSE(crossed.isBalanced());
}

TEST(RecordingRasterContext, FollowsTheTransform)
{
    RecordingRasterContext context;
    context.translateCTM(1, 2);
    context.scaleCTM(2, 3);
    EXPECT_EQ(context.ctm(), (AffineTransform{2, 0, 0, 3, 1, 2}));
}

} // namespace
} // namespace larkspool
