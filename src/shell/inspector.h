#pragma once

#include "canvas/keyframed_write.h"
#include "canvas/selected_layers.h"
#include "editing/edit.h"
#include "editing/editor_state.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace larkspool {

enum class InspectorTab { properties, assistant };

/// What the inspector is about: the selected items of the timeline, else the selected layers, else the scene.
struct InspectorSubject {
    enum class Kind { scene, layers, keyframes, span, videoClip, pulse, severalKinds };

    Kind kind = Kind::scene;
    std::vector<TimelineItemRef> items{}; ///< The keyframes, each once, or the one item. Each is in the scene.

    bool operator==(const InspectorSubject&) const = default;
};

/// A selected wait tail counts as its keyframe. Several clips or several pulses have no inspector of their own, nor have several
/// spans without a primary one among them: the layers' is shown instead.
InspectorSubject inspectorSubject(const EditorState& state);

/// The rules of editing in the inspector: which record an edit touches, whether the value becomes a base value or a keyframe, and
/// how it is held within limits.
namespace Inspector {

inline constexpr std::string_view severalKindsText = "Multiple Item Types Selected";
inline constexpr std::string_view mixedText = "Mixed";

enum class Section { transform, zoom, size, layout, line, text, appearance, animation, cursor };

/// Those that every one of the kinds calls for, in the order in which they are shown.
std::vector<Section> sections(std::span<const Layer* const> layers);
std::string_view title(Section section);

/// Whether the layer shows the field. What a kind does not draw is not offered.
bool offers(const Layer& layer, Keyframe::AnimatableProperty property);
bool offersAll(std::span<const Layer* const> layers, Keyframe::AnimatableProperty property);

/// "Edit " and the name of what is edited.
std::string actionName(std::string_view edited);

/// A typed or scrubbed number held within what the property takes; `label` decides for rows without a property.
double clampForProperty(std::optional<Keyframe::AnimatableProperty> property, std::string_view label, double value);

/// Whether the difference is too small to be an edit.
bool isUnchanged(double current, double typed);

/// @name Writing into the selected layers, at any depth.
/// @{

/// Writes the value as a keyframe at the playhead into each layer that has keyframes of the property, if `how` wants keyframes, and
/// as the base value into all others. Names that follow the content are derived anew, and a line's box is made to fit.
void upsertHelper(TweenScene& scene, const LayerIDs& selection, Keyframe::AnimatableProperty property, const KeyValue& value,
                  const KeyframedWriting& how);
/// The same with a value for each layer, which `valueOf` makes of the layer as stored.
void upsertEach(TweenScene& scene, const LayerIDs& selection, Keyframe::AnimatableProperty property,
                const std::function<KeyValue(const Layer& layer)>& valueOf, const KeyframedWriting& how);

/// The same for a width or a height, or a scale, with the other one changed in the same ratio. The ratio is that of `before`, the
/// scene before the visit to the field, so that what is typed on the way leaves no trace. A side of 0 has no ratio: the other one
/// stays.
void upsertInRatio(TweenScene& scene, const TweenScene& before, const LayerIDs& selection, Keyframe::AnimatableProperty property,
                   double value, const KeyframedWriting& how);

/// Writes plain fields of every selected layer.
void writeToSelected(TweenScene& scene, const LayerIDs& selection, const std::function<void(Layer&)>& write);
template <typename Value>
void writeToSelected(TweenScene& scene, const LayerIDs& selection, Value Layer::* field, const std::type_identity_t<Value>& value)
{
    writeToSelected(scene, selection, std::function<void(Layer&)>([&](Layer& layer) { layer.*field = value; }));
}

/// Writes the text, and the name where it follows it.
void writeText(TweenScene& scene, const LayerIDs& selection, std::string_view text);
/// Writes the shape of lines, and the name where it follows it.
void writeLineShape(TweenScene& scene, const LayerIDs& selection, LineShape shape);

/// Derives the names of the selected shapes that follow their fill anew.
void autoRenameShapeLayersOnFillEdit(TweenScene& scene, const LayerIDs& selection);

/// Puts the selected layers back as they are in `before`. Those that it has not stay.
void takeBack(TweenScene& scene, const TweenScene& before, const LayerIDs& selection);
/// @}

/// @name What a row shows of several layers.
/// @{

/// Whether the values differ.
template <typename Projection>
bool isMixedAcrossSelection(std::span<const Layer> layers, const Projection& projection)
{
    return std::ranges::any_of(
        layers, [&](const Layer& layer) { return std::invoke(projection, layer) != std::invoke(projection, layers.front()); });
}

/// Where a property stands in its animation at the playhead.
enum class Diamond {
    none, ///< No layer has keyframes of it.
    animated, ///< Some layer has.
    keyframeAtPlayhead ///< Each layer has one at the playhead.
};
Diamond diamond(std::span<const Layer> layers, Keyframe::AnimatableProperty property, double playhead);

/// How far the edge of what is seen of a layer lies right of and below its place: a crop takes the rest away. `layer` is resolved.
CGPoint croppedPositionOffset(const Layer& layer);
/// The same along the axis of a place, `x` or `y`. 0 for any other property.
double croppedPositionOffset(const Layer& layer, Keyframe::AnimatableProperty property);
/// @}

/// A click on the diamond: takes the keyframes at the playhead out of all layers if each has one, else adds one with the value that
/// the layer has there to those without. Nothing without layers.
std::optional<Edit> toggleKeyframe(const TweenScene& scene, const LayerIDs& selection, Keyframe::AnimatableProperty property,
                                   double playhead, RandomSource& random = systemRandom());

/// Makes the zoom one of that type. A picture-in-picture zoom shows nothing but in its viewports: one without gets its first, of the
/// zoom's own shape and up to 0.4 of the scene's sides, in the corner of the scene that is farthest from what the zoom frames.
void setZoomType(Layer& zoom, ZoomType type, CGSize sceneSize, RandomSource& random = systemRandom());

/// The diamond's help: what a click would do.
std::string diamondHelp(Diamond diamond, double playhead);

/// @name The scene. Each is what becomes of a typed number; nothing for what a scene cannot be.
/// @{
std::optional<double> keptSceneWidth(const TweenScene& scene, double typed);
std::optional<double> keptSceneHeight(const TweenScene& scene, double typed);
std::optional<std::int64_t> keptFps(double typed);
std::optional<double> keptDuration(double typed);
std::optional<double> keptEndPause(double typed);
/// The scene in the size of a preset; its layers stay where they are. Nothing if it has that size.
std::optional<Edit> applyCanvasPreset(const TweenScene& scene, CGSize size);
/// @}

} // namespace Inspector

} // namespace larkspool
