#include "export/media_beside.h"

#include "platform/file_url.h"

#include <filesystem>
#include <optional>
#include <system_error>

namespace larkspool {

namespace {

class Finder {
public:
    Finder(const std::string& documentPath, const Exporter::FileExists& exists)
        : exists_(exists)
    {
        std::error_code ignored; // Without a working folder there is nothing beside a relative path either.
        folder_ = std::filesystem::absolute(documentPath, ignored).parent_path();
    }

    void find(SharedString& reference) const
    {
        if (const std::optional<std::string> path = besideDocument(reference)) reference = *path;
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
    std::optional<std::string> besideDocument(const SharedString& reference) const
    {
        const std::string path = pathFromURLOrPath(std::string_view(reference));
        if (path.empty() || std::filesystem::path(path).is_absolute() || exists_(path)) return std::nullopt;
        std::string found = (folder_ / path).string();
        if (!exists_(found)) return std::nullopt;
        return found;
    }

    std::filesystem::path folder_;
    const Exporter::FileExists& exists_;
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
