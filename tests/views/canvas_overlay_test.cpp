#include "views/canvas_overlay.h"

#include "views/theme.h"
#include "views/window_test.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr int viewWidth = 400, viewHeight = 300;

QImage painted(const OverlayItems& items, double clearLeft = 0, double pixelRatio = 1, const QString& size = {})
{
    QImage image(QSize(viewWidth, viewHeight) * pixelRatio, QImage::Format_RGB32);
    image.setDevicePixelRatio(pixelRatio);
    image.fill(Qt::black);
    QPainter painter(&image);
    paintOverlayItems(painter, items, size, {.view = QRectF(0, 0, viewWidth, viewHeight), .clearLeft = clearLeft, .pixelRatio = pixelRatio});
    return image;
}

/// Around all pixels of a colour that lie in `within`.
QRect boundsOf(const QImage& image, const QColor& color, const QRect& within)
{
    QRect bounds;
    for (int y = within.top(); y <= within.bottom(); ++y)
        for (int x = within.left(); x <= within.right(); ++x)
            if (image.pixel(x, y) == color.rgb()) bounds |= QRect(x, y, 1, 1);
    return bounds;
}
QRect boundsOf(const QImage& image, const QColor& color)
{
    return boundsOf(image, color, image.rect());
}

OverlayItems::Frame uprightFrame(const CGRect& box)
{
    const double l = box.minX(), r = box.maxX(), t = box.minY(), b = box.maxY();
    return {.corners = {{{l, t}, {r, t}, {r, b}, {l, b}}}};
}

using Axis = OverlayItems::Guide::Axis;

TEST(CanvasOverlay, AGuideIsOneLineAcrossTheWholeViewOnThePixelOfItsCoordinate)
{
    struct Case { const char* what; double at, pixelRatio; int first, last; };
    for (const Case& c : {Case{"on a pixel's edge", 120, 1, 120, 120}, Case{"within a pixel", 120.9, 1, 120, 120},
                          Case{"two pixels a point", 120.6, 2, 241, 242}}) {
        SCOPED_TRACE(c.what);
        for (const bool fromLayer : {false, true}) {
            const QColor color = fromLayer ? theme().guideLayer : theme().guideScene;
            OverlayItems items;
            items.guides = {{.axis = Axis::x, .position = c.at, .fromLayer = fromLayer}};
            const QImage across = painted(items, 0, c.pixelRatio);
            EXPECT_EQ(boundsOf(across, color), QRect(QPoint(c.first, 0), QPoint(c.last, across.height() - 1)));
            items.guides[0].axis = Axis::y;
            const QImage down = painted(items, 0, c.pixelRatio);
            EXPECT_EQ(boundsOf(down, color), QRect(QPoint(0, c.first), QPoint(down.width() - 1, c.last)));
        }
    }
    EXPECT_NE(theme().guideLayer, theme().guideScene);
}

TEST(CanvasOverlay, LabelsOfGuidesStayInViewAndClearOfWhatFloatsAtTheLeft)
{
    constexpr int clearLeft = 60;
    struct Case { const char* what; Axis axis; double at; const char* label; };
    for (const Case& c : {Case{"at the left", Axis::x, 3, "Scene · left"}, Case{"in the middle", Axis::x, 200, "Scene · center"},
                          Case{"at the right", Axis::x, 397, "Scene · right"}, Case{"at the top", Axis::y, 2, "Scene · top"},
                          Case{"half way down", Axis::y, 150, "Card · middle"}, Case{"at the bottom", Axis::y, 298, "Card · bottom"},
                          Case{"a long name", Axis::x, 390, "A layer with a name that is far too long to be shown as a whole here · right"},
                          Case{"a long name", Axis::y, 290, "A layer with a name that is far too long to be shown as a whole here · top"}}) {
        SCOPED_TRACE(std::string(c.what) + " " + c.label);
        OverlayItems items;
        items.guides = {{.axis = c.axis, .position = c.at, .label = c.label}};
        const QImage image = painted(items, clearLeft);
        const int line = static_cast<int>(c.at);
        // The label lies at one side of the line.
        const bool isVertical = c.axis == Axis::x;
        const QRect before = isVertical ? QRect(0, 0, line, viewHeight) : QRect(0, 0, viewWidth, line);
        const QRect after = isVertical ? QRect(line + 1, 0, viewWidth - line - 1, viewHeight) : QRect(0, line + 1, viewWidth, viewHeight - line - 1);
        const QRect label = boundsOf(image, theme().guideScene, before) | boundsOf(image, theme().guideScene, after);
        ASSERT_FALSE(label.isNull());
        EXPECT_GE(label.height(), 14) << "the whole pill of 16, but for its smooth edges";
        EXPECT_LE(label.height(), 16);
        EXPECT_GE(label.top(), 4);
        EXPECT_LE(label.bottom(), viewHeight - 4);
        EXPECT_GE(label.left(), isVertical ? 4 : clearLeft + 4);
        EXPECT_LE(label.right(), viewWidth - 4);
        EXPECT_LE(label.width(), viewWidth / 2 + 12);
        const QRect words = label.adjusted(4, 2, -4, -2); // Within the round ends, all that is lighter than the pill.
        int light = 0;
        for (int y = words.top(); y <= words.bottom(); ++y)
            for (int x = words.left(); x <= words.right(); ++x)
                if (qGreen(image.pixel(x, y)) > theme().guideScene.green() + 60) ++light;
        EXPECT_GT(light, 20) << "the words";
    }
}

