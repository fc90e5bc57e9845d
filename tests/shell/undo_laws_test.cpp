#include "canvas/crop_editor.h"
#include "canvas/layer_arrange.h"
#include "canvas/layer_clipboard.h"
#include "canvas/layer_copies.h"
#include "canvas/layer_insertion.h"
#include "canvas/layer_tree_operations.h"
#include "canvas/media_import.h"
#include "canvas/mix_match.h"
#include "canvas/restacking.h"
#include "canvas/selected_layers.h"
#include "canvas/selection_handles.h"
#include "support/random_timeline.h"
#include "support/test_editor.h"
#include "timeline/span_edits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {
namespace {

/// A person who does anything that can be done with an editor, one thing at a time. Each thing is one undo step at most.
class Person {
public:
    Person(TestEditor& editor, RandomTimeline& random) : editor_(editor), random_(random) {}

    void doAnything()
    {
        editor_.ripple(random_.chance(2), random_.chance(2)).playhead(random_.between(0, 10));
        if (random_.chance(4)) editor_.select(random_.selection(editor_.scene()));
        if (random_.chance(8)) view().selectLayers({anyLayer()});
        if (random_.chance(8)) view().setTimelineZoom(random_.chance(2));
        if (random_.chance(3)) return doAnythingOnTheCanvas();
        const std::array things{&Person::drag,      &Person::drag,         &Person::dragGroup,     &Person::dragAndCancel,
                                &Person::tap,       &Person::remove,       &Person::addSpan,       &Person::addSpanAtPlayhead,
                                &Person::addPulse,  &Person::addKeyframes, &Person::pasteSpan,     &Person::orderLayers,
                                &Person::moveBy,    &Person::moveTo,       &Person::dilate,        &Person::distribute,
                                &Person::stagger,   &Person::setInOrOut,   &Person::retime,        &Person::typeNumber,
                                &Person::typeAndEscape, &Person::streamColours, &Person::scrub,    &Person::selectAtPlayhead};
        (this->*things[random_.index(things.size())])();
    }

    void doAnythingOnTheCanvas()
    {
        if (random_.chance(2)) view().selectLayers(anyLayers());
        const std::array things{&Person::dragOnCanvas,          &Person::dragOnCanvas, &Person::dragAHandle,
                                &Person::dragAndCancelOnCanvas, &Person::duplicate,    &Person::paste,
                                &Person::group,                 &Person::ungroup,      &Person::restack,
                                &Person::align,                 &Person::nudge,        &Person::distributeOnCanvas,
                                &Person::crop,                  &Person::mixAndMatch,  &Person::importMedia,
                                &Person::replaceMedia,          &Person::deleteLayers};
        (this->*things[random_.index(things.size())])();
    }

private:
    EditorView& view() { return editor_.view(); }
    std::vector<TimelineItemRef> items() const { return RandomTimeline::items(editor_.scene()); }
    std::optional<TimelineItemRef> anyItem()
    {
        const std::vector<TimelineItemRef> all = items();
        return all.empty() ? std::nullopt : std::optional(all[random_.index(all.size())]);
    }
    UUID anyLayer()
    {
        std::vector<UUID> ids;
        walkLayers(editor_.scene().layers, [&](const Layer& layer) { ids.push_back(layer.id); });
        return ids[random_.index(ids.size())];
    }
    TimelineRippleMode anyRipple() { return static_cast<TimelineRippleMode>(random_.index(4)); }
    void wander()
    {
        for (int i = 0; i < 3; ++i) editor_.moveTo(random_.between(-6, 6));
    }

