#include "views/motion.h"

#include "views/desktop_settings.h"

#include <QPointF>

namespace larkspool {

namespace {

Motion& currentMotion()
{
    static Motion motion = Motion::reduced;
    return motion;
}

/// Whether the desktop has switched animations off.
bool isDesktopStill()
{
    const QVariant gnome = desktopSetting("org.gnome.desktop.interface", "enable-animations");
    if (gnome.isValid()) return !gnome.toBool();
    bool isNumber = false;
    const double kde = desktopSetting("org.kde.kdeglobals.KDE", "AnimationDurationFactor").toDouble(&isNumber);
    return isNumber && kde == 0;
}

} // namespace

Motion motion()
{
    return currentMotion();
}

void chooseMotion(Motion motion)
{
    currentMotion() = motion;
}

Motion preferredMotion()
{
    const QByteArray chosen = qgetenv("LARKSPOOL_MOTION");
    if (chosen == "full") return Motion::full;
    if (chosen == "reduced") return Motion::reduced;
    return isDesktopStill() ? Motion::reduced : Motion::full;
}

QEasingCurve easeOutCurve()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0.2, 0.8}, {0.2, 1.0}, {1.0, 1.0});
    return curve;
}

} // namespace larkspool
