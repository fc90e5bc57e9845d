#pragma once

#include "editing/modifiers.h"
#include "foundation/geometry.h"

#include <QPointF>
#include <Qt>

namespace larkspool {

/// Command is the Control key on this platform, and Option is Alt.
inline Modifiers asModifiers(Qt::KeyboardModifiers modifiers)
{
    return {.command = modifiers.testFlag(Qt::ControlModifier),
            .shift = modifiers.testFlag(Qt::ShiftModifier),
            .option = modifiers.testFlag(Qt::AltModifier)};
}

inline CGPoint asPoint(QPointF point)
{
    return {point.x(), point.y()};
}

} // namespace larkspool