    void drag()
    {
        const auto item = anyItem();
        if (!item) return;
        editor_.press(*item, static_cast<DragHandle>(random_.index(3)));
        wander();
        if (random_.chance(6)) editor_.moveTo(0);
        editor_.release();
    }
    void dragGroup()
    {
        const auto item = anyItem();
        if (!item) return;
        std::vector<TimelineItemRef> members{*item};
        for (const TimelineItemRef& ref : items())
            if (ref.kind == item->kind && ref != *item && editor_.times(ref) == editor_.times(*item)) members.push_back(ref);
        editor_.pressGroup(std::move(members), static_cast<DragHandle>(random_.index(3)));
        wander();
        editor_.release();
    }
    void dragAndCancel()
    {
        const auto item = anyItem();
        if (!item) return;
        editor_.press(*item);
        wander();
        view().cancelTimelinePress();
    }
    void tap()
    {
        if (const auto item = anyItem())
            editor_.hold({.command = random_.chance(3), .shift = random_.chance(3)}).tap(*item).hold({});
    }
    void remove()
    {
        if (random_.chance(3)) view().deleteTimelineSelection();
    }
    void addSpan() { editor_.perform(SpansTrack::addSpan(editor_.scene(), anyLayer(), random_.time(), random_.time())); }
    void addSpanAtPlayhead()
    {
        editor_.perform(SpansTrack::addSpanAtPlayhead(editor_.scene(), anyLayer(), editor_.state().playhead));
    }
    void addPulse() { view().addPulseAtPlayhead(anyLayer()); }
    void addKeyframes()
    {
        if (random_.chance(2))
            view().addKeyframeAtPlayhead(anyLayer(), Keyframe::AnimatableProperty::opacity);
        else
            view().addKeyframesAtPlayhead();
    }
    void pasteSpan()
    {
        if (const auto item = anyItem())
            editor_.perform(pasteSpanSnapshot(editor_.scene(), editor_.state().timelineSelection,
                                              {.length = random_.between(0, 3), .effects = {SpanEffect{.duration = 1}}}, *item));
    }
    void orderLayers() { editor_.perform(orderLayersByStartTime(editor_.scene(), editor_.state().timelineSelection)); }
    void moveBy() { view().applyMoveDelta(random_.between(-4, 4), anyRipple(), "Move Selection"); }
    void moveTo() { view().moveToPlayhead(); }
    void dilate()
    {
        view().applyDilate(random_.between(0.05, 3), static_cast<DilateAnchor>(random_.index(3)), anyRipple(),
                           "Dilate Selection");
    }
    void distribute() { view().distributeSelectedSpans(random_.between(0, 1)); }
    void stagger()
    {
        view().staggerSelectedSpans(random_.between(-1, 1), random_.between(-1, 1), static_cast<StaggerOrder>(random_.index(4)));
    }
    void setInOrOut() { view().applySpanInOut(random_.chance(2) ? InOutPoint::in : InOutPoint::out); }
    void retime()
    {
        RetimeSheet& sheet = view().openRetimeSheet();
        for (std::size_t i = random_.index(6); i > 0; --i) {
            const std::vector<RetimeRow> rows = sheet.rows();
            if (rows.empty()) break;
            const RetimeRow& row = rows[random_.index(rows.size())];
            sheet.ripple = static_cast<RetimeRipple>(random_.index(4));
            switch (random_.index(4)) {
            case 0: sheet.performInModalUndo(); break;
            case 1: sheet.commitDuration(random_.between(0, 4), row); break;
            default: sheet.commitStart(random_.between(0, 10), row); break;
            }
        }
        view().closeRetimeSheet();
    }
    /// Into a field of the scene, with another edit while the field has the focus.
    void type()
    {
        view().commit().openNumericUndoGate();
        for (std::size_t i = random_.index(3); i > 0; --i)
            view().mutate("Edit End Pause", [&](TweenScene& scene) { scene.endPause = random_.between(0, 9); });
        if (random_.chance(2)) view().addPulseAtPlayhead(anyLayer());
    }
    void typeNumber()
    {
        type();
        view().commit().confirmNumericUndoGate();
    }
    void typeAndEscape()
    {
        type();
        view().commit().cancelNumericUndoGate();
    }
    void streamColours()
    {
        for (int i = 0; i < 3; ++i) {
            view().colorBatch().colorEditBatch("Edit Color",
                                               [&](TweenScene& scene) { scene.endPause = random_.between(0, 9); });
            editor_.timers().pass(random_.between(0, 0.39));
        }
        editor_.timers().pass(0.4);
    }
    void scrub()
    {
        view().scrub().scrubBegin("Edit Duration");
        view().scrub().scrub([&](TweenScene& scene) { scene.duration = random_.between(4, 12); });
        view().scrub().scrubEnd();
    }
    void selectAtPlayhead() { view().selectAllAtPlayhead(); }

    const LayerIDs& selected() const { return editor_.state().selectedLayerIDs; }
    double playhead() const { return editor_.state().playhead; }
    LayerIDs anyLayers()
    {
        LayerIDs ids;
        for (std::size_t i = random_.index(4); i > 0; --i) ids.insert(anyLayer());
        return ids;
    }
    /// So that a person who copies copies does not fill the memory.
    bool isCrowded() const { return layerCount(editor_.scene().layers) > 60; }
    CGPoint anyPoint() { return {random_.between(-100, 2000), random_.between(-100, 1200)}; }