TEST(CanvasOverlay, UprightFramesLieOnPixels)
{
    for (const double pixelRatio : {1.0, 2.0}) {
        SCOPED_TRACE(pixelRatio);
        OverlayItems items{.frame = uprightFrame({{100.3, 80.7}, {150.1, 90.4}})};
        const QImage image = painted(items, 0, pixelRatio);
        const auto pixel = [&](double x, double y) { return image.pixel(static_cast<int>(x * pixelRatio), static_cast<int>(y * pixelRatio)); };
        const QRgb outline = theme().selectionOutline.rgb();
        EXPECT_EQ(pixel(100.3, 120), outline);
        EXPECT_EQ(pixel(250.4, 120), outline);
        EXPECT_EQ(pixel(180, 80.7), outline);
        EXPECT_EQ(pixel(180, 171.1), outline);
        // Both sides of a line are alike, wherever the frame lies.
        const int x = static_cast<int>(100.3 * pixelRatio), y = static_cast<int>(120 * pixelRatio);
        EXPECT_EQ(image.pixel(x - 1, y), image.pixel(x + 1, y));
    }
}

TEST(CanvasOverlay, HandlesKnobsAndTheStemAreWhereTheyAreTakenHoldOf)
{
    OverlayItems items{.frame = uprightFrame({{100, 100}, {120, 80}})};
    items.frame->handles = {{100, 100}, {160, 100}, {220, 100}, {220, 140}, {220, 180}, {160, 180}, {100, 180}, {100, 140}};
    items.frame->rotateHandle = CGPoint{160, 76};
    const QImage image = painted(items);
    const QRgb white = QColor(Qt::white).rgb(), outline = theme().selectionOutline.rgb();
    for (const CGPoint& handle : items.frame->handles)
        EXPECT_EQ(image.pixel(static_cast<int>(handle.x), static_cast<int>(handle.y)), white) << handle.x << ", " << handle.y;
    EXPECT_EQ(image.pixel(160, 76), white);
    EXPECT_EQ(image.pixel(160, 90), outline) << "the stem";
}

TEST(CanvasOverlay, ALineShowsItsPointsAndNoFrame)
{
    OverlayItems items{.frame = uprightFrame({{100, 100}, {120, 80}})};
    items.frame->linePoints = {{100, 180}, {160, 110}};
    const QImage image = painted(items, 0, 1, "120 × 80");
    EXPECT_EQ(image.pixel(100, 180), QColor(Qt::white).rgb());
    EXPECT_EQ(image.pixel(160, 110), QColor(Qt::white).rgb());
    EXPECT_EQ(image.pixel(220, 140), QColor(Qt::black).rgb()) << "no side of a frame";
    EXPECT_TRUE(boundsOf(image, theme().accent).isNull()) << "and no size";
}

