#include "document/easing.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>

namespace larkspool {
namespace {

TEST(Easing, ThePlainCurvesFollowTheirFormulas)
{
    struct Case { const char* curve; Easing easing; double t, eased; };
    for (const Case& c : {Case{"linear", Easing::linear(), 0.3, 0.3},
                          Case{"linear beyond", Easing::linear(), 2, 2},
                          Case{"easeIn at the start", Easing::easeIn(), 0, 0},
                          Case{"easeIn", Easing::easeIn(), 0.25, 0.0625},
                          Case{"easeIn at the end", Easing::easeIn(), 1, 1},
                          Case{"easeIn below", Easing::easeIn(), -1, 1},
                          Case{"easeOut at the start", Easing::easeOut(), 0, 0},
                          Case{"easeOut", Easing::easeOut(), 0.25, 0.4375},
                          Case{"easeOut at the end", Easing::easeOut(), 1, 1},
                          Case{"easeOut beyond", Easing::easeOut(), 1.5, 0.75},
                          Case{"easeInOut at the start", Easing::easeInOut(), 0, 0},
                          Case{"easeInOut, rising", Easing::easeInOut(), 0.25, 0.125},
                          Case{"easeInOut, still rising", Easing::easeInOut(), 0.45, 0.405},
                          Case{"easeInOut, half way", Easing::easeInOut(), 0.5, 0.5},
                          Case{"easeInOut, settling", Easing::easeInOut(), 0.75, 0.875},
                          Case{"easeInOut at the end", Easing::easeInOut(), 1, 1}}) {
        SCOPED_TRACE(c.curve);
        EXPECT_DOUBLE_EQ(c.easing.apply(c.t), c.eased);
    }
}

TEST(Easing, EaseInOutHasNoJumpHalfWay)
{
    EXPECT_NEAR(Easing::easeInOut().apply(std::nextafter(0.5, 0.0)), Easing::easeInOut().apply(0.5), 1e-12);
}

TEST(Easing, ASpringIsADampedCosineFourTimesAsFast)
{
    struct Case { const char* spring; Easing easing; double t, eased; };
    for (const Case& c : {Case{"at rest", Easing::spring(100, 10), 0, 0},
                          // 1 - cos(sqrt(0.75) * 2) * exp(-1)
                          Case{"underdamped", Easing::spring(100, 10), 0.05, 1.0590654496872782},
                          // 1 - cos(sqrt(0.9375) * 4) * exp(-1): not 1 at the end of the move
                          Case{"slow, at the end", Easing::spring(1, 0.5), 1, 1.2737929024063679},
                          Case{"critically damped, at rest", Easing::spring(1, 2), 0, 0},
                          // 1 - exp(-1)
                          Case{"critically damped", Easing::spring(1, 2), 0.25, 0.6321205588285577},
                          Case{"undamped", Easing::spring(1, 0), 1, 1 - std::cos(4.0)}}) {
        SCOPED_TRACE(c.spring);
        EXPECT_NEAR(c.easing.apply(c.t), c.eased, 1e-12);
    }
}

TEST(Easing, ASpringThatIsDampedTooMuchHasNoValue)
{
    EXPECT_TRUE(std::isnan(Easing::spring(100, 30).apply(0.5)));
    EXPECT_TRUE(std::isnan(Easing::spring(-1, 1).apply(0.5)));
    EXPECT_TRUE(std::isnan(Easing::spring(0, 0).apply(0.5)));
}

/// One coordinate of the curve with the controls `c1` and `c2`, by de Casteljau's construction.
double onCurve(double c1, double c2, double u)
{
    const double ab = std::lerp(0.0, c1, u), bc = std::lerp(c1, c2, u), cd = std::lerp(c2, 1.0, u);
    return std::lerp(std::lerp(ab, bc, u), std::lerp(bc, cd, u), u);
}

/// The curve solved for x by halving, for curves whose x only rises.
double byHalving(const Easing::Cubic& cubic, double t)
{
    double low = 0, high = 1;
    for (int i = 0; i < 60; ++i) {
        const double middle = (low + high) / 2;
        (onCurve(cubic.x1, cubic.x2, middle) < t ? low : high) = middle;
    }
    return onCurve(cubic.y1, cubic.y2, low);
}

TEST(Easing, ACubicCurveIsSolvedForItsX)
{
    for (const Easing::Cubic& cubic : {Easing::Cubic{0.42, 0, 0.58, 1}, Easing::Cubic{0.25, 0.1, 0.25, 1},
                                       Easing::Cubic{0.3, -0.5, 0.7, 1.5}, Easing::Cubic{1.0 / 3, 1.0 / 3, 2.0 / 3, 2.0 / 3}})
        for (double t = 0; t <= 1; t += 0.0625) {
            SCOPED_TRACE(t);
            EXPECT_NEAR((Easing{cubic}.apply(t)), byHalving(cubic, t), 1e-4);
        }
}

TEST(Easing, ASymmetricalCubicCurveIsHalfDoneHalfWay)
{
    EXPECT_NEAR(Easing::cubic(0.42, 0, 0.58, 1).apply(0.5), 0.5, 1e-12);
}

TEST(Easing, ACubicCurveCanOvershoot)
{
    EXPECT_LT(Easing::cubic(0.3, -0.5, 0.7, 1.5).apply(0.1), 0);
    EXPECT_GT(Easing::cubic(0.3, -0.5, 0.7, 1.5).apply(0.9), 1);
}

TEST(Easing, ACubicCurveThatStartsFlatInXTakesNoStep)
{
    EXPECT_EQ(Easing::cubic(0, 0.7, 0, 1).apply(0), 0);
    // The slope in x is 0 half way: y(0.5) = 3 * 0.125 * 0.25 + 3 * 0.125 * 0.75 + 0.125.
    EXPECT_DOUBLE_EQ(Easing::cubic(1, 0.25, 0, 0.75).apply(0.5), 0.5);
}

TEST(Easing, ACubicCurveTakesFourStepsAndNoMore)
{
    // Steps in exact fractions: 0.01432 after three, 0.10708 after five, 0.11140 in the limit.
    EXPECT_NEAR(Easing::cubic(1, 0, 0, 1).apply(0.4), 0.07570446504857152, 1e-9);
}

TEST(Easing, PlainCurvesStayWithinTheMoveAndNeverTurnBack)
{
    EXPECT_TRUE(rc::check([] {
        const double a = *rc::gen::inRange(0, 1001) / 1000.0, b = *rc::gen::inRange(0, 1001) / 1000.0;
        for (const Easing& easing : {Easing::linear(), Easing::easeIn(), Easing::easeOut(), Easing::easeInOut()}) {
            RC_ASSERT(easing.apply(std::min(a, b)) <= easing.apply(std::max(a, b)));
            RC_ASSERT(easing.apply(a) >= 0 && easing.apply(a) <= 1);
        }
    }));
}

} // namespace
} // namespace larkspool
