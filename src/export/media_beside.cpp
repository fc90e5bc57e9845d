#include "export/media_beside.h"

#include "platform/media_file.h"

#include <optional>
#include <string>

namespace larkspool {

namespace {

class Finder {
public:
    Finder(const std::string& documentPath, const FileExists& exists)
        : folder_(documentFolder(documentPath)), exists_(exists)
    {}

    void find(SharedString& reference) const
    {
        if (const std::optional<std::string> path = fileBesideDocument(reference, folder_, exists_)) reference = *path;
    }

    void find(Array<Layer>& layers) const
    {
        if (layers.empty()) return;
        for (Layer& layer : layers.edit()) {
            if (layer.kind == Layer::Kind::video) find(layer.videoURL);
            find(layer.children);
        }
    }

private:
    std::string folder_;
    const FileExists& exists_;
};

} // namespace

TweenDocument withMediaBeside(TweenDocument document, const std::string& documentPath, const Exporter::FileExists& exists)
{
    const Finder finder(documentPath, exists);
    if (document.audio) finder.find(document.audio->urlString);
    if (document.scenes.empty()) return document;
    for (TweenScene& scene : document.scenes.edit()) finder.find(scene.layers);
    return document;
}

} // namespace larkspool
