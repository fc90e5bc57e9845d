#include "evaluation/evaluated_frame.h"

#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"

#include <algorithm>

namespace larkspool {

namespace {

bool shows(const Layer& layer, double time)
{
    return !layer.isHidden && isVisible(layer, time);
}

bool isZoom(const Layer& layer, ZoomType type)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == type;
}

/// The layer's glow and rings, told by the pulses of the layer as stored. Without a scene to hover in there are no rings either.
void addAccents(EvaluatedLayer& evaluated, const Layer& stored, const PulseEnvelope& pulse, const HoverTargets* hover,
                double time)
{
    if (stored.pulses.empty()) return;
    evaluated.glow = pulse.glow;
    if (evaluated.glow > 0) evaluated.storedShadow = stored.shadow;
    if (hover) evaluated.radiateProgress = activeRadiateProgress(stored.pulses, time);
    if (evaluated.radiateProgress)
        evaluated.radiateCenter = radiateCenter(stored, Interpolation::resolve(stored, time), CGPoint{}, time);
    if (evaluated.glow > 0 || evaluated.radiateProgress) evaluated.glowColor = pulseGlowColorRGBA(stored, ColorRGBA::white);
}

/// A group turns and scales about its anchor in the box that its descendants cover; if nothing of it shows, in its own.
AffineTransform transformOf(const Layer& prepared, const Array<Layer>& placed, double time)
{
    if (prepared.kind != Layer::Kind::group) return prepared.transform.cgAffine(prepared.size);
    const CGRect box = laidOutDescendantsAABBFree(placed, time);
    if (box.isNull()) return prepared.transform.cgAffine(prepared.size);
    return prepared.transform.cgAffineAbout({box.minX() + prepared.transform.anchorX * box.size.width,
                                             box.minY() + prepared.transform.anchorY * box.size.height});
}

/// Takes a resolved layer through the steps after that, in place. Most layers have none of what these act on; each step is
/// passed only where it has something to do, since even handing the record through has a cost.
PulseEnvelope applySteps(Layer& layer, const Layer& stored, CGPoint origin, HoverTargets* hover, double time)
{
    if (!stored.spans.empty()) layer = applySpanEffects(std::move(layer), stored, time);
    if (hover && layer.kind == Layer::Kind::cursor) layer = applyHoverOverride(std::move(layer), origin, *hover);
    if (stored.pulses.empty()) return {};
    const PulseEnvelope pulse = pulseEnvelope(time, stored.pulses);
    layer = applyPulseScale(std::move(layer), pulse.scale);
    return pulse;
}

/// The layer with its accents, without transform and children.
EvaluatedLayer evaluateAlone(const Layer& stored, CGPoint origin, HoverTargets* hover, double time)
{
    EvaluatedLayer evaluated{.layer = Interpolation::resolve(stored, time)};
    const PulseEnvelope pulse = applySteps(evaluated.layer, stored, origin, hover, time);
    addAccents(evaluated, stored, pulse, hover, time);
    return evaluated;
}

EvaluatedLayer evaluate(const Layer& stored, CGPoint origin, HoverTargets* hover, double time);

void addTransformAndChildren(EvaluatedLayer& evaluated, CGPoint origin, HoverTargets* hover, double time)
{
    const Layer& layer = evaluated.layer;
    const Array<Layer> placed = placedChildren(layer, time);
    evaluated.transform = transformOf(layer, placed, time);

    const CGPoint childOrigin{origin.x + layer.transform.x, origin.y + layer.transform.y};
    evaluated.children.reserve(placed.size());
    for (const Layer& child : placed)
        if (!child.pipRendition && shows(child, time)) evaluated.children.push_back(evaluate(child, childOrigin, hover, time));
}

EvaluatedLayer evaluate(const Layer& stored, CGPoint origin, HoverTargets* hover, double time)
{
    EvaluatedLayer evaluated = evaluateAlone(stored, origin, hover, time);
    addTransformAndChildren(evaluated, origin, hover, time);
    return evaluated;
}

/// Appends a view for each child of a picture-in-picture zoom that is one.
void addViewports(std::vector<EvaluatedViewport>& viewports, const Layer& zoom, HoverTargets& hover, double time)
{
    const Layer parent = Interpolation::resolve(zoom, time);
    for (const Layer& child : zoom.children) {
        if (!child.pipRendition || !shows(child, time)) continue;
        EvaluatedLayer view = evaluateAlone(child, CGPoint{}, &hover, time);
        view.transform = view.layer.transform.cgAffine(view.layer.size);
        viewports.push_back({std::move(view), parent});
    }
}

bool pictureMoves(const Layer& layer)
{
    switch (layer.kind) {
    case Layer::Kind::video: return true;
    case Layer::Kind::gradientField: return layer.gradientWarpSpeed > 0 || layer.gradientPulseAmount > 0;
    case Layer::Kind::cursor: return layer.cursorVariant == CursorVariant::wait;
    default: return false;
    }
}

bool anyPictureMoves(const std::vector<EvaluatedLayer>& layers)
{
    return std::any_of(layers.begin(), layers.end(), [](const EvaluatedLayer& evaluated) {
        return pictureMoves(evaluated.layer) || anyPictureMoves(evaluated.children);
    });
}

/// 0...1 of a ramp, done at once where it has no length.
double rampProgress(double elapsed, double ramp)
{
    return ramp > 0 ? std::clamp(elapsed / ramp, 0.0, 1.0) : 1;
}

/// How often a side of the zoomed frame goes into that of the scene.
double quotient(double sceneSide, double zoomedSide)
{
    return zoomedSide < 1 ? sceneSide : sceneSide / zoomedSide;
}

} // namespace

