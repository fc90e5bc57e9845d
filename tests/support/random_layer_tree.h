#pragma once

#include "document/normalisers.h"
#include "document/tween_scene.h"
#include "editing/scene_lookup.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace larkspool {

/// Scenes whose layers stand all over a canvas, and selections of them, drawn from a seed: nested groups of every layout and size
/// mode, rotated, scaled and mirrored layers, hidden and locked ones, layers that move along keyframes with waits, zooms of both
/// types with their viewports. No two records share an id.
class RandomLayerTree {
public:
    /// How far apart from the plain the layers are.
    struct Traits {
        bool transforms = true; ///< Rotation and scale other than 1, of layers and of groups.
        bool keyframes = true;  ///< Of position, size, rotation.
        bool hiding = true;     ///< Hidden and locked layers, and spans that end.
        bool zooms = true;
        bool stacks = true;
        int depth = 3; ///< Levels of groups at most.
    };

    static constexpr double sceneWidth = 800, sceneHeight = 600;

    explicit RandomLayerTree(std::uint64_t seed) : RandomLayerTree(seed, Traits{}) {}
    RandomLayerTree(std::uint64_t seed, Traits traits) : engine_(seed), traits_(traits) {}

    std::size_t index(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
    bool chance(unsigned oneIn) { return engine_() % oneIn == 0; }
    double between(double low, double high) { return std::uniform_real_distribution<double>(low, high)(engine_); }
    UUID id() { return {engine_(), engine_()}; }
    CGPoint point() { return {between(-50, sceneWidth + 50), between(-50, sceneHeight + 50)}; }
    /// A time of the scene, or the playhead of every key.
    double time() { return chance(3) ? 1 : between(0, 4); }

    TweenScene scene()
    {
        TweenScene scene{.id = id(), .width = sceneWidth, .height = sceneHeight, .duration = 5};
        for (std::size_t i = 3 + index(5); i > 0; --i) scene.layers.append(layer(traits_.depth));
        if (traits_.zooms && chance(3)) scene.layers.append(zoom());
        return scene;
    }

    Layer layer(int depth)
    {
        Layer made{.id = id(), .name = SharedString(std::string(1, static_cast<char>('A' + index(26))))};
        made.videoClip.id = id();
        made.transform.x = coordinate(-40, sceneWidth - 100);
        made.transform.y = coordinate(-40, sceneHeight - 100);
        made.size = {coordinate(10, 200), coordinate(10, 200)};
        const bool isGroup = depth > 0 && chance(2);
        if (isGroup) makeGroup(made, depth);
        else makePlain(made);
        if (traits_.transforms) transform(made);
        if (traits_.hiding) hide(made);
        if (traits_.keyframes && chance(3)) animate(made);
        return made;
    }

    /// Some of the scene's layers, at any depth, at least one if there are any.
    LayerIDs selection(const TweenScene& scene, unsigned oneIn = 4)
    {
        LayerIDs selected;
        const std::vector<UUID> all = ids(scene);
        for (const UUID& each : all)
            if (chance(oneIn)) selected.insert(each);
        if (selected.empty() && !all.empty()) selected.insert(all[index(all.size())]);
        return selected;
    }

    /// Of all layers, in the order of the walk.
    static std::vector<UUID> ids(const TweenScene& scene)
    {
        std::vector<UUID> all;
        walkLayers(scene.layers, [&](const Layer& layer) { all.push_back(layer.id); });
        return all;
    }

private:
    /// Whole more often than not.
    double coordinate(double low, double high)
    {
        const double value = between(low, high);
        return chance(4) ? value : static_cast<double>(static_cast<int>(value));
    }

    void makeGroup(Layer& group, int depth)
    {
        group.kind = Layer::Kind::group;
        group.transform.x = coordinate(-100, 300);
        group.transform.y = coordinate(-100, 300);
        if (traits_.stacks && chance(3)) {
            group.groupLayout = chance(2) ? GroupLayout::horizontal : GroupLayout::vertical;
            group.groupGap = coordinate(-5, 30);
            group.groupAlignment = static_cast<GroupAlignment>(index(3));
        }
        if (chance(3)) {
            group.groupSizeMode = GroupSizeMode::fixed;
            group.groupFixedLocked = chance(2);
        }
        for (std::size_t i = index(4); i > 0; --i) group.children.append(layer(depth - 1));
    }

    void makePlain(Layer& layer)
    {
        switch (index(6)) {
        case 0: layer.kind = Layer::Kind::ellipse; break;
        case 1: layer.kind = Layer::Kind::text; break;
        case 2: layer.kind = Layer::Kind::image; break;
        case 3: makeLine(layer); break;
        default: break;
        }
    }

    void makeLine(Layer& line)
    {
        line.kind = Layer::Kind::line;
        line.strokeWidth = coordinate(0, 12);
        line.lineShape = static_cast<LineShape>(index(6));
        line.lineArrowStart = chance(2);
        line.lineArrowEnd = chance(2);
        line.lineCurved = chance(2);
        for (std::size_t i = 2 + index(3); i > 0; --i) line.linePoints.append({coordinate(0, 200), coordinate(0, 200)});
        normalizeLineBounds(line);
    }

    void transform(Layer& layer)
    {
        if (chance(3)) layer.transform.rotation = coordinate(-180, 180);
        if (chance(3)) layer.transform.scaleX = scale();
        if (chance(3)) layer.transform.scaleY = scale();
        if (chance(4)) layer.transform.anchorX = between(0, 1);
        if (chance(4)) layer.transform.anchorY = between(0, 1);
    }
    double scale()
    {
        switch (index(6)) {
        case 0: return 0;
        case 1: return -1;
        default: return between(0.3, 2.5);
        }
    }

    void hide(Layer& layer)
    {
        layer.isHidden = chance(8);
        layer.isLocked = chance(8);
        if (chance(5)) layer.spans.append({.id = id(), .start = between(0, 2), .end = between(2, 5)});
    }

    void animate(Layer& layer)
    {
        using Property = Keyframe::AnimatableProperty;
        const auto add = [&](Property property, double low, double high) {
            for (std::size_t i = 1 + index(3); i > 0; --i)
                layer.keyframes.append({.id = id(),
                                        .property = property,
                                        .time = time(),
                                        .value = coordinate(low, high),
                                        .wait = chance(3) ? between(0, 1) : 0});
        };
        if (chance(2)) add(Property::x, 0, sceneWidth);
        if (chance(2)) add(Property::y, 0, sceneHeight);
        if (chance(3)) add(Property::width, 10, 200);
        if (chance(3)) add(Property::height, 10, 200);
        if (traits_.transforms && chance(3)) add(Property::rotation, -90, 90);
    }

    Layer zoom()
    {
        Layer made{.id = id(), .name = SharedString(std::string("Zoom 1")), .kind = Layer::Kind::zoom, .fill = ColorRGBA::clear};
        made.videoClip.id = id();
        // A whole share of the scene, so that it has the scene's aspect.
        const double share = static_cast<double>(1 + index(4)) / 4;
        made.size = {sceneWidth * share, sceneHeight * share};
        made.transform.x = static_cast<double>(index(static_cast<std::size_t>(sceneWidth * (1 - share)) + 1));
        made.transform.y = static_cast<double>(index(static_cast<std::size_t>(sceneHeight * (1 - share)) + 1));
        if (!chance(2)) return made;
        made.zoomType = ZoomType::pictureInPicture;
        for (std::size_t i = 1 + index(2); i > 0; --i) {
            Layer child{.id = id(), .pipRendition = true};
            child.videoClip.id = id();
            child.transform.x = coordinate(0, 500);
            child.transform.y = coordinate(0, 400);
            child.size = {made.size.width / 2, made.size.height / 2};
            made.children.append(child);
        }
        return made;
    }

    std::mt19937_64 engine_;
    Traits traits_;
};

} // namespace larkspool