    Modifiers anyModifiers()
    {
        return {.command = random_.chance(4), .shift = random_.chance(4), .option = random_.chance(4) && !isCrowded()};
    }
    void pressAndWander(CGPoint from)
    {
        const Modifiers modifiers = anyModifiers();
        view().pressCanvas({.view = from, .modifiers = modifiers}, {});
        for (int i = 0; i < 3; ++i)
            view().dragCanvas({.view = {from.x + random_.between(-80, 80), from.y + random_.between(-80, 80)},
                               .modifiers = random_.chance(4) ? anyModifiers() : modifiers});
        if (random_.chance(6)) view().dragCanvas({.view = from, .modifiers = modifiers});
    }
    void dragOnCanvas()
    {
        pressAndWander(anyPoint());
        view().releaseCanvas({});
    }
    void dragAHandle()
    {
        const UUID layer = anyLayer();
        view().selectLayers({layer});
        const auto frame = selectionFrame(editor_.scene(), layer, playhead());
        if (!frame) return;
        const SceneFit fit{};
        const auto handle = static_cast<SelectionHandle>(random_.index(selectionHandleCount));
        pressAndWander(random_.chance(3) ? rotateHandleViewPoint(*frame, fit) : frame->viewPoint(handle, fit));
        view().releaseCanvas({});
    }
    void dragAndCancelOnCanvas()
    {
        pressAndWander(anyPoint());
        view().cancelCanvasPress();
    }
    void duplicate()
    {
        if (!isCrowded()) editor_.perform(duplicateSelected(editor_.scene(), selected()));
    }
    void paste()
    {
        if (isCrowded()) return;
        MemoryPasteboard pasteboard;
        if (copySelection(editor_.scene(), selected(), pasteboard)) editor_.perform(pasteSelection(editor_.scene(), pasteboard));
    }
    void group()
    {
        if (!isCrowded()) editor_.perform(groupSelection(editor_.scene(), selected()));
    }
    void ungroup() { editor_.perform(ungroupSelection(editor_.scene(), selected(), playhead())); }
    void restack()
    {
        const std::array ways{&bringToFront, &bringForward, &sendBackward, &sendToBack};
        editor_.perform(ways[random_.index(ways.size())](editor_.scene(), selected()));
    }
    void align()
    {
        editor_.perform(alignSelected(editor_.scene(), selected(), static_cast<AlignEdge>(random_.index(6)), playhead()));
    }
    void distributeOnCanvas()
    {
        const DistributeAxis axis = random_.chance(2) ? DistributeAxis::horizontal : DistributeAxis::vertical;
        editor_.perform(distributeSelected(editor_.scene(), selected(), axis, playhead()));
    }
    void nudge()
    {
        const CGPoint delta{random_.between(-9, 9), nudgeStep(random_.chance(2))};
        editor_.perform(nudgeSelected(editor_.scene(), selected(), delta, playhead()));
    }
    void crop()
    {
        CropEditorBus bus;
        if (!bus.open(anyLayer(), /*freshToggle=*/random_.chance(2), editor_.scene())) return;
        editor_.perform(bus.done({{random_.between(0, 0.5), 0}, {0.5, random_.between(0.1, 1)}}, editor_.scene()));
    }
    void mixAndMatch()
    {
        using Category = MixMatchCategory;
        const MixMatchSettings settings{.categories = {Category::fill, Category::rotation},
                                        .bias = random_.between(0, 1),
                                        .distributeAsSet = random_.chance(2)};
        editor_.perform(applyMixAndMatch(editor_.scene(), selected(), settings));
    }
    /// The layer of an image or a video that was read.
    static Layer media(Layer::Kind kind, std::uint8_t content)
    {
        Layer layer = newLayer(kind);
        layer.size = {40, 30};
        if (kind == Layer::Kind::image) layer.imageData = Bytes({content});
        else layer.videoURL = SharedString("file:///" + std::to_string(content));
        return layer;
    }
    void importMedia()
    {
        if (isCrowded()) return;
        Array<Layer> layers;
        for (std::size_t i = random_.index(4); i > 0; --i)
            layers.append(media(random_.chance(2) ? Layer::Kind::image : Layer::Kind::video, static_cast<std::uint8_t>(i)));
        editor_.perform(importMediaFiles(editor_.scene(), layers, anyPoint()));
    }
    void replaceMedia()
    {
        const auto content = static_cast<std::uint8_t>(random_.index(3));
        editor_.perform(replaceImageMedia(editor_.scene(), anyLayer(), media(Layer::Kind::image, content)));
    }
    void deleteLayers()
    {
        if (layerCount(editor_.scene().layers) > 8) editor_.perform(deleteSelected(editor_.scene(), {anyLayer()}));
    }