TEST(CanvasOverlay, GroupsAreDashedAndSeveralLayersHaveOneBox)
{
    OverlayItems items;
    items.groupOutlines = {{{50, 50}, {100, 60}}};
    items.selectionBox = CGRect{{200, 50}, {100, 60}};
    const QImage image = painted(items);
    const auto drawn = [&](int y, int from, int to) {
        int count = 0;
        for (int x = from; x < to; ++x)
            if (image.pixel(x, y) == theme().selectionOutline.rgb()) ++count;
        return count;
    };
    EXPECT_GE(drawn(50, 205, 295), 90) << "without a gap";
    EXPECT_GT(drawn(50, 55, 145), 20);
    EXPECT_LT(drawn(50, 55, 145), 70) << "dashes of 4 with gaps of 3";

    items.selectionBox.reset();
    items.frame = uprightFrame(items.groupOutlines[0]);
    const QImage selected = painted(items);
    int gaps = 0;
    for (int x = 55; x < 145; ++x)
        if (selected.pixel(x, 50) == QColor(Qt::black).rgb()) ++gaps;
    EXPECT_GT(gaps, 10) << "the frame of a group is the dashed one";
}

TEST(CanvasOverlay, AMarqueeIsFilledAndAGhostIsHatched)
{
    OverlayItems items;
    items.marquee = CGRect{{20, 20}, {60, 40}};
    items.waitGhost = CGRect{{150, 100}, {100, 80}};
    const QImage image = painted(items);
    const QRgb black = QColor(Qt::black).rgb();
    EXPECT_EQ(image.pixel(20, 40), theme().selectionOutline.rgb());
    EXPECT_NE(image.pixel(50, 40), black);
    int hatched = 0, empty = 0;
    for (int x = 160; x < 240; ++x) ++(image.pixel(x, 140) == black ? empty : hatched);
    EXPECT_GT(hatched, 5);
    EXPECT_GT(empty, 5);
    EXPECT_EQ(image.pixel(150, 130), theme().wait.rgb());
}

TEST(CanvasOverlay, ThePillOfAGroupHidesNoHandleAndStaysInView)
{
    constexpr int clearLeft = 60;
    struct Case { const char* what; CGRect group; };
    for (const Case& c : {Case{"in the middle", {{120, 120}, {160, 80}}}, Case{"at the top", {{120, 4}, {160, 80}}},
                          Case{"just below the top", {{120, 50}, {160, 80}}}, Case{"at the right", {{330, 120}, {160, 80}}},
                          Case{"under what floats", {{-20, 120}, {100, 80}}}, Case{"larger than the view", {{-50, -50}, {600, 500}}}}) {
        SCOPED_TRACE(c.what);
        OverlayItems items{.frame = uprightFrame(c.group)};
        items.frame->rotateHandle = CGPoint{c.group.midX(), c.group.minY() - 24};
        items.pills = {{.text = "Locked: it moves.", .anchor = c.group.origin, .box = c.group}};
        const QImage image = painted(items, clearLeft);
        const QRect pill = boundsOf(image, theme().overlay);
        EXPECT_GE(pill.height(), 22);
        EXPECT_GE(pill.left(), clearLeft + 4);
        EXPECT_LE(pill.right(), viewWidth - 4);
        EXPECT_GE(pill.top(), 4);
        EXPECT_LE(pill.bottom(), viewHeight - 4);
        const QPoint handle(static_cast<int>(c.group.midX()), static_cast<int>(c.group.minY()) - 24);
        if (image.rect().contains(handle)) {
            EXPECT_EQ(image.pixel(handle), QColor(Qt::white).rgb());
        }
    }
    OverlayItems beyond;
    beyond.pills = {{.text = "Locked: it moves.", .anchor = {500, 100}, .box = {{500, 100}, {50, 50}}}};
    EXPECT_TRUE(boundsOf(painted(beyond), theme().overlay).isNull()) << "of a group that is not seen";
}

TEST(CanvasOverlay, TheSizeStandsBelowTheFrameAndStaysInView)
{
    struct Case { const char* what; CGRect box; int top; };
    for (const Case& c : {Case{"below", {{100, 100}, {120, 80}}, 188}, Case{"at the bottom", {{100, 200}, {120, 95}}, viewHeight - 26}}) {
        SCOPED_TRACE(c.what);
        const OverlayItems items{.frame = uprightFrame(c.box)};
        const QRect badge = boundsOf(painted(items, 0, 1, "120 × 80"), theme().accent);
        EXPECT_NEAR(badge.top(), c.top, 1);
        EXPECT_NEAR(badge.center().x(), 160, 2);
    }
    const OverlayItems beyond{.frame = uprightFrame({{500, 100}, {50, 50}})};
    EXPECT_TRUE(boundsOf(painted(beyond, 0, 1, "50 × 50"), theme().accent).isNull());
}

} // namespace
} // namespace larkspool
