#pragma once

#include "document/layer.h"

#include <optional>

namespace larkspool {

/// The time in a video layer's source, in seconds, of the picture on show at a scene time. Nothing where the source has not begun
/// and where the numbers give no time. Whether the clip contains the time is for the caller to ask.
///
///     scene    sceneStart ................. sceneEnd
///     source   sourceStart ... + play ......          play: what of the source is used
///                                  `end`          runs on, past the end of the file too
///                                  `loop`         begins again at sourceStart
///                                  `freezeFrame`  stays a millisecond before the end of the play
///
/// Looping and freezing need the length of the source; without one the source runs on. A loop that plays nothing stays at
/// sourceStart. A negative trim plays on, too, as long as there is something to play.
std::optional<double> sourceTime(const Layer& layer, double sceneTime);

} // namespace larkspool