    TestEditor& editor_;
    RandomTimeline& random_;
};

/// The timeline's scenes with their layers all over the canvas.
TweenScene scattered(TweenScene scene, RandomTimeline& random)
{
    const std::function<void(Array<Layer>&)> scatter = [&](Array<Layer>& layers) {
        if (layers.empty()) return;
        for (Layer& layer : layers.edit()) {
            layer.transform.x = random.between(0, 1500);
            layer.transform.y = random.between(0, 800);
            layer.size = {random.between(20, 400), random.between(20, 300)};
            if (random.chance(4)) layer.transform.rotation = random.between(-90, 90);
            if (layer.kind == Layer::Kind::rectangle && random.chance(4)) layer.kind = Layer::Kind::image;
            scatter(layer.children);
        }
    };
    scatter(scene.layers);
    return scene;
}

bool holdsDeadReference(const EditorState& state)
{
    const TweenScene scene = state.scene();
    LayerIDs layers;
    std::vector<UUID> keyframes, spans;
    walkLayers(scene.layers, [&](const Layer& layer) {
        layers.insert(layer.id);
        for (const Keyframe& keyframe : layer.keyframes) keyframes.push_back(keyframe.id);
        for (const TimeSpan& span : layer.spans) spans.push_back(span.id);
    });
    const auto isDead = [](const std::optional<UUID>& id, const std::vector<UUID>& among) {
        return id && std::ranges::find(among, *id) == among.end();
    };
    if (isDead(state.selectedKeyframeID, keyframes) || isDead(state.selectedSpanID, spans)) return true;
    for (const UUID& id : state.selectedLayerIDs)
        if (!layers.contains(id)) return true;
    for (const TimelineItemRef& ref : state.timelineSelection)
        if (!timesOf(scene, ref)) return true;
    return false;
}

TEST(UndoLaws, TwoHundredRandomOperationsAreUndoneAndRedoneStepByStep)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        TestEditor editor(scattered(random.scene(), random));
        Person person(editor, random);
        std::vector<TweenScene> states{editor.scene()};
        std::vector<std::string> names{""};
        for (int i = 0; i < 200; ++i) {
            const TweenScene before = editor.scene();
            const std::size_t steps = editor.undoCount();
            person.doAnything();
            RC_ASSERT(!holdsDeadReference(editor.state()));
            RC_ASSERT(effectsFitTheirSpans(editor.scene()));
            if (editor.undoCount() == steps) {
                RC_ASSERT(editor.scene() == before);
                continue;
            }
            RC_ASSERT(editor.undoCount() == steps + 1);
            states.push_back(editor.scene());
            names.push_back(editor.undoName());
        }
        for (std::size_t i = states.size(); i-- > 1;) {
            RC_ASSERT(editor.scene() == states[i]);
            RC_ASSERT(editor.undoName() == names[i]);
            editor.select(random.selection(editor.scene())).undo();
            RC_ASSERT(editor.view().undoManager().redoActionName() == names[i]);
            RC_ASSERT(!holdsDeadReference(editor.state()));
        }
        RC_ASSERT(editor.scene() == states[0]);
        for (std::size_t i = 1; i < states.size(); ++i) {
            editor.select(random.selection(editor.scene())).redo();
            RC_ASSERT(editor.scene() == states[i]);
            RC_ASSERT(editor.undoName() == names[i]);
            RC_ASSERT(!holdsDeadReference(editor.state()));
        }
    }));
}

TEST(UndoLaws, ThePersonDoesEverythingNowAndThen)
{
    std::set<std::string> names;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        RandomTimeline random(seed);
        TestEditor editor(scattered(random.scene(), random));
        Person person(editor, random);
        for (int i = 0; i < 200; ++i) {
            person.doAnything();
            names.insert(editor.undoName());
        }
    }
    EXPECT_THAT(names, testing::IsSupersetOf(
                           {"Add 2 Items",   "Add Image",       "Add Video",    "Align",   "Bring Forward",
                            "Bring to Front", "Delete Layer",   "Distribute Horizontally", "Distribute Vertically",
                            "Duplicate Layer", "Duplicate Layers", "Edit Crop", "Group",   "Mix & Match",
                            "Move",          "Nudge",           "Paste",        "Replace Image", "Resize",
                            "Rotate",        "Send Backward",   "Send to Back", "Ungroup", "Move Span", "Add Pulse"}));
}

TEST(UndoLaws, AWalkBackAndForthAmongEditsAlwaysShowsTheSceneOfItsPlace)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        TestEditor editor(scattered(random.scene(), random));
        Person person(editor, random);
        std::vector<TweenScene> states{editor.scene()};
        std::size_t place = 0;
        for (int i = 0; i < 60; ++i) {
            switch (random.index(4)) {
            case 0:
                editor.undo();
                if (place > 0) --place;
                break;
            case 1:
                editor.redo();
                if (place + 1 < states.size()) ++place;
                break;
            default:
                const std::size_t steps = editor.undoCount();
                person.doAnything();
                if (editor.undoCount() == steps) break;
                states.resize(++place); // A new edit leaves nothing to redo.
                states.push_back(editor.scene());
            }
            RC_ASSERT(editor.scene() == states[place]);
            RC_ASSERT(editor.undoCount() == place);
        }
    }));
}

} // namespace
} // namespace larkspool
