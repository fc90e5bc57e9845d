#pragma once

#include "document/tween_scene.h"
#include "evaluation/evaluated_frame.h"
#include "platform/image.h"
#include "platform/raster_context.h"

namespace larkspool::Exporter {

/// Paints the way from the last moment of one scene to the first of the next, both of which stand still.
class TransitionPainter {
public:
    TransitionPainter(SceneTransition::Kind kind, const TweenScene& outScene, const TweenScene& inScene);

    /// Paints the transition at `progress`, 0...1, over arbitrary content.
    void draw(double progress, PixelBuffer& picture);

private:
    struct Side {
        EvaluatedFrame frame;
        ImageRef image; ///< Of the size asked for last; made where it is needed.
    };

    void crossfade(double progress, RasterContext& context, CGSize size);
    void slide(double progress, RasterContext& context, CGSize size);
    void drawScaled(Side& side, double alpha, double scale, RasterContext& context, CGSize size);

    SceneTransition::Kind kind_;
    Side out_;
    Side in_;
};

} // namespace larkspool::Exporter
