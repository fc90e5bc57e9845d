#pragma once

#include <string>
#include <vector>

#include <fmt/format.h>

namespace larkspool {

/// A scene as it stands in a document file.
struct SceneText {
    std::string width = "64";
    std::string height = "36";
    std::string fps = "10";
    std::string duration = "1";
    std::string layers; ///< The elements of the list.

    std::string json() const
    {
        return fmt::format(
            R"({{"width":{},"height":{},"fps":{},"duration":{},"endPause":0,)"
            R"("id":"10000000-0000-0000-0000-000000000000","background":{{"r":1,"g":1,"b":1,"a":1}},"layers":[{}]}})",
            width, height, fps, duration, layers);
    }
};

inline std::string documentText(const std::vector<SceneText>& scenes, int activeSceneIndex = 0)
{
    std::string list;
    for (const SceneText& scene : scenes) list += (list.empty() ? "" : ",") + scene.json();
    return fmt::format(R"({{"version":2,"activeSceneIndex":{},"scenes":[{}]}})", activeSceneIndex, list);
}

/// A red box: 24 x 24 at (x, 6), going to x + 200 over ten seconds.
inline std::string movingBoxText(int x)
{
    return fmt::format(
        R"({{"kind":"rectangle","name":"Box","size":[24,24],"fill":{{"r":0.9,"g":0.2,"b":0.1,"a":1}},)"
        R"("transform":{{"x":0,"y":6,"rotation":0,"scaleX":1,"scaleY":1,"anchorX":0.5,"anchorY":0.5}},"keyframes":[)"
        R"({{"property":"x","time":0,"value":{{"number":{{"_0":{}}}}},"easing":{{"linear":{{}}}}}},)"
        R"({{"property":"x","time":10,"value":{{"number":{{"_0":{}}}}}}}]}})",
        x, x + 200);
}

} // namespace larkspool
