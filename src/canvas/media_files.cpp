#include "canvas/media_files.h"

#include "foundation/text.h"
#include "platform/audio_reader.h"
#include "platform/file_io.h"
#include "platform/image_decoding.h"
#include "platform/image_generator.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

using Reason = RefusedFile::Reason;

/// Sentences are given for so many files.
constexpr std::size_t mostTold = 4;

/// Endings of movies, some of which hold nothing but sound.
constexpr std::array<std::string_view, 6> movieEndings = {".mp4", ".mov", ".m4v", ".mkv", ".webm", ".avi"};

std::string_view wantedWords(WantedMedia wanted)
{
    switch (wanted) {
    case WantedMedia::images: return "picture";
    case WantedMedia::videos: return "video";
    case WantedMedia::sound: return "sound";
    case WantedMedia::anything: break;
    }
    return "picture or video";
}

bool hasMovieEnding(const std::string& path)
{
    std::string ending = std::filesystem::path(path).extension().string();
    std::ranges::transform(ending, ending.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return std::ranges::find(movieEndings, ending) != movieEndings.end();
}

bool hasSound(const std::string& path)
{
    try {
        return AudioReader::open(path) != nullptr;
    } catch (const AudioError&) {
        return false; // That is the answer.
    }
}

/// Why nothing but a plain file with something to read in it is looked at.
std::optional<Reason> obstacle(const std::string& path)
{
    std::error_code failure;
    switch (std::filesystem::status(path, failure).type()) {
    case std::filesystem::file_type::not_found: return Reason::missing;
    case std::filesystem::file_type::directory: return Reason::folder;
    case std::filesystem::file_type::regular: return std::nullopt;
    default: return Reason::unreadable;
    }
}

class Reader {
public:
    Reader(const TweenScene& scene, const MediaReading& reading)
        : scene_(scene), reading_(reading), imageRoom_(reading.imageRoom)
    {}

    void read(const std::string& path)
    {
        if (const std::optional<Reason> reason = refusal(path)) refuse(path, *reason);
    }

    void refuse(const std::string& path, Reason reason)
    {
        media_.refused.push_back({shownFileName(path), reason, reading_.wanted});
    }

    ReadMedia takeMedia() { return std::move(media_); }

private:
    bool wants(WantedMedia kind) const { return reading_.wanted == kind || reading_.wanted == WantedMedia::anything; }

    /// Takes the file, or tells why not.
    std::optional<Reason> refusal(const std::string& path)
    {
        if (const std::optional<Reason> reason = obstacle(path)) return reason;
        try {
            if (looksLikePicture(readFileHead(path, pictureHeadLength))) return takeImage(path);
            return takeLinked(path);
        } catch (const FileError& error) {
            return error.code() == EFBIG ? Reason::tooLarge : Reason::unreadable;
        } catch (const std::bad_alloc&) {
            return Reason::tooLarge;
        }
    }

    std::optional<Reason> takeImage(const std::string& path)
    {
        if (!wants(WantedMedia::images)) return Reason::otherMedia;
        std::optional<Layer> layer = MediaImport::imageLayer(path, scene_);
        if (!layer) return Reason::otherMedia;
        const std::size_t size = layer->imageData->size();
        if (size > imageRoom_) return Reason::documentFull;
        imageRoom_ -= size;
        media_.layers.append(std::move(*layer));
        return std::nullopt;
    }

    std::optional<Reason> takeLinked(const std::string& path)
    {
        if (wants(WantedMedia::videos) && isVideoFile(path)) {
            media_.layers.append(MediaImport::videoLayer(path, scene_, *reading_.bookmarks));
            return std::nullopt;
        }
        // The sound of a film can be asked for by itself.
        if (!wants(WantedMedia::sound) || !hasSound(path)) return Reason::otherMedia;
        media_.sounds.push_back(path);
        return std::nullopt;
    }

    const TweenScene& scene_;
    const MediaReading& reading_;
    std::size_t imageRoom_;
    ReadMedia media_;
};

} // namespace

std::string shownFileName(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    return wellFormed(path.substr(path.size() > 1 ? path.rfind('/') + 1 : 0));
}

bool isVideoFile(const std::string& path)
{
    return ImageGenerator(path, {}).hasVideo() || (hasMovieEnding(path) && hasSound(path));
}

std::string RefusedFile::words() const
{
    switch (reason) {
    case Reason::missing: return fmt::format("“{}” is not there any more.", name);
    case Reason::folder: return fmt::format("“{}” is a folder: choose the files in it.", name);
    case Reason::unreadable: return fmt::format("“{}” cannot be read.", name);
    case Reason::tooLarge: return fmt::format("“{}” is too large.", name);
    case Reason::otherMedia: return fmt::format("“{}” is no {} that can be used.", name, wantedWords(wanted));
    case Reason::sound: return fmt::format("“{}” is a sound: choose it as the music, below the canvas.", name);
    case Reason::documentFull: return fmt::format("“{}” does not fit: the document holds no more pictures.", name);
    case Reason::tooMany: return fmt::format("“{}” was left out: {} files at most are taken at once.", name, mostFilesAtOnce);
    }
    return {};
}

std::string refusedWords(std::span<const RefusedFile> refused)
{
    std::string words;
    for (const RefusedFile& file : refused.first(std::min(refused.size(), mostTold))) {
        if (!words.empty()) words += '\n';
        words += file.words();
    }
    const std::size_t untold = refused.size() - std::min(refused.size(), mostTold);
    if (untold > 0) words += fmt::format("\n{} more {} not added.", untold, untold == 1 ? "file was" : "files were");
    return words;
}

ReadMedia readMediaFiles(std::span<const std::string> paths, const TweenScene& scene, const MediaReading& reading)
{
    Reader reader(scene, reading);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (i >= mostFilesAtOnce) {
            reader.refuse(paths[i], Reason::tooMany);
            continue;
        }
        if (reading.goesOn && !reading.goesOn(i)) break;
        reader.read(paths[i]);
    }
    return reader.takeMedia();
}

} // namespace larkspool
