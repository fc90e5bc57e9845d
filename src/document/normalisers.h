#pragma once

#include "document/layer.h"

namespace larkspool {

/// Whether a layer of that kind can be given the effect. The effects of old files that do nothing go with no kind.
bool applies(SpanEffect::Kind effect, Layer::Kind layer);

/// Appends an effect of 0.4 seconds to the layer's span with that id and normalises the durations. Nothing changes, and the
/// result is false, if the layer has no such span, the effect does not apply to its kind, or the span has one of this kind.
bool addSpanEffect(Layer& layer, const UUID& span, SpanEffect::Kind kind);

/// Shortens every effect that lasts longer than its span, or than 0.05 seconds where the span is shorter still. Effects are
/// never lengthened: a span made longer later keeps them as they are. To be run after every edit of spans.
void normalizeSpanEffects(Layer& layer);

/// Makes the box of a freeform line bound its stroke and arrow heads tightly, at least 1 x 1, and leaves the drawing where it
/// is on the canvas. To be run after every edit of `linePoints`. Other layers, and a line without points, stay as they are.
void normalizeLineBounds(Layer& layer);

} // namespace larkspool
