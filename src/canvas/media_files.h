#pragma once

#include "canvas/media_import.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// What a person's choice of files comes to, before any of it is in a document. Files are untrusted: what they are is told by what
/// is in them, and each that cannot be used is told with a reason.

/// The name of the file or folder at the path, as text for a person.
std::string shownFileName(std::string_view path);

/// What was asked for. Dropped files may be anything.
enum class WantedMedia { images, videos, sound, anything };

/// A file that is not used, and why.
struct RefusedFile {
    enum class Reason {
        missing,
        folder,
        unreadable, ///< The system gives nothing of it, or it is no file but a pipe, a device.
        tooLarge,
        otherMedia,   ///< Not what was wanted.
        sound,        ///< A sound, where layers come of files.
        documentFull, ///< The document holds as many pictures as its file takes.
        tooMany
    };

    std::string name; ///< As `shownFileName` gives it.
    Reason reason = Reason::unreadable;
    WantedMedia wanted = WantedMedia::anything;

    /// A sentence for a person.
    std::string words() const;

    bool operator==(const RefusedFile&) const = default;
};

/// One sentence for each file, the first few; then how many more there are.
std::string refusedWords(std::span<const RefusedFile> refused);

/// Whether there is a picture or, for a movie by its ending, a sound to be had of the file.
bool isVideoFile(const std::string& path);

/// What came of the files.
struct ReadMedia {
    Array<Layer> layers; ///< Of pictures and videos, in the order of the files, each as it would stand alone.
    std::vector<std::string> sounds; ///< Paths.
    std::vector<RefusedFile> refused;
};

struct MediaReading {
    WantedMedia wanted = WantedMedia::anything;
    std::size_t imageRoom = MediaImport::mostImageBytes; ///< Bytes that pictures may still come to.
    const Bookmarks* bookmarks = &systemBookmarks();
    /// Called before each file with how many are done; false stops. May be absent.
    std::function<bool(std::size_t done)> goesOn{};
};

/// So many files are taken at once. Of those behind, nothing is read.
inline constexpr std::size_t mostFilesAtOnce = 500;

/// Reads the files, which takes time: on any thread.
ReadMedia readMediaFiles(std::span<const std::string> paths, const TweenScene& scene, const MediaReading& reading = {});

} // namespace larkspool
