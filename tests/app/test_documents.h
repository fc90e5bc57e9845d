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
    std::string endPause = "0";
    std::string transition; ///< Its kind and length: `"kind":"fade","duration":0.5`. None, if empty.

    std::string json() const
    {
        const std::string next = transition.empty() ? "" : fmt::format(R"(,"transition":{{{}}})", transition);
        return fmt::format(
            R"({{"width":{},"height":{},"fps":{},"duration":{},"endPause":{},)"
            R"("id":"10000000-0000-0000-0000-000000000000","background":{{"r":1,"g":1,"b":1,"a":1}},"layers":[{}]{}}})",
            width, height, fps, duration, endPause, layers, next);
    }
};

inline std::string documentText(const std::vector<SceneText>& scenes, int activeSceneIndex = 0)
{
    std::string list;
    for (const SceneText& scene : scenes) list += (list.empty() ? "" : ",") + scene.json();
    return fmt::format(R"({{"version":2,"activeSceneIndex":{},"scenes":[{}]}})", activeSceneIndex, list);
}

/// The same with a sound bed, named by a path or URL.
inline std::string soundingDocumentText(const std::vector<SceneText>& scenes, const std::string& bed, int activeSceneIndex = 0)
{
    std::string text = documentText(scenes, activeSceneIndex);
    text.insert(text.size() - 1, fmt::format(R"(,"audio":{{"urlString":"{}","volume":1,"displayName":"Bed"}})", bed));
    return text;
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