PreparedLayer prepareLayer(const Layer& stored, CGPoint origin, HoverTargets* hover, double time)
{
    PreparedLayer prepared{.layer = Interpolation::resolve(stored, time)};
    prepared.pulse = applySteps(prepared.layer, stored, origin, hover, time);
    return prepared;
}

Array<Layer> placedChildren(const Layer& prepared, double time)
{
    return prepared.kind == Layer::Kind::group ? layoutChildren(prepared, time) : prepared.children;
}

bool EvaluatedFrame::operator==(const EvaluatedFrame& other) const
{
    return sceneSize == other.sceneSize && background == other.background && zoom == other.zoom &&
           movesByItself == other.movesByItself && layers == other.layers && viewports == other.viewports;
}

EvaluatedFrame evaluateFrame(const TweenScene& scene, double time)
{
    EvaluatedFrame frame{.sceneSize = scene.size(), .background = scene.background, .time = time};
    if (const std::optional<ActiveZoom> active = activeZoomSpan(scene, time))
        frame.zoom = frameZoom(*active, scene.size(), time);

    HoverTargets hover(scene, time);
    frame.layers.reserve(scene.layers.size());
    for (const Layer& layer : scene.layers) {
        if (!shows(layer, time)) continue;
        frame.layers.push_back(evaluate(layer, CGPoint{}, &hover, time));
        if (isZoom(layer, ZoomType::pictureInPicture)) addViewports(frame.viewports, layer, hover, time);
    }
    frame.movesByItself = anyPictureMoves(frame.layers);
    return frame;
}

EvaluatedLayer evaluateSubtree(Layer prepared, const Layer& stored, CGPoint origin, const TweenScene* scene, double time)
{
    std::optional<HoverTargets> targets;
    if (scene) targets.emplace(*scene, time);
    HoverTargets* hover = targets ? &*targets : nullptr;

    EvaluatedLayer evaluated{.layer = std::move(prepared)};
    addAccents(evaluated, stored, pulseEnvelope(time, stored.pulses), hover, time);
    addTransformAndChildren(evaluated, origin, hover, time);
    return evaluated;
}

std::optional<ActiveZoom> activeZoomSpan(const TweenScene& scene, double time)
{
    for (std::size_t index = scene.layers.size(); index-- > 0;) {
        const Layer& layer = scene.layers[index];
        if (!isZoom(layer, ZoomType::fullScreen) || !shows(layer, time)) continue;
        for (const TimeSpan& span : layer.spans)
            if (span.start < span.end && span.contains(time)) return ActiveZoom{&layer, &span};
    }
    return std::nullopt;
}

FrameZoom frameZoom(const ActiveZoom& active, CGSize sceneSize, double time)
{
    const TimeSpan& span = *active.span;
    const double ramp = std::min((span.end - span.start) * 0.5, zoomRampDuration);
    const double in = rampProgress(time - span.start, ramp);
    const double out = rampProgress(span.end - time, ramp);
    const double k = std::min(transformProgress(span.zoomStart, in), transformProgress(span.zoomEnd, out));

    const Interpolation::Placement placed = Interpolation::placement(*active.layer, time);
    const CGSize zoomed{std::max(placed.size.width, 1.0) * k + sceneSize.width * (1 - k),
                        std::max(placed.size.height, 1.0) * k + sceneSize.height * (1 - k)};
    return {
        .layer = active.layer->id,
        .k = k,
        .scale = std::min(quotient(sceneSize.width, zoomed.width), quotient(sceneSize.height, zoomed.height)),
        .translate = {-placed.transform.x * k, -placed.transform.y * k},
        .alpha = std::min(alphaFactor(span.zoomStart, in), alphaFactor(span.zoomEnd, out)),
    };
}

} // namespace larkspool
