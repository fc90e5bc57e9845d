#include "assistant/assistant_context.h"

#include "document/file_format.h"

#include <utility>

namespace larkspool {

namespace {

JSON idsJSON(const LayerIDs& ids)
{
    JSON::Array list;
    for (const UUID& id : ids) list.emplace_back(id.string());
    return list;
}

JSON itemJSON(const TimelineItemRef& item, const char* idKey)
{
    return JSON::Object{{"layer_id", item.layerID.string()}, {idKey, item.itemID.string()}};
}

} // namespace

JSON timelineSelectionJSON(const TimelineSelection& items)
{
    JSON::Array keyframes, spans, pulses, waits, clips;
    for (const TimelineItemRef& item : items) {
        switch (item.kind) {
        case TimelineItemRef::Kind::keyframe: keyframes.push_back(itemJSON(item, "keyframe_id")); break;
        case TimelineItemRef::Kind::span: spans.push_back(itemJSON(item, "span_id")); break;
        case TimelineItemRef::Kind::pulse: pulses.push_back(itemJSON(item, "pulse_id")); break;
        case TimelineItemRef::Kind::waitTail: waits.push_back(itemJSON(item, "keyframe_id")); break;
        case TimelineItemRef::Kind::videoClip: clips.emplace_back(item.layerID.string()); break;
        }
    }
    return JSON::Object{{"keyframes", std::move(keyframes)},
                        {"spans", std::move(spans)},
                        {"pulses", std::move(pulses)},
                        {"waits", std::move(waits)},
                        {"video_clip_layer_ids", std::move(clips)}};
}

JSON activeSceneJSON(const TweenDocument& document, const AssistantEditorContext& context)
{
    const std::int64_t index = document.activeSceneIndex;
    if (index < 0 || static_cast<std::size_t>(index) >= document.scenes.size())
        return JSON::Object{{"error", "no active scene"}};

    const TweenScene& scene = document.scenes[static_cast<std::size_t>(index)];
    JSON::Object envelope{
        {"active_scene_index", index},
        {"total_scenes", static_cast<std::int64_t>(document.scenes.size())},
        {"playhead_seconds", context.playhead},
        {"is_playing", context.isPlaying},
        {"selected_layer_ids", idsJSON(context.selectedLayerIDs)},
        {"timeline_selection", timelineSelectionJSON(context.timelineSelection)},
        {"timeline_pinned_layer_ids", idsJSON(context.timelinePinnedLayerIDs)},
        {"expanded_layer_groups", idsJSON(context.expandedLayerGroups)},
        {"has_audio", context.hasAudio},
        {"can_undo", context.canUndo},
        {"can_redo", context.canRedo},
    };
    envelope.emplace("scene", JSON::decode(encodedJson(scene, JsonWriter::Layout::compact)));
    return envelope;
}

} // namespace larkspool
