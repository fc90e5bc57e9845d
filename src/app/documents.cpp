#include "app/documents.h"

#include "app/verbs.h"
#include "platform/file_io.h"

#include <filesystem>
#include <system_error>

#include <fmt/format.h>

namespace larkspool {

DecodedDocument readDocument(const std::string& path)
{
    const std::vector<std::uint8_t> file = readWholeFile(path); // Its failure names the path.
    try {
        return decode(file);
    } catch (const DecodingError& error) {
        throw Failure(fmt::format("{} is no document: {}", path, error.what()));
    }
}

std::size_t sceneIndex(const Call& call, const TweenDocument& document)
{
    const std::optional<long long> asked = call.wholeNumber("--scene");
    if (!asked) return document.clampedActiveSceneIndex();
    const auto count = static_cast<long long>(document.scenes.size());
    if (*asked >= 0 && *asked < count) return static_cast<std::size_t>(*asked);
    throw WrongCall(fmt::format("There is no scene {}: the document has {}, counted from 0", *asked,
                                count == 1 ? "1 scene" : fmt::format("{} scenes", count)));
}

void keepDocumentWhole(const std::string& document, const std::string& output)
{
    std::error_code absent; // Two files of which one does not exist are not the same.
    if (std::filesystem::equivalent(document, output, absent))
        throw WrongCall(fmt::format("{} is the document itself and would be lost", output));
}

} // namespace larkspool
