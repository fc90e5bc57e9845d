#include "rendering/drawing_style.h"

#include "platform/media_file.h"

#include <utility>

namespace larkspool {

VideoPictures::File VideoPictures::file(const std::string& reference)
{
    std::string path = mediaPath(reference, /*folder=*/{});
    if (!isReadableFile(path)) return {.state = File::State::missing};
    return {.state = File::State::there, .path = std::move(path)};
}

} // namespace larkspool
