#include "support/recording_raster_context.h"

#include <fmt/format.h>

namespace larkspool {

namespace RasterOperation {

namespace {

std::string of(const RasterColor& color)
{
    return fmt::format("rgba({:g} {:g} {:g} {:g})", color.r, color.g, color.b, color.a);
}

std::string of(const CGRect& rect)
{
    return fmt::format("{:g} {:g} {:g} {:g}", rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

std::string of(const RoundedRect& box)
{
    return box.radius > 0 ? fmt::format("box({} r{:g})", of(box.rect), box.radius) : fmt::format("box({})", of(box.rect));
}

std::string of(FillRule rule)
{
    return rule == FillRule::evenOdd ? "evenOdd" : "winding";
}

std::string of(const Path::Element& element)
{
    const auto point = [&](int i) { return fmt::format("{:g} {:g}", element.points[i].x, element.points[i].y); };
    switch (element.kind) {
    case Path::Element::Kind::moveTo: return "M " + point(0);
    case Path::Element::Kind::lineTo: return "L " + point(0);
    case Path::Element::Kind::curveTo: return fmt::format("C {} {} {}", point(0), point(1), point(2));
    default: return "Z";
    }
}

std::string of(const Path& path)
{
    std::string words;
    const auto add = [&](const std::string& word) { words += words.empty() ? word : " " + word; };
    if (const std::vector<RoundedRect>* boxes = path.boxes()) {
        for (const RoundedRect& box : *boxes) add(of(box));
        return words;
    }
    for (const Path::Element& element : path.elements()) add(of(element));
    return "path(" + words + ")";
}

std::string of(const TransparencyLayerHints& hints)
{
    std::string words;
    if (hints.bounds) words += fmt::format(" bounds({})", of(*hints.bounds));
    for (const TransparencyLayerHints::WeightedBox& part : hints.coverage)
        words += fmt::format(" {:g}*{}", part.weight, of(part.box));
    return words;
}

struct Text {
    std::string operator()(const SaveGState&) const { return "saveGState"; }
    std::string operator()(const RestoreGState&) const { return "restoreGState"; }
    std::string operator()(const ConcatCTM& operation) const
    {
        const AffineTransform& m = operation.transform;
        return fmt::format("concatCTM {:g} {:g} {:g} {:g} {:g} {:g}", m.a, m.b, m.c, m.d, m.tx, m.ty);
    }
    std::string operator()(const TranslateCTM& operation) const
    {
        return fmt::format("translateCTM {:g} {:g}", operation.x, operation.y);
    }
    std::string operator()(const ScaleCTM& operation) const
    {
        return fmt::format("scaleCTM {:g} {:g}", operation.x, operation.y);
    }
    std::string operator()(const SetAlpha& operation) const { return fmt::format("setAlpha {:g}", operation.alpha); }
    std::string operator()(const SetFillColor& operation) const { return "setFillColor " + of(operation.color); }
    std::string operator()(const SetStrokeColor& operation) const { return "setStrokeColor " + of(operation.color); }
    std::string operator()(const SetLineWidth& operation) const { return fmt::format("setLineWidth {:g}", operation.width); }
    std::string operator()(const SetLineCap& operation) const
    {
        return operation.cap == RasterContext::LineCap::round ? "setLineCap round" : "setLineCap butt";
    }
    std::string operator()(const SetLineJoin& operation) const
    {
        return operation.join == RasterContext::LineJoin::round ? "setLineJoin round" : "setLineJoin miter";
    }
    std::string operator()(const SetFillCompositing& operation) const
    {
        switch (operation.compositing) {
        case RasterContext::Compositing::over: return "setFillCompositing over";
        case RasterContext::Compositing::clear: return "setFillCompositing clear";
        case RasterContext::Compositing::atop: return "setFillCompositing atop";
        case RasterContext::Compositing::under: return "setFillCompositing under";
        }
        return "setFillCompositing";
    }
    std::string operator()(const SetShadow& operation) const
    {
        if (!operation.shadow) return "setShadow none";
        const RasterShadow& shadow = *operation.shadow;
        return fmt::format("setShadow offset({:g} {:g}) blur {:g} {}", shadow.offset.width, shadow.offset.height, shadow.blur,
                           of(shadow.color));
    }
    std::string operator()(const FillRect& operation) const { return "fillRect " + of(operation.rect); }
    std::string operator()(const FillPath& operation) const
    {
        return fmt::format("fillPath {} {}", of(operation.path), of(operation.rule));
    }
    std::string operator()(const StrokePath& operation) const { return "strokePath " + of(operation.path); }
    std::string operator()(const ClipToPath& operation) const
    {
        return fmt::format("clipToPath {} {}", of(operation.path), of(operation.rule));
    }
    std::string operator()(const DrawImage& operation) const
    {
        return fmt::format("drawImage {} in {}", of(operation.source), of(operation.destination));
    }
    std::string operator()(const DrawText& operation) const
    {
        std::string words = fmt::format("drawText \"{}\" at({:g} {:g}) {}", operation.request.text, operation.origin.x,
                                        operation.origin.y, of(operation.color));
        for (const TextRange& range : operation.clear) words += fmt::format(" clear({} {})", range.begin, range.end);
        return words;
    }
    std::string operator()(const BeginTransparencyLayer& operation) const
    {
        return "beginTransparencyLayer" + of(operation.hints);
    }
    std::string operator()(const EndTransparencyLayer&) const { return "endTransparencyLayer"; }
};

bool opens(const Any& operation)
{
    return std::holds_alternative<SaveGState>(operation) || std::holds_alternative<BeginTransparencyLayer>(operation);
}

bool closes(const Any& operation)
{
    return std::holds_alternative<RestoreGState>(operation) || std::holds_alternative<EndTransparencyLayer>(operation);
}

} // namespace

std::string text(const Any& operation)
{
    return std::visit(Text{}, operation);
}

} // namespace RasterOperation

using namespace RasterOperation;

std::string RecordingRasterContext::text() const
{
    std::string lines;
    std::size_t depth = 0;
    for (const Any& operation : operations_) {
        if (closes(operation) && depth > 0) --depth;
        lines += std::string(depth * 2, ' ') + RasterOperation::text(operation) + "\n";
        if (opens(operation)) ++depth;
    }
    return lines;
}

bool RecordingRasterContext::isBalanced() const
{
    std::vector<std::size_t> open; // The kind of each operation that waits for its end.
    for (const Any& operation : operations_) {
        if (opens(operation)) open.push_back(operation.index());
        if (!closes(operation)) continue;
        const Any opener = std::holds_alternative<RestoreGState>(operation) ? Any(SaveGState{}) : Any(BeginTransparencyLayer{});
        if (open.empty() || open.back() != opener.index()) return false;
        open.pop_back();
    }
    return open.empty();
}

void RecordingRasterContext::saveGState()
{
    operations_.push_back(SaveGState{});
    saved_.push_back(ctm_);
}

void RecordingRasterContext::restoreGState()
{
    operations_.push_back(RestoreGState{});
    if (saved_.empty()) return;
    ctm_ = saved_.back();
    saved_.pop_back();
}

void RecordingRasterContext::concatCTM(const AffineTransform& transform)
{
    operations_.push_back(ConcatCTM{transform});
    ctm_ = ctm_.concatenating(transform);
}

void RecordingRasterContext::translateCTM(double x, double y)
{
    operations_.push_back(TranslateCTM{x, y});
    ctm_ = ctm_.translatedBy(x, y);
}

void RecordingRasterContext::scaleCTM(double x, double y)
{
    operations_.push_back(ScaleCTM{x, y});
    ctm_ = ctm_.scaledBy(x, y);
}

void RecordingRasterContext::setAlpha(double alpha)
{
    operations_.push_back(SetAlpha{alpha});
}

void RecordingRasterContext::setFillColor(const RasterColor& color)
{
    operations_.push_back(SetFillColor{color});
}

void RecordingRasterContext::setStrokeColor(const RasterColor& color)
{
    operations_.push_back(SetStrokeColor{color});
}

void RecordingRasterContext::setLineWidth(double width)
{
    operations_.push_back(SetLineWidth{width});
}

void RecordingRasterContext::setLineCap(LineCap cap)
{
    operations_.push_back(SetLineCap{cap});
}

void RecordingRasterContext::setLineJoin(LineJoin join)
{
    operations_.push_back(SetLineJoin{join});
}

void RecordingRasterContext::setFillCompositing(Compositing compositing)
{
    operations_.push_back(SetFillCompositing{compositing});
}

void RecordingRasterContext::setShadow(const std::optional<RasterShadow>& shadow)
{
    operations_.push_back(SetShadow{shadow});
}

void RecordingRasterContext::fillRect(const CGRect& rect)
{
    operations_.push_back(FillRect{rect});
}

void RecordingRasterContext::fillPath(const Path& path, FillRule rule)
{
    operations_.push_back(FillPath{path, rule});
}

void RecordingRasterContext::strokePath(const Path& path)
{
    operations_.push_back(StrokePath{path});
}

void RecordingRasterContext::clipToPath(const Path& path, FillRule rule)
{
    operations_.push_back(ClipToPath{path, rule});
}

void RecordingRasterContext::drawImage(const ImageRef& image, const CGRect& source, const CGRect& destination)
{
    operations_.push_back(DrawImage{image, source, destination});
}

void RecordingRasterContext::drawText(const TextLayout& layout, CGPoint origin, const RasterColor& color,
                                      std::span<const TextRange> clear)
{
    operations_.push_back(DrawText{layout.request, origin, color, {clear.begin(), clear.end()}});
}

void RecordingRasterContext::beginTransparencyLayer(const TransparencyLayerHints& hints)
{
    operations_.push_back(BeginTransparencyLayer{hints});
    saved_.push_back(ctm_);
}

void RecordingRasterContext::endTransparencyLayer()
{
    operations_.push_back(EndTransparencyLayer{});
    if (saved_.empty()) return;
    ctm_ = saved_.back();
    saved_.pop_back();
}

} // namespace larkspool
