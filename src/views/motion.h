#pragma once

#include <QEasingCurve>

namespace larkspool {

/// How what opens and closes is seen to do so: in a short movement, or at once.
enum class Motion { full, reduced };

/// What the windows have now: reduced until something else is chosen. On the main thread only.
Motion motion();
void chooseMotion(Motion motion);

/// What the person has chosen: LARKSPOOL_MOTION, "full" or "reduced", or else what the desktop's settings say of animations. Full
/// where neither says anything.
Motion preferredMotion();

/// The curve of all movements of that kind: fast at first, and slow into place.
QEasingCurve easeOutCurve();

} // namespace larkspool
